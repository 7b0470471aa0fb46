#include "TQBase/BufferFunctions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

namespace {

using namespace TQBase;

constexpr char kSentinel = '#';

TEST(BufferHex, HexRoundTripsInPlaceAndDecodesBySignedArithmetic) {
  unsigned char bytes[256];
  char hex[513];
  for (int i = 0; i < 256; ++i) bytes[i] = static_cast<unsigned char>(i);
  hex[512] = kSentinel;
  ASSERT_EQ(BufToHex(bytes, 256, hex), 512);
  EXPECT_EQ(std::string(hex, 513).find_first_not_of("0123456789ABCDEF"), 512u);
  EXPECT_EQ(hex[512], kSentinel);
  // Back in place; the rows below pin the digit values and their order.
  ASSERT_EQ(HexToBuf(hex, 512, reinterpret_cast<unsigned char*>(hex)), 256);
  EXPECT_EQ(std::memcmp(hex, bytes, 256), 0);
  EXPECT_EQ(BufToHex(nullptr, 0, nullptr), 0);
  EXPECT_EQ(HexToBuf(nullptr, 1, nullptr), 0);
  // No validation: NUL counts -48, 0xFF -49, "z" 35, "g" and "G" 16.
  const std::string rows[][2] = {{"414", "A"},          {"4a", "J"},
                                 {{"\0\0", 2}, "\xD0"}, {"\xFF\xFF", "\xBF"},
                                 {"zz", "S"},           {"gG", "\x10"}};
  for (const auto& [in, want] : rows) {
    unsigned char out[] = {kSentinel, kSentinel, kSentinel, kSentinel};
    const int n = HexToBuf(in.data(), unsigned(in.size()), out);
    EXPECT_EQ(std::string(out, out + n + 1), want + kSentinel) << in;
  }
}

TEST(BufferSearch, MatchSubStringRows) {
  // FindStr is held to a model, limits included, in SearchPropertyTest.
  // text, open, close, size, out given, result, size after, out (null: kept)
  const std::tuple<const char*, const char*, const char*, int, bool, bool, int,
                   const char*>
      rows[] = {
          {"x=[abc]", "[", "]", 4, true, true, 4, "abc"},  // room for the NUL
          {"x=[abc]", "[", "]", 3, true, false, 4, nullptr},   // one short
          {"x=[abc]", "[", "]", -7, false, true, 4, nullptr},  // size query
          {"x=abc]", "[", "]", 9, true, false, 9, nullptr},
          {"x=[abc", "[", "]", 9, true, false, 9, nullptr},
          {"x=[]", "[", "]", 0, true, false, 1, nullptr},  // empty needs 1
          {"a]b[c]", "[", "]", 8, true, true, 2, "c"},     // close after open
          {"ab]c", "", "]", 8, true, true, 3, "ab"},
          {"a[bc", "[", "", 8, true, true, 1, ""}};
  for (auto [text, open, close, size, useOut, result, sizeAfter, want] : rows) {
    SCOPED_TRACE(std::string(text) + ' ' + std::to_string(size));
    char out[8] = {kSentinel};
    EXPECT_EQ(MatchSubString(text, open, close, useOut ? out : nullptr, size),
              result);
    EXPECT_EQ(size, sizeAfter);
    EXPECT_STREQ(out, want ? want : "#");
  }
}

// NSprintf (through NVSprintf) and NStrCpy: result, text, sentinels behind;
// a null text means NSprintf leaves the buffer alone and NStrCpy writes "".
// StringReplace tests before it writes, so replacing by NUL goes on.
TEST(BufferCopy, BoundedWritersAndStringReplace) {
  const std::tuple<int, int, const char*> rows[] = {
      {8, 5, "hello"}, {6, 5, "hello"}, {5, 4, "hell"},  {2, 1, "h"},
      {1, 0, ""},      {0, 0, nullptr}, {-1, 0, nullptr}};
  auto image = [](const char* text) {
    return (std::string(text) + '\0' + std::string(7, kSentinel)).substr(0, 7);
  };
  for (auto [size, result, text] : rows) {
    SCOPED_TRACE(size);
    std::string printed(7, kSentinel), copied(7, kSentinel);
    EXPECT_EQ(NSprintf(&printed[0], size, "%s%c%c", "hel", 'l', 0x6F), result);
    EXPECT_EQ(printed, text ? image(text) : std::string(7, kSentinel));
    EXPECT_EQ(NStrCpy(&copied[0], "hello", size), result);
    EXPECT_EQ(copied, image(text ? text : ""));
  }
  char same[] = "hello", dots[] = "a.b.c";
  EXPECT_EQ(NStrCpy(same, same, 4), 3);
  EXPECT_EQ(std::memcmp(same, "hel\0o", 6), 0);
  StringReplace(dots, '\0', 'x');
  StringReplace(dots, '.', '\0');
  EXPECT_EQ(std::memcmp(dots, "a\0b\0c", 6), 0);
  StringReplace(nullptr, 'a', 'b');
}

}  // namespace
