// The allocations of the byte array, counted and made to fail.
#include <functional>

#include <gtest/gtest.h>

#include "support/ReplacedNew.h"

#include "support/ByteArrayChecks.h"

namespace {

using TQBase::TQByteArray;
using tqtest::allocations;
using tqtest::failIn;

template <typename Make>
long allocationsOf(Make make) {
  const long before = allocations;
  const TQByteArray result = make();
  return allocations - before;
}

// The text forms build their result in the caller's place: one that shares
// costs its holder; a built one its holder, control block and buffer.
TEST(ByteArrayAlloc, TextFormsAllocateOnlyTheResult) {
  const TQByteArray plain("a/b-c.d_e~f"), spaced("a b"), text("QUJD");
  EXPECT_EQ(allocationsOf([&] { return plain.toPercentEncoding(); }), 1);
  EXPECT_EQ(allocationsOf([&] { return spaced.toPercentEncoding(); }), 3);
  EXPECT_EQ(allocationsOf([] { return TQByteArray().toPercentEncoding(); }), 0);
  EXPECT_EQ(allocationsOf([&] { return text.toBase64(); }), 3);
  EXPECT_EQ(allocationsOf([&] { return TQByteArray::fromBase64(text); }), 3);
  EXPECT_EQ(allocationsOf([&] { return text.toHex(); }), 3);
  EXPECT_EQ(allocationsOf([&] { return TQByteArray::fromHex(text); }), 3);
}

// Makes the k-th allocation throw, for k = 0, 1, ... until a member
// completes: the array must be as before. LeakSanitizer sees any half-built
// holder or record. reserve stands for all that rests on the one
// reallocation routine (resize, squeeze, getData); the others build their
// buffers themselves.
TEST(ByteArrayAlloc, FailedMembersLeaveTheArrayUnchanged) {
  const std::function<void(TQByteArray&)> ops[] = {
      [](TQByteArray& a) { a.reserve(100); },
      [](TQByteArray& a) { a = "replacement"; },
      [](TQByteArray& a) { a.append("xyz", 3); },
      [](TQByteArray& a) { a.insert(1, "xyz", 3); },
      [](TQByteArray& a) { a.remove(1, 2); },
  };
  for (const auto& op : ops) {
    for (long k = 0; k < 8; ++k) {
      TQByteArray a("abcde");
      const TQByteArray other(a);  // so that every write has to copy
      const char* data = a.constData();
      try {
        failIn = k;
        op(a);
        break;
      } catch (const std::bad_alloc&) {  // failIn is back at -1
      }
      ASSERT_EQ(a.constData(), data);
      ASSERT_EQ(a.capacity(), 7);
      ASSERT_EQ(tqtest::bytesOf(a), "abcde");
    }
    failIn = -1;
  }
}

TEST(ByteArrayAlloc, FailedCopyAssignmentLeavesEmpty) {
  TQByteArray a("abcde"), source("source");
  EXPECT_THROW((failIn = 0, a = source), std::bad_alloc);
  tqtest::expectEmpty(a);
}

}  // namespace
