#ifndef TQBASE_BUFFERFUNCTIONS_H_
#define TQBASE_BUFFERFUNCTIONS_H_

#include <cstdarg>

#include "TQBase/TQBaseExport.h"

// Lets the compiler check format strings against their arguments.
#if defined(__GNUC__) || defined(__clang__)
#define TQBASE_PRINTF_FORMAT(fmt, first) \
  __attribute__((format(printf, fmt, first)))
#else
#define TQBASE_PRINTF_FORMAT(fmt, first)
#endif

namespace TQBase {

// Functions on caller-owned character buffers. None allocates, none checks
// pointers for null (except where stated), and `size` always counts the
// whole buffer, terminator included.

/// Writes two upper-case hex digits per byte (high half first) for `len`
/// bytes of `buf` into `out`, with no terminator; returns 2 * `len`. `out`
/// needs 2 * `len` bytes and must not overlap `buf`. With `len` 0 neither
/// pointer is touched.
TQBASE_EXPORT int BufToHex(const unsigned char* buf, unsigned int len,
                           char* out);

/// Reads `len` / 2 character pairs of `hex` into bytes of `out` and returns
/// their number; a last odd character is ignored and NUL is no end. No
/// validation: with c the character as a signed 8-bit value, c >= 'a' gives
/// c - 0x57, c >= 'A' gives c - 0x37, anything lower c - '0', and the byte
/// is 16 * first + second modulo 256 ("zz" gives 0x53). `out` may be `hex`
/// itself. With `len` below 2 neither pointer is touched.
TQBASE_EXPORT int HexToBuf(const char* hex, unsigned int len,
                           unsigned char* out);

/// Finds `needle` within the first `limit` bytes of `text` and returns the
/// match or null; a match must end before index `limit`. With `limit` 0 or
/// more the byte at `text[limit]` is replaced by NUL for the time of the
/// search and then put back, so `text` must be writable, index `limit` must
/// lie inside its buffer (not checked), and no other thread may use `text`
/// meanwhile. A negative `limit` searches the whole NUL-terminated text and
/// writes nothing.
TQBASE_EXPORT char* FindStr(char* text, char* needle, int limit);

/// Extracts the text between the first `open` in `text` and the first
/// `close` behind it. Returns false, `size` unchanged, if either marker is
/// missing. Otherwise stores the length of the extract plus 1 in `size`;
/// a null `out` then returns true (size query); an old `size` below that
/// returns false with `out` untouched; else the extract is copied to `out`
/// NUL-terminated and true is returned. An empty `open` starts at `text`, an
/// empty `close` gives an empty extract.
TQBASE_EXPORT bool MatchSubString(const char* text, const char* open,
                                  const char* close, char* out, int& size);

/// Formats into `buf` of `size` bytes, cutting the text to fit, and returns
/// the number of characters in `buf` before the terminator: never negative,
/// `size` - 1 when the text was cut or the format failed. A `size` below 1
/// returns 0 and writes nothing.
TQBASE_EXPORT int NSprintf(char* buf, int size, const char* format, ...)
    TQBASE_PRINTF_FORMAT(3, 4);

/// NSprintf with the arguments as a va_list.
TQBASE_EXPORT int NVSprintf(char* buf, int size, const char* format,
                            va_list args) TQBASE_PRINTF_FORMAT(3, 0);

/// Copies `src` up to its NUL or up to `size` - 1 bytes, forward one byte
/// at a time, and always writes a NUL behind; returns the bytes copied. A
/// `size` below 1 copies nothing and writes just the NUL at `dst[0]`, so
/// `dst` needs at least one byte. `dst` may equal `src`.
TQBASE_EXPORT int NStrCpy(char* dst, const char* src, int size);

/// Replaces every `from` byte of the NUL-terminated `str` with `to`. A null
/// `str` is left alone; `from` NUL changes nothing.
TQBASE_EXPORT void StringReplace(char* str, char from, char to);

}  // namespace TQBase

#endif  // TQBASE_BUFFERFUNCTIONS_H_
