#include "TQBase/BufferFunctions.h"

#include "text/TextInternal.h"

#include <cstdio>
#include <cstring>

#include "frame/ByteTables.h"

namespace TQBase {
namespace {

// Digit values by the signed-character rule: no validation, so any byte
// maps to something and the arithmetic decides.
int hexDigitValue(char ch) {
  const int c = static_cast<signed char>(ch);
  if (c >= 0x61) return c - 0x57;
  if (c >= 0x41) return c - 0x37;
  return c - 0x30;
}

// strstr on the first `bound` bytes of `text` at most, through the library's
// linear search. The text's length is measured a chunk at a time (the chunks
// growing), so a match near the start is found without reading the rest.
const char* findInText(const char* text, std::size_t bound,
                       const char* needle) {
  const std::size_t m = std::strlen(needle);
  if (m == 0) return text;
  std::size_t measured = 0;  // bytes known to lie before the end
  std::size_t from = 0;      // first start not yet searched
  std::size_t chunk = m < 2048 ? 4096 : 2 * m;
  for (;;) {
    const std::size_t want =
        bound - measured > chunk ? measured + chunk : bound;
    const std::size_t length =
        measured + strnlen(text + measured, want - measured);
    const std::size_t at = detail::findExact(text, length, needle, m, from);
    if (at != std::string::npos) return text + at;
    if (length < want || length == bound) return nullptr;
    measured = length;
    // Starts that could still reach bytes not measured yet.
    if (length + 1 > m) from = length + 1 - m;
    chunk *= 2;
  }
}

}  // namespace

int BufToHex(const unsigned char* buf, unsigned int len, char* out) {
  for (unsigned int i = 0; i < len; ++i) {
    std::memcpy(out + 2 * static_cast<std::size_t>(i),
                &detail::kHexPairsUpper[2 * buf[i]], 2);
  }
  return static_cast<int>(2u * len);
}

int HexToBuf(const char* hex, unsigned int len, unsigned char* out) {
  const unsigned int pairs = len / 2;
  // Both characters are read before the byte is written and the write
  // position trails the read position, so `out` may be `hex`.
  for (unsigned int i = 0; i < pairs; ++i) {
    const int high = hexDigitValue(hex[2 * static_cast<std::size_t>(i)]);
    const int low = hexDigitValue(hex[2 * static_cast<std::size_t>(i) + 1]);
    out[i] = static_cast<unsigned char>((high * 16 + low) & 0xFF);
  }
  return static_cast<int>(pairs);
}

char* FindStr(char* text, char* needle, int limit) {
  // The byte at `limit` ends the text. Measuring up to it gives what cutting
  // the text there would, and leaves the caller's buffer untouched.
  const std::size_t bound = limit < 0 ? static_cast<std::size_t>(-1)
                                      : static_cast<std::size_t>(limit);
  return const_cast<char*>(findInText(text, bound, needle));
}

bool MatchSubString(const char* text, const char* open, const char* close,
                    char* out, int& size) {
  const std::size_t all = static_cast<std::size_t>(-1);
  const char* openAt = findInText(text, all, open);
  if (openAt == nullptr) return false;
  const char* extract = openAt + std::strlen(open);
  const char* closeAt = findInText(extract, all, close);
  if (closeAt == nullptr) return false;

  const int needed = static_cast<int>(closeAt - extract) + 1;
  const int oldSize = size;
  size = needed;
  if (out == nullptr) return true;
  if (oldSize < needed) return false;
  NStrCpy(out, extract, needed);
  return true;
}

int NSprintf(char* buf, int size, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int written = NVSprintf(buf, size, format, args);
  va_end(args);
  return written;
}

int NVSprintf(char* buf, int size, const char* format, va_list args) {
  if (size < 1) return 0;
  int written =
      std::vsnprintf(buf, static_cast<std::size_t>(size), format, args);
  // vsnprintf reports the untruncated length or a negative error; either way
  // the buffer holds at most size - 1 characters, so report what it holds.
  if (written < 0 || written >= size) written = size - 1;
  buf[written] = '\0';
  return written;
}

int NStrCpy(char* dst, const char* src, int size) {
  // Byte by byte and forward, so that dst == src is harmless.
  int copied = 0;
  while (copied + 1 < size && src[copied] != '\0') {
    dst[copied] = src[copied];
    ++copied;
  }
  dst[copied] = '\0';
  return copied;
}

void StringReplace(char* str, char from, char to) {
  if (str == nullptr) return;
  // The test comes before the write, so a `to` of NUL does not end the walk
  // early: every occurrence in the original text is replaced.
  for (char* p = str; *p != '\0'; ++p) {
    if (*p == from) *p = to;
  }
}

}  // namespace TQBase
