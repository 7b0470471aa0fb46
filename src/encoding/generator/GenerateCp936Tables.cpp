// Writes src/encoding/Cp936Tables.cpp, the code page 936 tables of the
// library, to standard output. Not part of the build; run it after a change of
// the rules below (see the header of the generated file for the command).
//
// The base is glibc's iconv converter "CP936". The full code page (the table
// of the reference converter we match, checked by
// tests/encoding/EncodingOracleTest.cpp) has 2150 characters more, all of
// which glibc rejects in both directions:
// - the single byte 0xFF as U+F8F5;
// - 1894 two-byte codes of the user-defined areas, row by row from U+E000
//   (kUserDefinedBlocks);
// - 255 scattered unassigned cells of rows A2, A4-A9, D7 and FE, which take
//   U+E766-U+E864 in code order (kScatteredCodes).
// Those were read once off the reference table: every two-byte code that it
// decodes and glibc rejects, sorted by unit.

#include <errno.h>
#include <iconv.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <vector>

namespace {

struct UserDefinedBlock {
  unsigned firstLead, lastLead;
  unsigned firstTrail, lastTrail;  // The trail byte 0x7F is never part.
  unsigned firstUnit;
};

constexpr UserDefinedBlock kUserDefinedBlocks[] = {
    {0xAA, 0xAF, 0xA1, 0xFE, 0xE000},  // 6 rows of 94
    {0xF8, 0xFE, 0xA1, 0xFE, 0xE234},  // 7 rows of 94
    {0xA1, 0xA7, 0x40, 0xA0, 0xE4C6},  // 7 rows of 96 (0x7F skipped)
};

constexpr unsigned kFirstScatteredUnit = 0xE766;

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

[[noreturn]] void fail(const char* what, unsigned value) {
  std::fprintf(stderr, "GenerateCp936Tables: %s 0x%X\n", what, value);
  std::exit(1);
}

// One conversion of a whole input; the output, or empty when iconv fails.
std::vector<unsigned char> convert(iconv_t converter, const void* in,
                                   std::size_t size) {
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  unsigned char out[16];
  char* inPtr = static_cast<char*>(const_cast<void*>(in));
  char* outPtr = reinterpret_cast<char*>(out);
  std::size_t inLeft = size, outLeft = sizeof out;
  if (iconv(converter, &inPtr, &inLeft, &outPtr, &outLeft) ==
          static_cast<std::size_t>(-1) ||
      iconv(converter, nullptr, nullptr, &outPtr, &outLeft) ==
          static_cast<std::size_t>(-1))
    return {};
  return std::vector<unsigned char>(out, out + (sizeof out - outLeft));
}

// The single unit that `bytes` decode to, or 0.
unsigned decodeByIconv(iconv_t decoder, const unsigned char* bytes,
                       std::size_t size) {
  const std::vector<unsigned char> out = convert(decoder, bytes, size);
  if (out.size() != sizeof(wchar_t)) return 0;
  wchar_t unit;
  std::copy(out.begin(), out.end(), reinterpret_cast<unsigned char*>(&unit));
  return static_cast<unsigned>(unit);
}

// The code of one unit (a byte below 0x100, else lead << 8 | trail), or 0.
unsigned encodeByIconv(iconv_t encoder, unsigned unit) {
  const wchar_t element = static_cast<wchar_t>(unit);
  const std::vector<unsigned char> out =
      convert(encoder, &element, sizeof element);
  if (out.size() == 1) return out[0];
  if (out.size() == 2) return out[0] << 8 | out[1];
  if (!out.empty()) fail("more than two bytes for unit", unit);
  return 0;
}

void addExtras(std::map<unsigned, unsigned>& unitOfCode) {
  unitOfCode[0xFF] = 0xF8F5;
  for (const UserDefinedBlock& block : kUserDefinedBlocks) {
    unsigned unit = block.firstUnit;
    for (unsigned lead = block.firstLead; lead <= block.lastLead; ++lead)
      for (unsigned trail = block.firstTrail; trail <= block.lastTrail; ++trail)
        if (trail != 0x7F) unitOfCode[lead << 8 | trail] = unit++;
  }
  unsigned unit = kFirstScatteredUnit;
  for (const std::uint16_t code : kScatteredCodes) unitOfCode[code] = unit++;
}

void printTable(const char* declaration, const std::vector<unsigned>& values) {
  std::printf("%s = {", declaration);
  for (std::size_t i = 0; i < values.size(); ++i)
    std::printf("%s0x%04X,", i % 9 == 0 ? "\n    " : " ", values[i]);
  std::printf("\n};\n\n");
}

}  // namespace

