#include "TQBase/Encoding.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace TQBase {
namespace {

bool isUtf8File(const std::string& bytes) {
  return IsUTF8File(bytes.data(), static_cast<int>(bytes.size()));
}

TEST(EncodingDetect, BomNeedsThreeBytes) {
  const char bom[] = "\xEF\xBB\xBF\x01\x02";
  EXPECT_TRUE(IsUTF8BomFile(bom, 3));
  EXPECT_TRUE(IsUTF8BomFile(bom, 5));
  EXPECT_FALSE(IsUTF8BomFile(bom, 2));
  EXPECT_FALSE(IsUTF8BomFile(bom, 0));
  EXPECT_FALSE(IsUTF8BomFile(bom, -1));
  EXPECT_FALSE(IsUTF8BomFile(nullptr, -1));
  EXPECT_FALSE(IsUTF8BomFile("\xEF\xBB\xBE", 3));
}

TEST(EncodingDetect, ScansLeadBytesByTable) {
  struct Row {
    const char* name;
    std::string bytes;
    bool expected;
  } rows[] = {
      {"ascii with nul", "plain\0text"s, true},
      {"stray 80", "\x80", false},
      {"stray BF", "\xBF", false},
      {"continuation after ascii", "\x41\x80", false},
      {"F0 alone", "\xF0", false},
      {"four-byte form", "\xF0\x9F\x98\x80", false},
      {"FF", "\xFF", false},
      {"two-byte cut off", "\xC2", true},
      {"two-byte cut off after ascii", "\x41\xC2", true},
      {"three-byte cut off", "\xE4", true},
      {"three-byte cut off with one", "\xE4\xB8", true},
      // Only the lead byte decides when the end is near.
      {"three-byte cut off with non-continuation", "\xE4\x41", true},
      {"two-byte bad continuation", "\xC2\x41", false},
      {"three-byte bad last", "\xE4\xB8\x41", false},
      {"three-byte bad first", "\xE4\x41\x41", false},
      {"overlong two", "\xC0\x80", true},
      {"overlong three", "\xE0\x80\x80", true},
      {"surrogate", "\xED\xA0\x80", true},
      {"bom then text", "\xEF\xBB\xBF\xE4\xB8\xAD abc", true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(isUtf8File(row.bytes), row.expected);
  }
  EXPECT_TRUE(IsUTF8File("\x80", 0));
  EXPECT_TRUE(IsUTF8File(nullptr, -1));
}

// The scan as a byte-at-a-time walk of the lead-byte table.
bool modelIsUtf8File(const std::string& bytes) {
  std::size_t i = 0;
  while (i < bytes.size()) {
    const unsigned char lead = static_cast<unsigned char>(bytes[i]);
    const std::size_t left = bytes.size() - i;
    auto continuation = [&](std::size_t at) {
      return (static_cast<unsigned char>(bytes[at]) & 0xC0) == 0x80;
    };
    if (lead < 0x80) {
      i += 1;
    } else if (lead < 0xC0 || lead >= 0xF0) {
      return false;
    } else if (lead < 0xE0) {
      if (left == 1) return true;
      if (!continuation(i + 1)) return false;
      i += 2;
    } else {
      if (left <= 2) return true;
      if (!continuation(i + 1) || !continuation(i + 2)) return false;
      i += 3;
    }
  }
  return true;
}

TEST(EncodingDetect, MatchesModelOnRandomBuffers) {
  constexpr unsigned kSeed = 0xD37EC7;
  const unsigned char kAlphabet[] = {0x00, 0x41, 0x7F, 0x80, 0xBB, 0xBF, 0xC0,
                                     0xC2, 0xDF, 0xE0, 0xE4, 0xEF, 0xF0, 0xFF};
  for (unsigned trial = 0; trial < 20000; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    std::string bytes(rng() % 40, '\0');
    // Long ASCII stretches reach the 8-byte block path.
    const bool asciiHeavy = rng() % 2 == 0;
    for (char& byte : bytes) {
      const bool ascii = asciiHeavy && rng() % 8 != 0;
      byte = static_cast<char>(ascii ? 'a' : kAlphabet[rng() % 14]);
    }
    ASSERT_EQ(isUtf8File(bytes), modelIsUtf8File(bytes));
  }
}

}  // namespace
}  // namespace TQBase
