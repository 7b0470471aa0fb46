// Replaces the global allocation functions so that the n-th allocation
// throws, then checks what each storage member leaves behind. Leaks of the
// half-built holder or record show up under LeakSanitizer.
#include <climits>
#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "TQBase/TQByteArray.h"
#include "support/ByteArrayChecks.h"

namespace {
// Allocations left before one fails; negative: none fails.
long allocationsBeforeFailure = -1;

void* allocate(std::size_t n) {
  if (allocationsBeforeFailure == 0) {
    allocationsBeforeFailure = -1;
    throw std::bad_alloc();
  }
  if (allocationsBeforeFailure > 0) --allocationsBeforeFailure;
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

namespace {

using TQBase::TQByteArray;
using tqtest::bytesOf;

// Runs `op` with the k-th allocation failing for k = 0, 1, ... until it
// completes; after each failure `check` sees the state left behind.
void forEachFailurePoint(const std::function<void()>& op,
                         const std::function<void()>& check) {
  for (long k = 0; k < 32; ++k) {
    SCOPED_TRACE(k);
    allocationsBeforeFailure = k;
    try {
      op();
      allocationsBeforeFailure = -1;
      return;
    } catch (const std::bad_alloc&) {
      allocationsBeforeFailure = -1;
      check();
    }
  }
  FAIL() << "operation never completed";
}

TEST(ByteArrayAllocFailure, ReallocBasedMembersLeaveArrayUnchanged) {
  struct Row {
    const char* name;
    std::function<void(TQByteArray&)> op;
  } rows[] = {
      {"reserve", [](TQByteArray& a) { a.reserve(100); }},
      {"resize", [](TQByteArray& a) { a.resize(50); }},
      {"getData", [](TQByteArray& a) { a.getData(); }},
      {"squeeze", [](TQByteArray& a) { a.squeeze(); }},
      {"assign C string", [](TQByteArray& a) { a = "replacement text"; }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    TQByteArray a("abcde", -1);
    a.reserve(20);  // room for squeeze; a second handle makes getData copy
    TQByteArray other(a);
    const char* data = a.constData();
    forEachFailurePoint([&] { row.op(a); },
                        [&] {
                          EXPECT_EQ(a.constData(), data);
                          EXPECT_EQ(bytesOf(a), "abcde");
                          EXPECT_EQ(a.capacity(), 31);
                        });
  }
}

TEST(ByteArrayAllocFailure, CopyAssignmentLeavesEmpty) {
  TQByteArray source("source", -1);
  TQByteArray a("abcde", -1);
  forEachFailurePoint([&] { a = source; },
                      [&] {
                        EXPECT_EQ(a.size(), 0);
                        EXPECT_EQ(a.constData(), TQByteArray().constData());
                        a = "abcde";  // restore for the next failure point
                      });
  EXPECT_EQ(a.constData(), source.constData());
}

TEST(ByteArrayAllocFailure, ConstructorsThrowCleanly) {
  forEachFailurePoint([] { TQByteArray a(10, 'x'); }, [] {});
  forEachFailurePoint([] { TQByteArray a("text", -1); }, [] {});
  const char memory[] = "raw";
  forEachFailurePoint([&] { TQByteArray a = TQByteArray::fromRawData(memory, 3); }, [] {});
  TQByteArray source("shared", -1);
  forEachFailurePoint([&] { TQByteArray a(source); }, [] {});
}

TEST(ByteArrayAllocFailure, CapacityBeyondLimitThrowsWithoutAllocating) {
  TQByteArray a("abc", -1);
  for (int n : {0x7FFFF000, INT_MAX}) {
    EXPECT_THROW(a.reserve(n), std::bad_alloc);
    EXPECT_THROW(a.resize(n), std::bad_alloc);
    EXPECT_THROW(TQByteArray(n, 'x'), std::bad_alloc);
    EXPECT_EQ(bytesOf(a), "abc");
  }
}

}  // namespace
