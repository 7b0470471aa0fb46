// The three splitters and JoinString against models of their rules, and
// the round trip join(split(s)) == s where the rules make them inverse.

#include <cstring>
#include <list>
#include <string>

#include "FuzzSupport.h"
#include "TQBase/StdString.h"

namespace {

using List = std::list<std::string>;
using TQBase::stdstring;

// Splitting at one character of the text up to its first NUL.
List splitCharModel(const std::string& s, char sep, bool keepEmpty) {
  const std::string text = s.substr(0, s.find('\0'));
  List out;
  std::size_t pos = 0;
  for (;;) {
    const std::size_t at = text.find(sep, pos);
    const std::string token = text.substr(
        pos, at == std::string::npos ? std::string::npos : at - pos);
    if (!token.empty() || keepEmpty) out.push_back(token);
    if (at == std::string::npos) return out;
    pos = at + 1;
  }
}

List splitRgxModel(const std::string& s, const std::string& sep,
                   bool skipEmpty) {
  List out;
  std::size_t pos = 0;
  for (;;) {
    const std::size_t at = s.find(sep, pos);
    const std::string token =
        s.substr(pos, at == std::string::npos ? std::string::npos : at - pos);
    if (!token.empty() || !skipEmpty) out.push_back(token);
    if (at == std::string::npos) return out;
    pos = at + sep.size();
    if (pos == 0) return out;
  }
}

std::string joinModel(const List& items, const std::string& sep) {
  std::string r;
  for (const std::string& item : items) {
    if (!r.empty()) r += sep;
    r += item;
  }
  return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  fuzz::Input in(data, size);
  const std::uint8_t flags = in.byte();
  const bool keep = (flags & 1) != 0;
  // A NUL separator is never found (the text ends at the first NUL): the
  // whole text is one token.
  const char sep = static_cast<char>(in.byte());
  const std::string rgxSep = in.bytes(4);
  const std::string s = in.rest();
  const std::string text = s.substr(0, s.find('\0'));

  // The character forms reuse the nodes of the list they are handed: 0 to 3
  // nodes (one for flags 0 to 3), every other one with flag 16 holding a
  // string far larger than most tokens.
  List old((1 + (flags >> 2)) & 3);
  std::size_t i = 0;
  for (std::string& node : old) {
    const bool large = (flags & 16) != 0 && i++ % 2 == 0;
    node.assign(large ? 300 : 5, 'o');
  }
  List out = old;
  const List freeModel = splitCharModel(s, sep, keep);
  FUZZ_CHECK(TQBase::SplitString(out, s, sep, keep) ==
             static_cast<int>(freeModel.size()));
  FUZZ_CHECK(out == freeModel);

  // The class forms give nothing at all for an empty text.
  const List classModel = text.empty() ? List{} : freeModel;
  out = old;
  FUZZ_CHECK(stdstring::SplitString(out, s, sep, keep) ==
             static_cast<int>(classModel.size()));
  FUZZ_CHECK(out == classModel);
  out = old;
  FUZZ_CHECK(stdstring::SplitString(out, s.c_str(), sep, keep) ==
             static_cast<int>(classModel.size()));
  FUZZ_CHECK(out == classModel);
  out = {"stale"};
  FUZZ_CHECK(stdstring::SplitString(out, static_cast<const char*>(nullptr), sep,
                                    keep) == 0 &&
             out.empty());

  const bool skip = (flags & 2) != 0;
  const List rgxModel = splitRgxModel(s, rgxSep, skip);
  out = {"stale"};
  FUZZ_CHECK(stdstring::SplitStringRgx(out, s, rgxSep, skip) ==
                 static_cast<int>(rgxModel.size()) &&
             out == rgxModel);

  const std::string joined = stdstring::JoinString(rgxModel, rgxSep);
  FUZZ_CHECK(joined == joinModel(rgxModel, rgxSep));

  // Inverse when every token is kept and the first is not empty: the join
  // leaves out separators only while its result is still empty.
  if (!rgxSep.empty() && !skip && !rgxModel.front().empty()) {
    FUZZ_CHECK(joined == s);
  }
  if (keep && !freeModel.empty() && !freeModel.front().empty()) {
    FUZZ_CHECK(stdstring::JoinString(freeModel, std::string(1, sep)) == text);
  }
  return 0;
}
