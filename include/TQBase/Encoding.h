#ifndef TQBASE_ENCODING_H_
#define TQBASE_ENCODING_H_

#include <string>

#include "TQBase/TQBaseExport.h"

namespace TQBase {

// Wide text holds one 16-bit unit per element (surrogates are never paired),
// even where wchar_t is wider. Every conversion below is total: it reads the
// whole size() of its argument (NUL included), never throws, and reports any
// failure, out of memory included, as an empty result. An empty argument gives
// an empty result. Nothing is cached between calls, so all of them may run on
// any thread at the same time.

/// GBK bytes (code page 936, user-defined areas and 0xFF included) to wide
/// text. Empty when any byte sequence is no character of the code page,
/// including a lead byte that ends the input.
TQBASE_EXPORT std::wstring GBKToUnicode(const std::string& s);

/// Wide text to GBK bytes (code page 936). Empty when any element has no form
/// in the code page (a lone surrogate, an element above 0xFFFF, ...): no
/// substitute character is ever produced.
TQBASE_EXPORT std::string UnicodeToGBK(const std::wstring& s);

/// UTF-8 bytes to wide text, one element per sequence. Lenient by design:
/// overlong forms, surrogate values and 5- or 6-byte forms pass, a value from
/// 0x10000 to 0x10FFFF keeps only its low 16 bits, and a byte-order mark is an
/// ordinary U+FEFF. Empty when a continuation byte (0x80-0xBF) stands where a
/// sequence should start, a sequence lacks a continuation byte (also when cut
/// off by the end of the input), or a value exceeds 0x10FFFF.
TQBASE_EXPORT std::wstring UTF8ToUnicode(const std::string& s);

/// Wide text to UTF-8, each element by itself: a surrogate unit takes 3 bytes
/// of its own, so a pair gives 6. No byte-order mark is written. An element
/// from 0x10000 to 0x10FFFF (possible only with a 32-bit wchar_t) takes the
/// standard 4-byte form; the result is empty when an element exceeds 0x10FFFF
/// or is negative.
TQBASE_EXPORT std::string UnicodeToUTF8(const std::wstring& s);

/// UnicodeToUTF8(GBKToUnicode(s)): empty when the GBK step fails.
TQBASE_EXPORT std::string GBKToUtf8(const std::string& s);

/// UnicodeToGBK(UTF8ToUnicode(s)): empty when either step fails. A 4-byte
/// sequence reaches the GBK step cut to its low 16 bits.
TQBASE_EXPORT std::string Utf8ToGBK(const std::string& s);

/// True when the buffer begins with the byte-order mark 0xEF 0xBB 0xBF. A
/// `length` below 3 (negative included) gives false and reads nothing.
TQBASE_EXPORT bool IsUTF8BomFile(const char* data, int length);

/// True when nothing in the buffer speaks against UTF-8 of 1- to 3-byte forms.
/// Scans lead bytes only: values are not checked (overlong forms and
/// surrogates pass), a sequence cut off by the end of the buffer counts as
/// good, and every 4-byte form as well as the bytes 0xF0-0xFF gives false. A
/// `length` of 0 or below gives true and reads nothing; otherwise `data` must
/// point at `length` readable bytes.
TQBASE_EXPORT bool IsUTF8File(const char* data, int length);

}  // namespace TQBase

#endif  // TQBASE_ENCODING_H_
