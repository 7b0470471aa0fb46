#ifndef TQBASE_TEXT_TEXTINTERNAL_H_
#define TQBASE_TEXT_TEXTINTERNAL_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "frame/AsciiSpace.h"

namespace TQBase {
namespace detail {

// A byte-to-byte map taken from the process's tolower/toupper at one moment,
// so a long text is converted by lookups instead of one library call per
// byte. It gives exactly what lowerByte/upperByte give under the same locale.
struct CaseMap {
  unsigned char to[256];
};

// The byte goes to the routine as a signed char, so bytes from 0x80 arrive as
// -128..-1 (0xFF as EOF, which maps to itself). glibc indexes its case tables
// from -128 and gives those values the entries of the bytes they stand for;
// a C library that rejects negative arguments needs its own version here.
unsigned char lowerByte(unsigned char b);
unsigned char upperByte(unsigned char b);
void fillLowerMap(CaseMap& map);
void fillUpperMap(CaseMap& map);

// Texts shorter than this are converted byte by byte: filling a CaseMap costs
// 256 calls of the routine.
inline constexpr std::size_t kCaseMapThreshold = 256;

// The searches below are linear in the text and the needle whatever they
// hold (two-way search, TwoWay.h), with a faster filter in front where one
// pays on ordinary text. Each requires m >= 1 and gives npos when nothing is
// found.

// First p >= from with map.to[hay[p + i]] == foldedNeedle[i] for every i < m.
// foldedNeedle is the needle already passed through the map.
std::size_t findFolded(const char* hay, std::size_t n, const char* foldedNeedle,
                       std::size_t m, std::size_t from, const CaseMap& map);

// The same with lowerByte in place of a map, for texts too short to pay for
// filling one. foldedNeedle is the needle passed through lowerByte.
std::size_t findLowered(const char* hay, std::size_t n,
                        const char* foldedNeedle, std::size_t m,
                        std::size_t from);

// First p >= from where needle occurs byte for byte.
std::size_t findExact(const char* hay, std::size_t n, const char* needle,
                      std::size_t m, std::size_t from);

// Last p <= start where needle occurs byte for byte. Requires start + m to be
// within the text.
std::size_t findLastExact(const char* hay, const char* needle, std::size_t m,
                          std::size_t start);

// Last p <= start where the folded needle occurs, folding the text through
// `map`, or through lowerByte when `map` is null.
std::size_t findLastFolded(const char* hay, const char* foldedNeedle,
                           std::size_t m, std::size_t start,
                           const CaseMap* map);

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_TEXT_TEXTINTERNAL_H_
