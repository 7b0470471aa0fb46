#ifndef TQBASE_STDSTRING_H_
#define TQBASE_STDSTRING_H_

#include <cstddef>
#include <list>
#include <string>

#include "TQBase/TQBaseExport.h"

namespace TQBase {

/// Splits the text of `str` up to its first NUL at each `sep` into `out`,
/// which is emptied first. The text behind the last separator always makes a
/// token, so an empty input gives one empty token when `keepEmpty` is true;
/// with `keepEmpty` false empty tokens are dropped. A NUL `sep` cannot stand
/// inside the text and is never found: the whole text is one token. Returns
/// the size of `out`, cut to 32 bits.
TQBASE_EXPORT int SplitString(std::list<std::string>& out,
                              const std::string& str, char sep,
                              bool keepEmpty = true);

/// Static string functions on byte strings (`std::string`, no encoding) and
/// on wide strings of 16-bit units. Never instantiated. None of the text
/// functions reports failure; `std::bad_alloc` passes through, and the number
/// parsers let nothing out at all.
class TQBASE_EXPORT stdstring {
 public:
  stdstring() = delete;
  /// Stateless: assignment does nothing but return `*this`. Exported so the
  /// class's surface is whole.
  stdstring& operator=(const stdstring& other);

  // --- Search and comparison -----------------------------------------------

  /// True for exactly tab, line feed, vertical tab, form feed, carriage
  /// return and space. No locale plays a part; NUL and every byte from 0x21
  /// up (0x85 and 0xA0 included) are not whitespace.
  static bool ascii_isspace(char c);

  /// Compares two NUL-terminated strings over at most `n` bytes, folding only
  /// `A`-`Z` to lower case. Gives 0 when equal, exactly -1 when `a` ends first
  /// and 1 when `b` ends first; otherwise the difference of the first folded
  /// bytes that differ, each taken as a signed 8-bit value (so bytes from 0x80
  /// up sort before ASCII). A negative `n` means no bound; `n` 0 reads
  /// nothing. @pre for `n` other than 0 both point at NUL-terminated strings.
  static int strnicmp(const char* a, const char* b, int n);

  /// Whether `str` begins with `prefix`. An empty `prefix` is a prefix of
  /// every string. The comparison stops at a NUL that both hold at the same
  /// place, so bytes behind it are not compared. `caseSensitive` false folds
  /// `A`-`Z` only, as `strnicmp` does, over the full length of `prefix`.
  static bool startsWith(const std::string& str, const std::string& prefix,
                         bool caseSensitive = true);
  /// Whether the first byte of `str` is `c`; false for an empty `str`, even
  /// for a NUL `c`. `caseSensitive` false folds `A`-`Z` only.
  static bool startsWith(const std::string& str, char c,
                         bool caseSensitive = true);
  /// Whether `str` ends with `suffix`, by the rules of `startsWith`.
  static bool endsWith(const std::string& str, const std::string& suffix,
                       bool caseSensitive = true);
  /// Whether the last byte of `str` is `c`; false for an empty `str`.
  static bool endsWith(const std::string& str, char c,
                       bool caseSensitive = true);

  /// Lowest position at or behind `from` where `sub` occurs in `str`, or
  /// `npos`. NUL is an ordinary byte. An empty `sub` is found at `from` while
  /// `from` is at most the size. With `caseSensitive` false the result is
  /// that of searching `toLowerStr(sub)` in `toLowerStr(str)` (the process's
  /// `tolower`), without lowering a copy of `str`. Worst case, as for
  /// `std::string::find`, is the product of the two lengths.
  static std::size_t indexOf(const std::string& str, const std::string& sub,
                             std::size_t from = 0, bool caseSensitive = true);

  /// Highest position, at most `from`, where `sub` begins in `str`, or `npos`;
  /// the match may run past `from`, and `npos` searches the whole string. An
  /// empty `sub` gives the smaller of `from` and the size, never `npos`. Case
  /// is handled as in `indexOf`.
  static std::size_t lastIndexOf(const std::string& str, const std::string& sub,
                                 std::size_t from = std::string::npos,
                                 bool caseSensitive = true);

  // --- Transformation ------------------------------------------------------

  /// Removes tab, line feed, vertical tab, form feed, carriage return and
  /// space from both ends. NUL is not whitespace. When nothing is to be
  /// removed `str` is neither written nor reallocated.
  static void trimmed(std::string& str);

  /// Up to `count` elements from `pos` on; an empty string when `pos` is at
  /// or past the end. Never throws `std::out_of_range`.
  static std::string substr(const std::string& str, std::size_t pos = 0,
                            std::size_t count = std::string::npos);
  /// Wide form of `substr`, counting `wchar_t` units.
  static std::wstring substr(const std::wstring& str, std::size_t pos = 0,
                             std::size_t count = std::wstring::npos);

  /// Replaces every occurrence of `before` in `str` by `after`, left to right
  /// without overlap, case-sensitively, and returns the number replaced. The
  /// inserted text is never searched again. An empty `before` replaces
  /// nothing: the result is 0 and `str` is left as it was. @pre `before` and
  /// `after` are objects other than `str`.
  static int replace(std::string& str, const std::string& before,
                     const std::string& after);
  /// Wide form of `replace`, on `wchar_t` units.
  static int replace(std::wstring& str, const std::wstring& before,
                     const std::wstring& after);

