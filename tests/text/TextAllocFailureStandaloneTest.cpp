// Makes the k-th allocation throw, for k = 0, 1, ... until the call
// completes. FormatString lets std::bad_alloc through and releases what it
// holds; the encoding conversions swallow it and give the empty string.
// LeakSanitizer sees anything left behind.

#include <cstdlib>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "TQBase/Encoding.h"
#include "TQBase/StdString.h"

namespace {
long failIn = -1;  // allocations left before one fails; negative: none

void* allocate(std::size_t n) {
  if (failIn >= 0 && failIn-- == 0) throw std::bad_alloc();
  if (void* p = std::malloc(n == 0 ? 1 : n)) return p;
  throw std::bad_alloc();
}
}  // namespace

void* operator new(std::size_t n) { return allocate(n); }
void* operator new[](std::size_t n) { return allocate(n); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

namespace TQBase {
namespace {

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
