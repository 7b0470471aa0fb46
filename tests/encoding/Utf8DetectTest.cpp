#include "TQBase/Encoding.h"

#include <random>
#include <string>
#include <utility>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace TQBase {
namespace {

bool isUtf8File(const std::string& bytes) {
  return IsUTF8File(bytes.data(), static_cast<int>(bytes.size()));
}

// The documented scan, one sequence at a time: lead bytes decide, values are
// never checked, and a sequence cut off by the end passes.
bool modelIsUtf8File(const std::string& s) {
  for (std::size_t i = 0; i < s.size();) {
    const unsigned lead = static_cast<unsigned char>(s[i]);
    if ((lead >= 0x80 && lead < 0xC0) || lead >= 0xF0) return false;
    const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : 3;
    if (s.size() - i < size) return true;
    for (std::size_t k = 1; k < size; ++k)
      if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return false;
    i += size;
  }
  return true;
}

// The rows pin the model to the documented rules.
TEST(EncodingDetect, ScansLeadBytesOnly) {
  const std::pair<std::string, bool> rows[] = {
      {"\x41\xE4\x41", true},          // cut off: the lead byte decides
      {"\xC0\x80\xED\xA0\x80", true},  // overlong, surrogate
      {"\xE4\xB8\x41", false},         // missing continuation
      {"\xF0\x9F\x98\x80", false},     // 4-byte form
  };
  for (const auto& [bytes, expected] : rows) {
    SCOPED_TRACE(::testing::PrintToString(bytes));
    EXPECT_EQ(isUtf8File(bytes), expected);
    EXPECT_EQ(modelIsUtf8File(bytes), expected);
  }
  EXPECT_TRUE(IsUTF8File("\x80", 0));
  EXPECT_TRUE(IsUTF8File(nullptr, -1));
  EXPECT_TRUE(IsUTF8BomFile("\xEF\xBB\xBF", 3));
  EXPECT_FALSE(IsUTF8BomFile("\xEF\xBB\xBF", 2));
  EXPECT_FALSE(IsUTF8BomFile(nullptr, -1));
  EXPECT_FALSE(IsUTF8BomFile("\xEF\xBB\xBE", 3));
}

TEST(EncodingDetect, MatchesModelOnRandomBuffers) {
  constexpr unsigned kSeed = 0xD37EC7;
  const std::string kBytes =
      "\x00\x41\x7F\x80\xBB\xBF\xC0\xC2\xDF\xE0\xE4\xEF\xF0\xFF"s;
  for (unsigned trial = 0; trial < 20000; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    std::string bytes(rng() % 40, '\0');
    const bool asciiHeavy = rng() % 2 == 0;  // reaches the 8-byte block path
    for (char& byte : bytes)
      byte = asciiHeavy && rng() % 8 ? 'a' : kBytes[rng() % kBytes.size()];
    ASSERT_EQ(isUtf8File(bytes), modelIsUtf8File(bytes));
  }
}

}  // namespace
}  // namespace TQBase
