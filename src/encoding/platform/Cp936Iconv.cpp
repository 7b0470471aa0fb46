#include "encoding/platform/Cp936.h"

#include <errno.h>
#include <iconv.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

// Code page 936 through glibc's iconv converter "CP936". glibc's table agrees
// with the full code page 936 (ICU's "windows-936-2000" has it) everywhere but
// in 2149 two-byte codes, which the full table maps into the private use area
// U+E000-U+E864, and in the single byte 0xFF, which it maps to U+F8F5. glibc
// rejects all of those in both directions; the step functions below catch
// each rejection and convert the character themselves when it is one of
// these, so every code converts as in the full table.
//
// The mapping was derived once from ICU (the library itself never uses ICU):
// every two-byte code that ICU decodes and
// glibc rejects, sorted by its unit. The first 1894 follow the user-defined
// areas row by row (the three blocks below); the other 255 are scattered
// unassigned cells of rows A2, A4-A9, D7 and FE that take U+E766-U+E864 in
// code order (kScatteredCodes). A sketch of the generator:
//
//   for (lead 0x81..0xFE) for (trail 0x40..0xFE, not 0x7F)
//     if (ICU decodes {lead, trail} to one unit u && iconv "CP936" fails)
//       print(u, lead << 8 | trail);          // then sort by u
//
// tests/encoding/EncodingOracleTest.cpp compares every code and every BMP
// element with ICU, so a change in either table shows there.

