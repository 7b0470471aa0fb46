#include "TQBase/StdString.h"

#include "text/TextInternal.h"

#include <cstring>

namespace TQBase {
namespace {

constexpr std::size_t npos = std::string::npos;

bool isClosingChar(char c) { return c == ',' || c == ']' || c == '}'; }

std::size_t findClosingChar(const std::string& text, std::size_t from) {
  for (std::size_t i = from; i < text.size(); ++i) {
    if (isClosingChar(text[i])) {
      return i;
    }
  }
  return npos;
}

// One key's pass. A byte scan by landmarks, deliberately not a parser: the
// key is any substring (ignoring case), the value runs from the first colon
// at or behind the key's first byte up to the next closing character, and
// the scan resumes behind that character. Searching the text being written
// lets each key see what earlier keys overwrote.
void maskKey(std::string& text, const std::string& foldedKey,
             const detail::CaseMap& lower, char maskChar) {
  const std::size_t size = text.size();
  std::size_t scan = 0;
  while (scan < size) {
    // An empty key is found at the scan position itself.
    const std::size_t at =
        foldedKey.empty()
            ? scan
            : detail::findFolded(text.data(), size, foldedKey.data(),
                                 foldedKey.size(), scan, lower);
    if (at == npos) {
      return;
    }
    const void* colon = std::memchr(text.data() + at, ':', size - at);
    if (colon == nullptr) {
      return;
    }
    const std::size_t valueStart =
        static_cast<std::size_t>(static_cast<const char*>(colon) -
                                 text.data()) +
        1;
    if (valueStart >= size) {
      return;
    }
    const std::size_t terminator = findClosingChar(text, valueStart);
    if (terminator == npos) {
      return;  // an unterminated value stays readable
    }
    // The terminator was found before writing, so a mask that is itself a
    // colon or closing character does not move the scan.
    text.replace(valueStart, terminator - valueStart, terminator - valueStart,
                 maskChar);
    scan = terminator + 1;
  }
}

}  // namespace

std::string stdstring::MaskJsonValue(const std::string& json,
                                     const std::list<std::string>& keys,
                                     char maskChar) {
  std::string result(json);
  if (result.empty() || keys.empty()) {
    return result;
  }
  // One map for the whole call: every key search lowers by the same locale
  // snapshot, and no lower-case copy of the text is made per search.
  detail::CaseMap lower;
  detail::fillLowerMap(lower);
  std::string foldedKey;
  for (const std::string& key : keys) {
    foldedKey.assign(key);
    for (char& c : foldedKey) {
      c = static_cast<char>(lower.to[static_cast<unsigned char>(c)]);
    }
    maskKey(result, foldedKey, lower, maskChar);
  }
  return result;
}

}  // namespace TQBase
