#include "TQBase/BufferFunctions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace TQBase;

constexpr char kSentinel = '#';

TEST(BufferHex, BufToHexWritesUpperCaseDigitsOnly) {
  const unsigned char in[] = {0x00, 0x09, 0x0A, 0x0F, 0x10, 0x9F, 0xA0, 0xFF};
  char out[20];
  std::memset(out, kSentinel, sizeof out);
  EXPECT_EQ(BufToHex(in, 8, out), 16);
  EXPECT_EQ(std::string(out, 16), "00090A0F109FA0FF");
  EXPECT_EQ(out[16], kSentinel);
  EXPECT_EQ(BufToHex(nullptr, 0, nullptr), 0);
}

TEST(BufferHex, HexToBufUsesSignedCharacterArithmetic) {
  struct Row {
    const char* name;
    std::string hex;
    std::string want;
  };
  const Row rows[] = {
      {"plain", "41", "\x41"},
      {"odd tail ignored", "414", "\x41"},
      {"both cases", "4a4A", "\x4A\x4A"},
      {"NUL is data", std::string("\0\0", 2), "\xD0"},  // -48 * 17 mod 256
      {"zz", "zz", "\x53"},
      {"gG", "gG", "\x10"},
      {"spaces", "  ", "\xF0"},
      {"high bytes", "\xFF\xFF", "\xBF"},  // -1 - 0x30 = -49; -49 * 17 mod 256
      {"0g", "0g", "\x10"},
      {"all digits", "0123456789abcdefABCDEF",
       "\x01\x23\x45\x67\x89\xAB\xCD\xEF\xAB\xCD\xEF"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    unsigned char out[16];
    std::memset(out, kSentinel, sizeof out);
    const int n = HexToBuf(row.hex.data(), unsigned(row.hex.size()), out);
    ASSERT_EQ(n, int(row.want.size()));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(out), n), row.want);
    EXPECT_EQ(out[n], static_cast<unsigned char>(kSentinel));
  }
  EXPECT_EQ(HexToBuf(nullptr, 1, nullptr), 0);
}

TEST(BufferHex, HexToBufWorksInPlaceAndRoundTrips) {
  unsigned char bytes[256];
  for (int i = 0; i < 256; ++i) bytes[i] = static_cast<unsigned char>(i);
  char hex[512];
  ASSERT_EQ(BufToHex(bytes, 256, hex), 512);
  ASSERT_EQ(HexToBuf(hex, 512, reinterpret_cast<unsigned char*>(hex)), 256);
  EXPECT_EQ(std::memcmp(hex, bytes, 256), 0);
}

TEST(BufferSearch, FindStrCutsAtLimitAndRestores) {
  struct Row {
    int limit;
    int matchAt;  // -1: no match
  };
  const Row rows[] = {{5, -1}, {8, -1}, {9, 6}, {11, 6},
                      {-1, 6}, {-5, 6}, {0, -1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.limit);
    char text[] = "hello world";
    char needle[] = "wor";
    char* found = FindStr(text, needle, row.limit);
    EXPECT_EQ(found, row.matchAt < 0 ? nullptr : text + row.matchAt);
    EXPECT_EQ(std::memcmp(text, "hello world", sizeof text), 0);
  }
  char text[] = "abc";
  char empty[] = "";
  EXPECT_EQ(FindStr(text, empty, 0), text);
}

