// compare and indexOf with a C string (negative length) measured against the
// array: a string longer than the array decides by its length, also past
// INT_MAX, and is not read further than the result needs.
#include "TQBase/TQByteArray.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <cstring>

using TQBase::TQByteArray;

namespace {

TEST(ByteArraySearchLimits, CStringLengthDecidesOnlyBehindEqualBytes) {
  const TQByteArray abc("abc", 3);
  EXPECT_EQ(abc.compare("abcdef", -1, true), -3);
  EXPECT_EQ(abc.compare("ABCDEF", -1, false), -3);
  EXPECT_EQ(abc.compare("ab", -1, true), 1);
  EXPECT_EQ(abc.compare("abc", -1, true), 0);
  EXPECT_EQ(TQByteArray().compare("xyz", -1, true), -3);
  EXPECT_LT(abc.compare("abd", -1, true), 0);
  EXPECT_EQ(abc.indexOf("bcd", 0, -1), -1);
  EXPECT_EQ(abc.indexOf("bc", 1, -1), 1);
  EXPECT_EQ(abc.indexOf("bc", 2, -1), -1);
  EXPECT_EQ(abc.indexOf("", 3, -1), -1);
  EXPECT_EQ(abc.indexOf("", 0, -1), -1);
}

// A bound one byte past the array: a pattern that is not terminated within
// it is never read further (the page behind it is unmapped).
TEST(ByteArraySearchLimits, PatternIsReadOnlyUpToOnePastTheRoom) {
  const long page = sysconf(_SC_PAGESIZE);
  void* map = mmap(nullptr, 2 * static_cast<std::size_t>(page),
                   PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(map, MAP_FAILED);
  char* base = static_cast<char*>(map);
  ASSERT_EQ(munmap(base + page, static_cast<std::size_t>(page)), 0);
  char* tail = base + page - 8;  // 8 bytes of `a`, then nothing mapped
  std::memset(tail, 'a', 8);
  const TQByteArray hay = TQByteArray::fromRawData("aaaaaaa", 7);
  EXPECT_EQ(hay.indexOf(tail, 0, -1), -1);
  EXPECT_EQ(hay.indexOf(tail, 1, -1), -1);
  EXPECT_EQ(hay.indexOf(tail, -2, -1), -1);
  munmap(base, static_cast<std::size_t>(page));
}

// An array of exactly INT_MAX bytes against a string of INT_MAX + 1: the
// array sorts first, and the longer pattern is not found. The bytes are one
// small block of `a` mapped again and again, so little memory is touched.
TEST(ByteArraySearchLimits, StringLongerThanIntMaxIsLonger) {
  constexpr std::size_t kBlock = std::size_t{1} << 24;
  constexpr std::size_t kSpan = std::size_t{INT_MAX} + 1;  // 128 blocks
  const long page = sysconf(_SC_PAGESIZE);
  void* region =
      mmap(nullptr, kSpan + static_cast<std::size_t>(page), PROT_NONE,
           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (region == MAP_FAILED) GTEST_SKIP() << "no address space for 2 GiB";
  char* base = static_cast<char*>(region);
  const int fd = memfd_create("aaaa", 0);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(ftruncate(fd, kBlock), 0);
  void* first =
      mmap(nullptr, kBlock, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  ASSERT_NE(first, MAP_FAILED);
  std::memset(first, 'a', kBlock);
  munmap(first, kBlock);
  for (std::size_t at = 0; at < kSpan; at += kBlock) {
    ASSERT_NE(mmap(base + at, kBlock, PROT_READ,
                   MAP_SHARED | MAP_FIXED | MAP_POPULATE, fd, 0),
              MAP_FAILED);
  }
  close(fd);
  // The page behind the span reads as zero: the string's terminator.
  ASSERT_EQ(mprotect(base + kSpan, static_cast<std::size_t>(page), PROT_READ),
            0);
  const TQByteArray array = TQByteArray::fromRawData(base, INT_MAX);
  EXPECT_EQ(array.compare(base, -1, true), -1);
  EXPECT_EQ(array.indexOf(base, 0, -1), -1);
  munmap(base, kSpan + static_cast<std::size_t>(page));
}

}  // namespace
