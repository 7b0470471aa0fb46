// Text functions with each allocation made to fail in turn. The character
// splits reuse the nodes of the list they are handed (held to a model by
// fuzz/SplitJoin): on a failure the list holds the tokens stored so far.
// FormatString lets std::bad_alloc through and releases what it holds; the
// encoding conversions swallow it and give the empty string. LeakSanitizer
// sees anything left behind.
#include <list>
#include <string>

#include <gtest/gtest.h>

#include "support/ReplacedNew.h"

#include "TQBase/Encoding.h"
#include "TQBase/StdString.h"

namespace {

using tqtest::failIn;
using Tokens = std::list<std::string>;

// Whichever allocation fails, the list holds a prefix of the tokens.
TEST(SplitReuse, FailedAllocationLeavesTheTokensSoFar) {
  const Tokens expected = {"first-token-longer-than-sso", "b",
                           "third-token-also-long", "d"};
  const std::string text =
      "first-token-longer-than-sso,b,third-token-also-long,d";
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