TEST(BufferSearch, MatchSubStringFollowsSizeProtocol) {
  struct Row {
    const char* name;
    const char* text;
    const char* open;
    const char* close;
    int size;
    bool useOut;
    bool result;
    int sizeAfter;
    const char* out;  // null: out untouched
  };
  const Row rows[] = {
      {"room for terminator", "x=[abc]", "[", "]", 4, true, true, 4, "abc"},
      {"more room", "x=[abc]", "[", "]", 5, true, true, 4, "abc"},
      {"one short", "x=[abc]", "[", "]", 3, true, false, 4, nullptr},
      {"size query", "x=[abc]", "[", "]", -7, false, true, 4, nullptr},
      {"no open", "x=abc]", "[", "]", 9, true, false, 9, nullptr},
      {"no close", "x=[abc", "[", "]", 9, true, false, 9, nullptr},
      {"empty extract", "x=[]", "[", "]", 1, true, true, 1, ""},
      {"empty extract, size 0", "x=[]", "[", "]", 0, true, false, 1, nullptr},
      {"close before open", "a]b[c]", "[", "]", 8, true, true, 2, "c"},
      {"empty open", "ab]c", "", "]", 8, true, true, 3, "ab"},
      {"empty close", "a[bc", "[", "", 8, true, true, 1, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    char out[16];
    std::memset(out, kSentinel, sizeof out);
    int size = row.size;
    EXPECT_EQ(MatchSubString(row.text, row.open, row.close,
                             row.useOut ? out : nullptr, size),
              row.result);
    EXPECT_EQ(size, row.sizeAfter);
    if (row.out != nullptr) {
      EXPECT_STREQ(out, row.out);
    } else {
      EXPECT_EQ(out[0], kSentinel);
    }
  }
}

TEST(BufferFormat, NSprintfReportsCharactersHeld) {
  struct Row {
    int size;
    int result;
    const char* text;
  };
  const Row rows[] = {
      {8, 5, "hello"}, {6, 5, "hello"}, {5, 4, "hell"}, {1, 0, ""}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.size);
    char buf[8];
    std::memset(buf, kSentinel, sizeof buf);
    EXPECT_EQ(NSprintf(buf, row.size, "%s%c%c", "hel", 'l', 0x6F), row.result);
    EXPECT_STREQ(buf, row.text);
  }
  for (int size : {0, -1}) {
    char buf[4] = {kSentinel, kSentinel, kSentinel, kSentinel};
    EXPECT_EQ(NSprintf(buf, size, "%s", "hello"), 0);
    EXPECT_EQ(buf[0], kSentinel);
  }
}

int callNVSprintf(char* buf, int size, const char* format, ...)
    TQBASE_PRINTF_FORMAT(3, 4);
int callNVSprintf(char* buf, int size, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int n = NVSprintf(buf, size, format, args);
  va_end(args);
  return n;
}

TEST(BufferFormat, NVSprintfMatchesNSprintf) {
  char buf[6];
  EXPECT_EQ(callNVSprintf(buf, sizeof buf, "%d-%d", 12, 345), 5);
  EXPECT_STREQ(buf, "12-34");
  EXPECT_EQ(callNVSprintf(buf, 0, "%d", 1), 0);
}

TEST(BufferCopy, NStrCpyBoundsAndTerminates) {
  struct Row {
    int size;
    int result;
    const char* text;
  };
  const Row rows[] = {{7, 5, "hello"}, {6, 5, "hello"}, {5, 4, "hell"},
                      {2, 1, "h"},     {1, 0, ""},      {0, 0, ""},
                      {-3, 0, ""}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.size);
    char dst[8];
    std::memset(dst, kSentinel, sizeof dst);
    EXPECT_EQ(NStrCpy(dst, "hello", row.size), row.result);
    EXPECT_STREQ(dst, row.text);
    EXPECT_EQ(dst[row.result + 1], kSentinel);
  }
  char dst[4];
  EXPECT_EQ(NStrCpy(dst, "", 4), 0);
  EXPECT_STREQ(dst, "");
  char same[] = "hello";
  EXPECT_EQ(NStrCpy(same, same, 4), 3);
  EXPECT_EQ(std::memcmp(same, "hel\0o", 6), 0);
}

TEST(BufferReplace, StringReplaceWalksWholeOriginalText) {
  char text[] = "a.b.c";
  StringReplace(text, '.', '/');
  EXPECT_STREQ(text, "a/b/c");
  StringReplace(text, '\0', 'x');
  EXPECT_STREQ(text, "a/b/c");
  StringReplace(text, '/', '\0');
  EXPECT_EQ(std::memcmp(text, "a\0b\0c", 6), 0);
  StringReplace(nullptr, 'a', 'b');
}

}  // namespace
