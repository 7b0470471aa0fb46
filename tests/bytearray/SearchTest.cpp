#include "TQBase/TQByteArray.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using TQBase::TQByteArray;

namespace {

std::string bytes(const TQByteArray& a) {
  return std::string(a.constData(), static_cast<std::size_t>(a.size()));
}

// A deep copy owns a terminated buffer that is not the source's.
void expectDeep(const TQByteArray& result, const TQByteArray& source) {
  EXPECT_NE(result.constData(), source.constData());
  EXPECT_LE(result.size(), result.capacity());
  EXPECT_EQ(result.constData()[result.size()], '\0');
}

TEST(ByteArraySearch, CompareGivesExactValues) {
  const std::string abc = "abc";
  const struct {
    const char* name;
    std::string array;
    const char* str;
    int len;
    bool caseSensitive;
    int expected;
  } rows[] = {
      {"equal", abc, "abc", -1, true, 0},
      {"equal folded", abc, "ABC", -1, false, 0},
      {"prefix gives length difference", abc, "abcde", -1, true, -2},
      {"len cuts the string", abc, "abcde", 3, true, 0},
      {"any negative len is strlen", abc, "abcde", -5, false, -2},
      {"longer array", "abcde", "abc", -1, true, 2},
      {"null differs from empty", abc, nullptr, 0, true, 1},
      {"empty string", abc, "", -1, true, 3},
      {"empty vs null", "", nullptr, 5, true, 0},
      {"empty vs empty", "", "", -1, false, 0},
      {"z vs c", "z", "c", -1, false, 23},
      // Only the letter side folds: '[' (0x5B) is no letter.
      {"bracket vs a", "[", "a", -1, false, -6},
      {"bracket vs A", "[", "A", -1, false, -6},
      {"high bytes unfolded", "\xE4", "\xC4", -1, false, 32},
      {"0xFF unsigned", "\xFF", "a", -1, false, 158},
      {"zero bytes compared", std::string("a\0b", 3), "a\0c", 3, false, -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const TQByteArray array(row.array.data(),
                            static_cast<int>(row.array.size()));
    EXPECT_EQ(array.compare(row.str, row.len, row.caseSensitive), row.expected);
  }
  EXPECT_GT(TQByteArray("\xFF").compare("a"), 0);  // memcmp is unsigned too
  EXPECT_LT(TQByteArray("abc").compare("abd"), 0);
}

TEST(ByteArraySearch, IndexOfEdges) {
  const TQByteArray a("abcab\0x", 7);
  EXPECT_EQ(a.indexOf('b'), 1);
  EXPECT_EQ(a.indexOf('b', 2), 4);
  EXPECT_EQ(a.indexOf('\0'), 5);  // a zero byte is a byte like any other
  EXPECT_EQ(a.indexOf('x', 7), -1);
  EXPECT_EQ(a.indexOf('x', -1), 6);  // only the last byte
  EXPECT_EQ(a.indexOf('a', -1), -1);
  EXPECT_EQ(a.indexOf('a', -100), 0);
  EXPECT_EQ(TQByteArray("ab").indexOf('\0'), -1);  // not the terminator
  EXPECT_EQ(TQByteArray().indexOf('\0'), -1);

  EXPECT_EQ(a.indexOf("ab", 1), 3);
  EXPECT_EQ(a.indexOf("b\0x", 0, 3), 4);  // match ending on the last byte
  EXPECT_EQ(a.indexOf("ab", 0, 0), -1);
  EXPECT_EQ(a.indexOf(""), -1);
  EXPECT_EQ(a.indexOf(nullptr), -1);
  EXPECT_EQ(a.indexOf("abcab\0xy", 0, 8), -1);  // longer than the array
  EXPECT_EQ(a.indexOf("abcab\0x", 0, 7), 0);
  EXPECT_EQ(a.indexOf("x", -1, -3), 6);
}

// memchr/memmem must give exactly the leftmost start at or after `from`.
TEST(ByteArraySearch, IndexOfMatchesStringFind) {
  constexpr unsigned kSeed = 1234;
  for (unsigned trial = 0; trial < 300; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    auto randomText = [&](int maxLength) {
      std::string s(std::uniform_int_distribution<int>(0, maxLength)(rng), 'a');
      for (char& c : s) c = "ab\0"[rng() % 3];
      return s;
    };
    const std::string text = randomText(60);
    const std::string pattern = randomText(4);
    const TQByteArray a(text.data(), static_cast<int>(text.size()));
    const int from = std::uniform_int_distribution<int>(-70, 70)(rng);
    const int start =
        from < 0 ? std::max(0, static_cast<int>(text.size()) + from) : from;
    const std::size_t found =
        text.find(pattern, static_cast<std::size_t>(start));
    const int expected = pattern.empty() || found == std::string::npos
                             ? -1
                             : static_cast<int>(found);
    EXPECT_EQ(a.indexOf(pattern.data(), from, static_cast<int>(pattern.size())),
              expected);
    if (pattern.size() == 1) {
      EXPECT_EQ(a.indexOf(pattern[0], from), expected);
    }
  }
}

TEST(ByteArraySearch, MidFollowsItsTable) {
  const TQByteArray a("0123456789A");
  const struct {
    int pos, len;
    int start, count;  // expected bytes
    bool shared;
  } rows[] = {
      {0, -1, 0, 11, true},          {0, 11, 0, 11, true},
      {0, 12, 0, 11, false},         {0, 2147483647, 0, 11, false},
      {0, 0, 0, 0, false},           {3, -1, 3, 8, false},
      {3, 4, 3, 4, false},           {3, 100, 3, 8, false},
      {1, 2147483647, 1, 10, false}, {10, 1, 10, 1, false},
      {11, 1, 0, 0, false},          {12, 1, 0, 0, false},
      {-1, -1, 0, 11, true},         {-3, 5, 0, 2, false},
      {-3, 4, 0, 1, false},          {-3, 3, 0, 0, false},
      {-3, 2, 0, 11, true},          {-1, 12, 0, 11, true},
      {-1, 11, 0, 10, false},        {-11, 11, 0, 0, false},
      {-11, 22, 0, 11, true},        {-100, 5, 0, 11, true},
      {-100, -100, 0, 11, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.pos) + "," + std::to_string(row.len));
    const TQByteArray m = a.mid(row.pos, row.len);
    EXPECT_EQ(bytes(m), bytes(a).substr(row.start, row.count));
    if (row.count == 0) {
      EXPECT_EQ(m.capacity(), 0);  // the shared empty array
    } else if (row.shared) {
      EXPECT_EQ(m.constData(), a.constData());
    } else {
      expectDeep(m, a);
    }
  }
}

TEST(ByteArraySearch, SlicesOfRawDataShareOrOwn) {
  const char memory[] = {'r', 'a', 'w', 'd', 'a', 't', 'a', '!'};  // no NUL
  const TQByteArray raw = TQByteArray::fromRawData(memory, 8);
  EXPECT_EQ(raw.left(8).constData(), memory);
  EXPECT_EQ(raw.right(100).constData(), memory);
  const TQByteArray head = raw.left(3);
  EXPECT_EQ(bytes(head), "raw");
  expectDeep(head, raw);
  const TQByteArray tail = raw.right(4);
  EXPECT_EQ(bytes(tail), "ata!");
  expectDeep(tail, raw);
  for (int n : {0, -1, -100}) {
    EXPECT_EQ(raw.left(n).size(), 0);
    EXPECT_EQ(raw.right(n).size(), 0);
  }
  EXPECT_EQ(TQByteArray().left(5).size(), 0);
}

TEST(ByteArraySearch, TrimmedUsesExactlyAsciiSpace) {
  for (int b = 0; b < 256; ++b) {
    SCOPED_TRACE(b);
    const char c = static_cast<char>(b);
    const char text[] = {c, c, 'x', c, 'y', c};
    const std::string result = bytes(TQByteArray(text, 6).trimmed());
    const bool space = b == ' ' || (b >= 9 && b <= 13);
    const std::string expected =
        space ? std::string{'x', c, 'y'} : std::string(text, 6);
    EXPECT_EQ(result, expected);
  }
  EXPECT_EQ(TQByteArray(" \t\r\n\v\f").trimmed().constData(),
            TQByteArray().constData());
  const TQByteArray clean("a b");
  EXPECT_EQ(clean.trimmed().constData(), clean.constData());
  TQByteArray reserved;
  reserved.reserve(10);
  EXPECT_EQ(reserved.trimmed().capacity(), 0);
}

}  // namespace