namespace TQBase {
namespace platform {
namespace {

constexpr wchar_t kByteFFUnit = 0xF8F5;

struct UserDefinedBlock {
  unsigned firstLead, lastLead;
  unsigned firstTrail, lastTrail;  // The trail byte 0x7F is never part.
  unsigned firstUnit;
};

// Row by row, trail bytes ascending.
constexpr UserDefinedBlock kUserDefinedBlocks[] = {
    {0xAA, 0xAF, 0xA1, 0xFE, 0xE000},  // 6 rows of 94
    {0xF8, 0xFE, 0xA1, 0xFE, 0xE234},  // 7 rows of 94
    {0xA1, 0xA7, 0x40, 0xA0, 0xE4C6},  // 7 rows of 96 (0x7F skipped)
};

constexpr unsigned kFirstScatteredUnit = 0xE766;

// Ascending, so that the index of a code is its unit minus 0xE766.
constexpr std::uint16_t kScatteredCodes[] = {
    0xA2AB, 0xA2AC, 0xA2AD, 0xA2AE, 0xA2AF, 0xA2B0, 0xA2E3, 0xA2E4, 0xA2EF,
    0xA2F0, 0xA2FD, 0xA2FE, 0xA4F4, 0xA4F5, 0xA4F6, 0xA4F7, 0xA4F8, 0xA4F9,
    0xA4FA, 0xA4FB, 0xA4FC, 0xA4FD, 0xA4FE, 0xA5F7, 0xA5F8, 0xA5F9, 0xA5FA,
    0xA5FB, 0xA5FC, 0xA5FD, 0xA5FE, 0xA6B9, 0xA6BA, 0xA6BB, 0xA6BC, 0xA6BD,
    0xA6BE, 0xA6BF, 0xA6C0, 0xA6D9, 0xA6DA, 0xA6DB, 0xA6DC, 0xA6DD, 0xA6DE,
    0xA6DF, 0xA6EC, 0xA6ED, 0xA6F3, 0xA6F6, 0xA6F7, 0xA6F8, 0xA6F9, 0xA6FA,
    0xA6FB, 0xA6FC, 0xA6FD, 0xA6FE, 0xA7C2, 0xA7C3, 0xA7C4, 0xA7C5, 0xA7C6,
    0xA7C7, 0xA7C8, 0xA7C9, 0xA7CA, 0xA7CB, 0xA7CC, 0xA7CD, 0xA7CE, 0xA7CF,
    0xA7D0, 0xA7F2, 0xA7F3, 0xA7F4, 0xA7F5, 0xA7F6, 0xA7F7, 0xA7F8, 0xA7F9,
    0xA7FA, 0xA7FB, 0xA7FC, 0xA7FD, 0xA7FE, 0xA896, 0xA897, 0xA898, 0xA899,
    0xA89A, 0xA89B, 0xA89C, 0xA89D, 0xA89E, 0xA89F, 0xA8A0, 0xA8BC, 0xA8BF,
    0xA8C1, 0xA8C2, 0xA8C3, 0xA8C4, 0xA8EA, 0xA8EB, 0xA8EC, 0xA8ED, 0xA8EE,
    0xA8EF, 0xA8F0, 0xA8F1, 0xA8F2, 0xA8F3, 0xA8F4, 0xA8F5, 0xA8F6, 0xA8F7,
    0xA8F8, 0xA8F9, 0xA8FA, 0xA8FB, 0xA8FC, 0xA8FD, 0xA8FE, 0xA958, 0xA95B,
    0xA95D, 0xA95E, 0xA95F, 0xA989, 0xA98A, 0xA98B, 0xA98C, 0xA98D, 0xA98E,
    0xA98F, 0xA990, 0xA991, 0xA992, 0xA993, 0xA994, 0xA995, 0xA997, 0xA998,
    0xA999, 0xA99A, 0xA99B, 0xA99C, 0xA99D, 0xA99E, 0xA99F, 0xA9A0, 0xA9A1,
    0xA9A2, 0xA9A3, 0xA9F0, 0xA9F1, 0xA9F2, 0xA9F3, 0xA9F4, 0xA9F5, 0xA9F6,
    0xA9F7, 0xA9F8, 0xA9F9, 0xA9FA, 0xA9FB, 0xA9FC, 0xA9FD, 0xA9FE, 0xD7FA,
    0xD7FB, 0xD7FC, 0xD7FD, 0xD7FE, 0xFE50, 0xFE51, 0xFE52, 0xFE53, 0xFE54,
    0xFE55, 0xFE56, 0xFE57, 0xFE58, 0xFE59, 0xFE5A, 0xFE5B, 0xFE5C, 0xFE5D,
    0xFE5E, 0xFE5F, 0xFE60, 0xFE61, 0xFE62, 0xFE63, 0xFE64, 0xFE65, 0xFE66,
    0xFE67, 0xFE68, 0xFE69, 0xFE6A, 0xFE6B, 0xFE6C, 0xFE6D, 0xFE6E, 0xFE6F,
    0xFE70, 0xFE71, 0xFE72, 0xFE73, 0xFE74, 0xFE75, 0xFE76, 0xFE77, 0xFE78,
    0xFE79, 0xFE7A, 0xFE7B, 0xFE7C, 0xFE7D, 0xFE7E, 0xFE80, 0xFE81, 0xFE82,
    0xFE83, 0xFE84, 0xFE85, 0xFE86, 0xFE87, 0xFE88, 0xFE89, 0xFE8A, 0xFE8B,
    0xFE8C, 0xFE8D, 0xFE8E, 0xFE8F, 0xFE90, 0xFE91, 0xFE92, 0xFE93, 0xFE94,
    0xFE95, 0xFE96, 0xFE97, 0xFE98, 0xFE99, 0xFE9A, 0xFE9B, 0xFE9C, 0xFE9D,
    0xFE9E, 0xFE9F, 0xFEA0,
};

static_assert(std::size(kScatteredCodes) == 255, "U+E766 to U+E864");

unsigned trailsPerRow(const UserDefinedBlock& block) {
  unsigned count = block.lastTrail - block.firstTrail + 1;
  return block.firstTrail <= 0x7F && 0x7F <= block.lastTrail ? count - 1
                                                             : count;
}

// The unit of a two-byte code that glibc lacks, or 0 when the code is none
// of them.
wchar_t extraUnitOfCode(unsigned lead, unsigned trail) {
  for (const UserDefinedBlock& block : kUserDefinedBlocks) {
    if (lead < block.firstLead || lead > block.lastLead ||
        trail < block.firstTrail || trail > block.lastTrail || trail == 0x7F)
      continue;
    const unsigned column = trail - block.firstTrail -
                            (block.firstTrail < 0x7F && trail > 0x7F ? 1 : 0);
    return static_cast<wchar_t>(block.firstUnit +
                                (lead - block.firstLead) * trailsPerRow(block) +
                                column);
  }
  const std::uint16_t code = static_cast<std::uint16_t>(lead << 8 | trail);
  const std::uint16_t* found = std::lower_bound(
      std::begin(kScatteredCodes), std::end(kScatteredCodes), code);
  if (found == std::end(kScatteredCodes) || *found != code) return 0;
  return static_cast<wchar_t>(kFirstScatteredUnit +
                              (found - std::begin(kScatteredCodes)));
}

// The bytes of a unit that glibc lacks; the count written, 0 when none.
int extraBytesOfUnit(wchar_t element, char* bytes) {
  if (element == kByteFFUnit) {
    bytes[0] = static_cast<char>(0xFF);
    return 1;
  }
  if (element < 0xE000 ||
      element >= static_cast<wchar_t>(kFirstScatteredUnit +
                                      std::size(kScatteredCodes)))
    return 0;
  const unsigned unit = static_cast<unsigned>(element);
  unsigned code = 0;
  if (unit >= kFirstScatteredUnit) {
    code = kScatteredCodes[unit - kFirstScatteredUnit];
  } else {
    for (const UserDefinedBlock& block : kUserDefinedBlocks) {
      const unsigned perRow = trailsPerRow(block);
      const unsigned rows = block.lastLead - block.firstLead + 1;
      if (unit < block.firstUnit || unit >= block.firstUnit + rows * perRow)
        continue;
      const unsigned offset = unit - block.firstUnit;
      unsigned trail = block.firstTrail + offset % perRow;
      if (block.firstTrail <= 0x7F && trail >= 0x7F) ++trail;
      code = (block.firstLead + offset / perRow) << 8 | trail;
      break;
    }
  }
  bytes[0] = static_cast<char>(code >> 8);
  bytes[1] = static_cast<char>(code & 0xFF);
  return 2;
}

// glibc's iconv_t is a pointer; keep the system type out of the header.
iconv_t openConverter(void*& handle, const char* to, const char* from) {
  if (handle == nullptr) {
    iconv_t opened = iconv_open(to, from);
    if (opened == reinterpret_cast<iconv_t>(-1)) return opened;
    handle = opened;
  }
  return static_cast<iconv_t>(handle);
}

bool isOpen(iconv_t handle) { return handle != reinterpret_cast<iconv_t>(-1); }

}  // namespace

Cp936Converter::~Cp936Converter() {
  if (decoder_ != nullptr) iconv_close(static_cast<iconv_t>(decoder_));
  if (encoder_ != nullptr) iconv_close(static_cast<iconv_t>(encoder_));
}

Cp936Result Cp936Converter::in(const char* from, const char* fromEnd,
                               const char*& fromNext, wchar_t* to,
                               wchar_t* toEnd, wchar_t*& toNext) {
  fromNext = from;
  toNext = to;
  // "WCHAR_T" is glibc's native wchar_t form, so no byte order is assumed.
  iconv_t decoder = openConverter(decoder_, "WCHAR_T", "CP936");
  if (!isOpen(decoder)) return Cp936Result::error;
  while (fromNext != fromEnd) {
    char* inPtr = const_cast<char*>(fromNext);
    std::size_t inLeft = static_cast<std::size_t>(fromEnd - fromNext);
    char* outPtr = reinterpret_cast<char*>(toNext);
    std::size_t outLeft =
        static_cast<std::size_t>(toEnd - toNext) * sizeof(wchar_t);
    const std::size_t converted =
        iconv(decoder, &inPtr, &inLeft, &outPtr, &outLeft);
    const int reason = errno;
    fromNext = inPtr;
    toNext = reinterpret_cast<wchar_t*>(outPtr);
    if (converted != static_cast<std::size_t>(-1)) return Cp936Result::ok;
    if (reason == E2BIG) return Cp936Result::partial;

    // glibc stopped at a code it lacks (EILSEQ) or at a lead byte that the
    // input cuts off (EINVAL).
    const unsigned lead = static_cast<unsigned char>(*fromNext);
    wchar_t unit = 0;
    int length = 1;
    if (lead == 0xFF) {
      unit = kByteFFUnit;
    } else if (lead >= 0x81 && fromEnd - fromNext >= 2) {
      unit = extraUnitOfCode(lead, static_cast<unsigned char>(fromNext[1]));
      length = 2;
    }
    if (unit == 0)
      return reason == EINVAL ? Cp936Result::partial : Cp936Result::error;
    if (toNext == toEnd) return Cp936Result::partial;
    *toNext++ = unit;
    fromNext += length;
  }
  return Cp936Result::ok;
}

Cp936Result Cp936Converter::out(const wchar_t* from, const wchar_t* fromEnd,
                                const wchar_t*& fromNext, char* to, char* toEnd,
                                char*& toNext) {
  fromNext = from;
  toNext = to;
  iconv_t encoder = openConverter(encoder_, "CP936", "WCHAR_T");
  if (!isOpen(encoder)) return Cp936Result::error;
  while (fromNext != fromEnd) {
    char* inPtr = reinterpret_cast<char*>(const_cast<wchar_t*>(fromNext));
    std::size_t inLeft =
        static_cast<std::size_t>(fromEnd - fromNext) * sizeof(wchar_t);
    char* outPtr = toNext;
    std::size_t outLeft = static_cast<std::size_t>(toEnd - toNext);
    const std::size_t converted =
        iconv(encoder, &inPtr, &inLeft, &outPtr, &outLeft);
    const int reason = errno;
    fromNext = reinterpret_cast<const wchar_t*>(inPtr);
    toNext = outPtr;
    if (converted != static_cast<std::size_t>(-1)) return Cp936Result::ok;
    if (reason != EILSEQ) return Cp936Result::partial;

    char bytes[2];
    const int length = extraBytesOfUnit(*fromNext, bytes);
    if (length == 0) return Cp936Result::error;
    if (toEnd - toNext < length) return Cp936Result::partial;
    toNext = std::copy(bytes, bytes + length, toNext);
    ++fromNext;
  }
  return Cp936Result::ok;
}

}  // namespace platform
}  // namespace TQBase
