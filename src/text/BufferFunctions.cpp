#include "TQBase/BufferFunctions.h"

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
  if (limit < 0) return std::strstr(text, needle);
  // Cut the text in place rather than copy it; the byte goes back below.
  const char saved = text[limit];
  text[limit] = '\0';
  char* found = std::strstr(text, needle);
  text[limit] = saved;
  return found;
}

bool MatchSubString(const char* text, const char* open, const char* close,
                    char* out, int& size) {
  const char* openAt = std::strstr(text, open);
  if (openAt == nullptr) return false;
  const char* extract = openAt + std::strlen(open);
  const char* closeAt = std::strstr(extract, close);
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