  /// The text that `printf` would produce for `format` and the arguments,
  /// NUL bytes produced by the format (`%c` of 0) included. An empty string
  /// when formatting fails or yields nothing. @pre `format` is a valid
  /// format, not null, with matching arguments.
  static std::string FormatString(const char* format, ...)
#if defined(__GNUC__)
      __attribute__((format(printf, 1, 2)))
#endif
      ;

  // --- Splitting and joining -----------------------------------------------

  /// Splits the text of `str` up to its first NUL at each `sep` into `out`,
  /// which is emptied first. An empty text (also a text that begins with NUL)
  /// gives no token and 0. Otherwise the text behind the last separator
  /// always makes a token; empty tokens are kept when `keepEmpty` is true. A
  /// NUL `sep` is never found: the whole text is one token. Returns the size
  /// of `out`, cut to 32 bits.
  static int SplitString(std::list<std::string>& out, const std::string& str,
                         char sep, bool keepEmpty = true);
  /// As above on a NUL-terminated string; a null `str` gives no token and 0.
  static int SplitString(std::list<std::string>& out, const char* str, char sep,
                         bool keepEmpty = true);

  /// Splits the full length of `str` (NUL is an ordinary byte) at each
  /// occurrence of the byte string `sep` into `out`, which is emptied first.
  /// No pattern language. Note the inverted flag: `skipEmpty` true drops
  /// empty tokens. An empty input, or an empty `sep`, gives one empty token
  /// (or none when skipping). Returns the size of `out`, cut to 32 bits.
  static int SplitStringRgx(std::list<std::string>& out, const std::string& str,
                            const std::string& sep, bool skipEmpty = false);

  /// Joins `items` with `sep`. A separator goes in only once the result is
  /// not empty, so leading empty items leave no separator, later ones do.
  static std::string JoinString(const std::list<std::string>& items,
                                const std::string& sep);

  // --- Number parsing ------------------------------------------------------
  // The parsers read `str` up to its first NUL, skip leading whitespace, take
  // an optional sign and stop at the first byte that cannot continue the
  // number. Failure (no number, or out of range) gives 0 and nothing is
  // thrown. `errno` is 0 after a clean conversion and ERANGE (34) after an
  // out-of-range one. `long` results keep the 32-bit range on every
  // platform, so `stol` behaves exactly like `stoi`.

  /// True when the first byte is `t`, `T` or `1` to `9`, false for any other
  /// first byte; `defaultValue` for an empty string.
  static bool stob(const std::string& str, bool defaultValue = false);
  /// Decimal `double` by `strtod` (the locale's decimal point); 0.0 on
  /// failure, also when the value overflows or underflows `double`.
  static double stod(const std::string& str);
  /// Parsed as `double`, then rounded to `float`: beyond the `float` range it
  /// becomes an infinity of the same sign (no failure); beyond `double` 0.0.
  static float stof(const std::string& str);
  /// Decimal, -2147483648 to 2147483647; 0 outside that range.
  static int stoi(const std::string& str);
  /// Decimal, the same 32-bit range as `stoi` on every platform.
  static long stol(const std::string& str);
  /// Decimal, 64-bit signed.
  static long long stoll(const std::string& str);
  /// 32-bit unsigned in `base` (0 detects `0x` and `0` prefixes, or 2 to
  /// 36). A magnitude above 4294967295 is out of range; a leading minus
  /// negates in 32 bits, so "-1" gives 4294967295. Any other `base` gives 0
  /// with `errno` EINVAL and reads nothing.
  static unsigned int stoui(const std::string& str, int base = 10);

  // --- JSON value masking --------------------------------------------------

  /// A copy of `json` of the same length in which, for each key in list
  /// order, every stretch from the first colon at or behind an occurrence of
  /// the key (found ignoring case, as `indexOf`) up to the next `,`, `]` or
  /// `}` is overwritten with `maskChar`. This is a byte scan, not a JSON
  /// parser: quotes, escapes and nesting mean nothing, a key matches as a
  /// substring anywhere, a value without a closing character stays, and an
  /// empty key masks every such stretch. Later keys see earlier overwrites.
  static std::string MaskJsonValue(const std::string& json,
                                   const std::list<std::string>& keys,
                                   char maskChar = '*');

  // --- Case conversion -----------------------------------------------------
  // Every element is converted, NUL included, by the process's `tolower` /
  // `toupper` (wide: `towlower` / `towupper`), so the current character-type
  // locale decides; the length never changes. A narrow byte goes to the
  // routine as a signed `char`, so bytes from 0x80 up arrive as -128..-1,
  // which glibc's tables accept; in the "C" locale those bytes stay as they
  // are. Wide units above 0xFFFF (possible only where `wchar_t` is wider than
  // 16 bits) go to the routine whole; all others keep the low 16 bits.

  /// Lower-cases `str` in place.
  static void toLower(std::string& str);
  static void toLower(std::wstring& str);
  /// Upper-cases `str` in place.
  static void toUpper(std::string& str);
  static void toUpper(std::wstring& str);
  /// A lower-cased copy of `str`.
  static std::string toLowerStr(const std::string& str);
  static std::wstring toLowerStr(const std::wstring& str);
  /// An upper-cased copy of `str`.
  static std::string toUpperStr(const std::string& str);
  static std::wstring toUpperStr(const std::wstring& str);
};

}  // namespace TQBase

#endif  // TQBASE_STDSTRING_H_
