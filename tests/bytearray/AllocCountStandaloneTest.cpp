// Counts the allocations of the text forms: the result is built in the
// caller's place, so nothing is allocated beyond what the result holds.

#include <gtest/gtest.h>

#include "support/ReplacedNew.h"

#include "support/ByteArrayChecks.h"

namespace {

using TQBase::TQByteArray;
using tqtest::allocations;

template <typename Make>
long allocationsOf(Make make) {
  const long before = allocations;
  const TQByteArray result = make();
  return allocations - before;
}

// A result that shares costs its holder; a built one its holder, control
// block and buffer.
TEST(ByteArrayAllocCount, PercentEncodingAllocatesOnlyTheResult) {
  const TQByteArray plain("a/b-c.d_e~f"), spaced("a b");
  EXPECT_EQ(allocationsOf([&] { return plain.toPercentEncoding(); }), 1);
  EXPECT_EQ(allocationsOf([&] { return spaced.toPercentEncoding(); }), 3);
  EXPECT_EQ(allocationsOf([] { return TQByteArray().toPercentEncoding(); }), 0);
}

TEST(ByteArrayAllocCount, OtherFormsAllocateOnlyTheResult) {
  const TQByteArray text("QUJD");
  EXPECT_EQ(allocationsOf([&] { return text.toBase64(); }), 3);
  EXPECT_EQ(allocationsOf([&] { return TQByteArray::fromBase64(text); }), 3);
  EXPECT_EQ(allocationsOf([&] { return text.toHex(); }), 3);
  EXPECT_EQ(allocationsOf([&] { return TQByteArray::fromHex(text); }), 3);
}

}  // namespace
