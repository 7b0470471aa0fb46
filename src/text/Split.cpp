#include "TQBase/StdString.h"

#include "text/TextInternal.h"

#include <cstring>

namespace TQBase {
namespace {

// Appends tokens to a list that is emptied first, without giving back the
// nodes it held: each token goes into the next old node (its string keeps
// its buffer unless that is far too large), new nodes only once the old
// ones run out, and finish() drops the nodes not reused. To the caller this
// is the list emptied and then filled. If an allocation fails, the list
// holds the tokens stored so far and nothing else.
class TokenSink {
 public:
  explicit TokenSink(std::list<std::string>& out)
      : out_(out), next_(out.begin()) {}

  void add(const char* begin, const char* end) {
    if (next_ == out_.end()) {
      out_.emplace_back(begin, end);
      return;
    }
    const auto length = static_cast<std::size_t>(end - begin);
    try {
      if (next_->capacity() > 2 * length + 64) {
        std::string(begin, end).swap(*next_);
      } else {
        next_->assign(begin, end);
      }
    } catch (...) {
      out_.erase(next_, out_.end());
      throw;
    }
    ++next_;
  }

  int finish() {
    out_.erase(next_, out_.end());
    return static_cast<int>(out_.size());
  }

 private:
  std::list<std::string>& out_;
  std::list<std::string>::iterator next_;
};

// Splits the `length` bytes at `text` (the text up to its first NUL) at
// `sep`. The text behind the last separator always makes a token. A NUL
// `sep` would be "found" at the terminator and send the cursor past the end,
// so it is never looked for: the whole text is then one token. Each token is
// built once, straight from its run.
int splitAtChar(std::list<std::string>& out, const char* text,
                std::size_t length, char sep, bool keepEmpty) {
  TokenSink sink(out);
  const char* cursor = text;
  const char* const end = text + length;
  for (;;) {
    const auto* hit = sep != '\0' ? static_cast<const char*>(std::memchr(
                                        cursor, static_cast<unsigned char>(sep),
                                        static_cast<std::size_t>(end - cursor)))
                                  : nullptr;
    const char* tokenEnd = hit != nullptr ? hit : end;
    if (tokenEnd != cursor || keepEmpty) {
      sink.add(cursor, tokenEnd);
    }
    if (hit == nullptr) {
      break;
    }
    cursor = hit + 1;
  }
  return sink.finish();
}

}  // namespace

int SplitString(std::list<std::string>& out, const std::string& str, char sep,
                bool keepEmpty) {
  return splitAtChar(out, str.c_str(), std::strlen(str.c_str()), sep,
                     keepEmpty);
}

int stdstring::SplitString(std::list<std::string>& out, const std::string& str,
                           char sep, bool keepEmpty) {
  return SplitString(out, str.c_str(), sep, keepEmpty);
}

int stdstring::SplitString(std::list<std::string>& out, const char* str,
                           char sep, bool keepEmpty) {
  if (str == nullptr || *str == '\0') {
    out.clear();
    return 0;
  }
  return splitAtChar(out, str, std::strlen(str), sep, keepEmpty);
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
