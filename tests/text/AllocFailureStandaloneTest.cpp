// Text functions with each allocation made to fail in turn. The character
// splits reuse the nodes of the list they are handed (checked against a
// model on random texts and random old lists): on a failure the list holds
// the tokens stored so far. FormatString lets std::bad_alloc through and
// releases what it holds; the encoding conversions swallow it and give the
// empty string. LeakSanitizer sees anything left behind.
#include <list>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/ReplacedNew.h"

#include "TQBase/Encoding.h"
#include "TQBase/StdString.h"

namespace {

using tqtest::failIn;
using Tokens = std::list<std::string>;

// The tokens of `text` up to its first NUL, cut at every ','.
Tokens modelSplit(const std::string& text, bool keepEmpty) {
  const std::string cut = text.substr(0, text.find('\0'));
  Tokens tokens;
  std::size_t pos = 0;
  for (;;) {
    const std::size_t hit = cut.find(',', pos);
    const std::string token = cut.substr(pos, hit - pos);
    if (!token.empty() || keepEmpty) tokens.push_back(token);
    if (hit == std::string::npos) return tokens;
    pos = hit + 1;
  }
}

// Old lists of any length, with short strings and with strings whose
// buffers are far larger than any token.
Tokens randomOldList(std::mt19937& rng) {
  Tokens old;
  for (unsigned n = rng() % 6; n > 0; --n)
    old.emplace_back(rng() % 3 == 0 ? 5000 : rng() % 40, 'o');
  return old;
}

std::string randomText(std::mt19937& rng, int length) {
  static const char kBytes[] = "ab,,c,xyzxyzxyzxyzxyz";
  std::string text;
  for (int i = 0; i < length; ++i) text += kBytes[rng() % (sizeof kBytes)];
  return text;  // sizeof takes the literal's NUL in now and then
}

TEST(SplitReuse, MatchesModelWhateverTheListHeld) {
  std::mt19937 rng(4401);
  for (int length = 0; length <= 200; ++length) {
    for (int trial = 0; trial < 20; ++trial) {
      const std::string text = randomText(rng, length);
      const bool keepEmpty = rng() % 2 == 0;
      SCOPED_TRACE(::testing::PrintToString(text));
      Tokens free = randomOldList(rng), member = randomOldList(rng),
             pointer = randomOldList(rng);
      const Tokens expected = modelSplit(text, keepEmpty);
      ASSERT_EQ(TQBase::SplitString(free, text, ',', keepEmpty),
                static_cast<int>(expected.size()));
      ASSERT_EQ(free, expected);
      const bool empty = text.empty() || text[0] == '\0';
      const Tokens expectedMember = empty ? Tokens() : expected;
      ASSERT_EQ(TQBase::stdstring::SplitString(member, text, ',', keepEmpty),
                static_cast<int>(expectedMember.size()));
      ASSERT_EQ(member, expectedMember);
      ASSERT_EQ(
          TQBase::stdstring::SplitString(pointer, text.c_str(), ',', keepEmpty),
          static_cast<int>(expectedMember.size()));
      ASSERT_EQ(pointer, expectedMember);
    }
  }
}

// Whichever allocation fails, the list holds a prefix of the tokens.
TEST(SplitReuse, FailedAllocationLeavesTheTokensSoFar) {
  const std::string text =
      "first-token-longer-than-sso,b,third-token-also-long,d";
  const Tokens expected = modelSplit(text, true);
  for (long k = 0;; ++k) {
    Tokens out = {std::string(3, 'o'), std::string(6000, 'o')};
    try {
      failIn = k;
      TQBase::SplitString(out, text, ',', true);
      failIn = -1;
      ASSERT_EQ(out, expected);
      break;
    } catch (const std::bad_alloc&) {  // failIn is back at -1
    }
    ASSERT_LE(out.size(), expected.size());
    auto want = expected.begin();
    for (const std::string& token : out) ASSERT_EQ(token, *want++);
  }
}

}  // namespace

namespace TQBase {
namespace {

using tqtest::failIn;

TEST(TextAllocFailure, FormatStringPassesBadAllocThrough) {
  const std::string expected = "a text well beyond the small-string room 42";
  int failures = 0;
  for (long k = 0;; ++k) {
    failIn = k;
    try {
      const std::string got = stdstring::FormatString(
          "a text well beyond the %s room %d", "small-string", 42);
      failIn = -1;
      EXPECT_EQ(got, expected);
      break;
    } catch (const std::bad_alloc&) {
      failIn = -1;
      ++failures;
    }
  }
  EXPECT_GE(failures, 1);
}

TEST(TextAllocFailure, ConversionsGiveTheEmptyStringInstead) {
  // Long enough that every result lives on the heap.
  std::string gbkText;
  for (int i = 0; i < 20; ++i) gbkText += "\xD6\xD0";
  const std::string utf8 = GBKToUtf8(gbkText);
  ASSERT_EQ(utf8.size(), 60u);
  for (long k = 0;; ++k) {
    failIn = k;
    const std::string there = GBKToUtf8(gbkText);
    const std::string back = Utf8ToGBK(utf8);
    const bool allDone = failIn >= 0;  // the failure never came
    failIn = -1;
    EXPECT_TRUE(there.empty() || there == utf8) << k;
    EXPECT_TRUE(back.empty() || back == gbkText) << k;
    if (allDone) {
      EXPECT_EQ(there, utf8);
      EXPECT_EQ(back, gbkText);
      break;
    }
  }
}

}  // namespace
}  // namespace TQBase
