#include "TQBase/StdString.h"

#include "text/TextInternal.h"

#include <cstring>

namespace TQBase {
namespace {

// Splits the NUL-terminated `text` at `sep`. The text behind the last
// separator always makes a token. A NUL `sep` would be "found" at the
// terminator and send the cursor past the end, so it is never looked for:
// the whole text is then one token.
int splitAtChar(std::list<std::string>& out, const char* text, char sep,
                bool keepEmpty) {
  const char* cursor = text;
  for (;;) {
    const char* hit = sep != '\0' ? std::strchr(cursor, sep) : nullptr;
    const std::size_t length = hit != nullptr
                                   ? static_cast<std::size_t>(hit - cursor)
                                   : std::strlen(cursor);
    if (length != 0 || keepEmpty) {
      out.emplace_back(cursor, length);
    }
    if (hit == nullptr) {
      break;
    }
    cursor = hit + 1;
  }
  return static_cast<int>(out.size());
}

}  // namespace

int SplitString(std::list<std::string>& out, const std::string& str, char sep,
                bool keepEmpty) {
  out.clear();
  return splitAtChar(out, str.c_str(), sep, keepEmpty);
}

int stdstring::SplitString(std::list<std::string>& out, const std::string& str,
                           char sep, bool keepEmpty) {
  return SplitString(out, str.c_str(), sep, keepEmpty);
}

int stdstring::SplitString(std::list<std::string>& out, const char* str,
                           char sep, bool keepEmpty) {
  out.clear();
  if (str == nullptr || *str == '\0') {
    return 0;
  }
  return splitAtChar(out, str, sep, keepEmpty);
}

int stdstring::SplitStringRgx(std::list<std::string>& out,
                              const std::string& str, const std::string& sep,
                              bool skipEmpty) {
  out.clear();
  std::size_t pos = 0;
  for (;;) {
    // indexOf's table: an empty sep is found at pos, a non-empty one never
    // at or behind the end.
    const std::size_t hit =
        sep.empty() ? pos
                    : detail::findExact(str.data(), str.size(), sep.data(),
                                        sep.size(), pos);
    const std::size_t end = hit != std::string::npos ? hit : str.size();
    if (end != pos || !skipEmpty) {
      out.emplace_back(str, pos, end - pos);
    }
    if (hit == std::string::npos) {
      break;
    }
    pos = hit + sep.size();
    if (pos == 0) {
      break;  // an empty sep would be found at 0 forever
    }
  }
  return static_cast<int>(out.size());
}

std::string stdstring::JoinString(const std::list<std::string>& items,
                                  const std::string& sep) {
  std::string result;
  for (const std::string& item : items) {
    if (!result.empty()) {
      result += sep;
    }
    result += item;
  }
  return result;
}

}  // namespace TQBase
