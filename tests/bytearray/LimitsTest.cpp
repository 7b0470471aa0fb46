// Sizes at and past the limits: members refuse them before anything is read
// or wrapped, and read a C string no further than the result needs. The raw
// records here claim far more than the bytes behind them.
#include "TQBase/TQByteArray.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <new>

using TQBase::TQByteArray;

namespace {

TEST(ByteArrayLimits, SizesPastTheLimitsThrowBadAlloc) {
  EXPECT_THROW(TQByteArray("abc").reserve(0x7FFFF000), std::bad_alloc);
  EXPECT_THROW(TQByteArray("abc").resize(INT_MAX), std::bad_alloc);
  const char memory[] = "%%%";
  const TQByteArray huge = TQByteArray::fromRawData(memory, INT_MAX - 2);
  EXPECT_THROW(TQByteArray(huge).append("abcd", 4), std::bad_alloc);
  EXPECT_THROW(TQByteArray(huge).insert(0, "abcd", 4), std::bad_alloc);
  EXPECT_THROW(huge.toBase64(), std::bad_alloc);
  EXPECT_EQ(TQByteArray::fromRawData(memory, 1 << 30).toHex().size(), 0);
  EXPECT_THROW(TQByteArray::fromRawData(memory, 715826518).toPercentEncoding(),
               std::bad_alloc);
}

// C strings that end nowhere within what the result needs: `a` bytes to the
// end of a span of INT_MAX + 1, then a page that cannot be read. An array of
// exactly INT_MAX of them sorts before the longer string and does not find
// it, and a pattern is read at most one byte past the room behind `from`.
// The span is one small block of `a` mapped again and again, so little
// memory is touched.
TEST(ByteArrayLimits, CStringsAreReadOnlyAsFarAsTheResultNeeds) {
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
  const TQByteArray array = TQByteArray::fromRawData(base, INT_MAX);
  EXPECT_EQ(array.compare(base, -1, true), -1);
  EXPECT_EQ(array.indexOf(base, 0, -1), -1);
  const TQByteArray hay = TQByteArray::fromRawData("aaaaaaa", 7);
  for (int from : {0, 1, -2})
    EXPECT_EQ(hay.indexOf(base + kSpan - 8, from, -1), -1) << from;
  munmap(base, kSpan + static_cast<std::size_t>(page));
}

}  // namespace