int main() {
  iconv_t decoder = iconv_open("WCHAR_T", "CP936");
  iconv_t encoder = iconv_open("CP936", "WCHAR_T");
  if (decoder == reinterpret_cast<iconv_t>(-1) ||
      encoder == reinterpret_cast<iconv_t>(-1))
    fail("no iconv converter CP936", 0);

  // Code -> unit: single bytes from 0x80, then every two-byte code.
  std::map<unsigned, unsigned> unitOfCode;
  for (unsigned code = 0; code < 0x10000; ++code) {
    if (code >= 0x100 && code < 0x8100) continue;
    const unsigned char bytes[2] = {static_cast<unsigned char>(code >> 8),
                                    static_cast<unsigned char>(code)};
    const unsigned unit = code < 0x100 ? decodeByIconv(decoder, bytes + 1, 1)
                                       : decodeByIconv(decoder, bytes, 2);
    if (code < 0x80 && unit != code) fail("ASCII byte differs", code);
    if (unit != 0) unitOfCode[code] = unit;
  }
  const std::size_t fromIconv = unitOfCode.size();
  addExtras(unitOfCode);
  if (unitOfCode.size() != fromIconv + 2150) fail("extra overlaps iconv", 0);

  // Unit -> code, from iconv's encoder plus the inverse of the extras.
  std::vector<unsigned> codeOfUnit(0x10000, 0);
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    codeOfUnit[unit] = encodeByIconv(encoder, unit);
    if (unit < 0x80 && codeOfUnit[unit] != unit) fail("ASCII unit", unit);
  }
  for (const auto& [code, unit] : unitOfCode) {
    const bool extra = code == 0xFF || (unit >= 0xE000 && unit <= 0xE864);
    if (!extra) continue;
    if (codeOfUnit[unit] != 0) fail("extra unit known to iconv", unit);
    codeOfUnit[unit] = code;
  }
  iconv_close(decoder);
  iconv_close(encoder);

  std::vector<unsigned> byteUnits(0x80, 0), pairUnits;
  for (unsigned byte = 0x80; byte < 0x100; ++byte) {
    const auto found = unitOfCode.find(byte);
    byteUnits[byte - 0x80] = found == unitOfCode.end() ? 0 : found->second;
  }
  // Trail bytes 0x40-0xFF, so a row is 192 entries (0xFF is never a trail).
  for (unsigned code = 0x8100; code < 0xFF00; ++code) {
    if ((code & 0xFF) < 0x40) continue;
    const auto found = unitOfCode.find(code);
    pairUnits.push_back(found == unitOfCode.end() ? 0 : found->second);
  }

  // Unit -> code in pages of 256 units; page 0 is all zero and stands for
  // every page without a code.
  std::vector<unsigned> pageOfBlock(256, 0), pages(256, 0);
  for (unsigned block = 0; block < 256; ++block) {
    bool any = false;
    for (unsigned low = 0; low < 256; ++low)
      any = any || codeOfUnit[block << 8 | low] != 0;
    if (!any) continue;
    pageOfBlock[block] = static_cast<unsigned>(pages.size() / 256);
    for (unsigned low = 0; low < 256; ++low)
      pages.push_back(codeOfUnit[block << 8 | low]);
  }

  std::printf(
      "// Generated by src/encoding/generator/GenerateCp936Tables.cpp; do not "
      "edit.\n"
      "// Regenerate from the repository root (needs iconv with CP936):\n"
      "//   c++ -O2 src/encoding/generator/GenerateCp936Tables.cpp -o gen936\n"
      "//   ./gen936 > src/encoding/Cp936Tables.cpp\n"
      "//   clang-format -i src/encoding/Cp936Tables.cpp\n"
      "// Code page 936: glibc's converter plus 0xFF and the 2149 private-use "
      "codes.\n\n"
      "#include \"encoding/Cp936Tables.h\"\n\n"
      "namespace TQBase {\nnamespace detail {\n\n");
  // Vector gathers read 4 bytes at an entry: each table but the first ends
  // in padding, so that reading at its last entry stays inside.
  pairUnits.push_back(0);
  pageOfBlock.insert(pageOfBlock.end(), 3, 0);
  pages.push_back(0);
  printTable("const std::uint16_t kCp936ByteUnits[128]", byteUnits);
  printTable("const std::uint16_t kCp936PairUnits[126 * 192 + 1]", pairUnits);
  printTable("const std::uint8_t kCp936CodePageOfBlock[256 + 3]", pageOfBlock);
  std::printf("const std::uint16_t kCp936Codes[%zu]", pages.size());
  printTable("", pages);
  std::printf("}  // namespace detail\n}  // namespace TQBase\n");
  return 0;
}
