// Makes the k-th allocation throw, for k = 0, 1, ... until a member
// completes: the array must be as before. LeakSanitizer sees any half-built
// holder or record.
#include <functional>

#include <gtest/gtest.h>

#include "support/ReplacedNew.h"

#include "support/ByteArrayChecks.h"

namespace {

using TQBase::TQByteArray;
using tqtest::failIn;

// reserve stands for all that rests on the one reallocation routine (resize,
// squeeze, getData); the others build their buffers themselves.
TEST(ByteArrayAllocFailure, FailedMembersLeaveTheArrayUnchanged) {
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

TEST(ByteArrayAllocFailure, FailedCopyAssignmentLeavesEmpty) {
  TQByteArray a("abcde"), source("source");
  EXPECT_THROW((failIn = 0, a = source), std::bad_alloc);
  tqtest::expectEmpty(a);
}

}  // namespace
