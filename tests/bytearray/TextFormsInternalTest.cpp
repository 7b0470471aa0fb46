#include "bytearray/TextFormsInternal.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>

#include "bytearray/ByteArrayData.h"

namespace {

using namespace TQBase::detail;

// The size helpers decide whether a buffer can hold what is written; they
// must never wrap, at every source size an int can state.
TEST(ByteArrayTextFormsSizes, Base64EncodedSizeStopsAtLargestCapacity) {
  EXPECT_EQ(base64EncodedSize(0), 0);
  EXPECT_EQ(base64EncodedSize(1), 4);
  EXPECT_EQ(base64EncodedSize(4), 8);
  EXPECT_EQ(base64EncodedSize(1610609661), 2147479548);
  EXPECT_LE(base64EncodedSize(1610609661), kMaxWantedCapacity);
  EXPECT_THROW(base64EncodedSize(1610609662), std::bad_alloc);
  EXPECT_THROW(base64EncodedSize(1610612734), std::bad_alloc);  // would wrap
  EXPECT_THROW(base64EncodedSize(INT_MAX), std::bad_alloc);
}

TEST(ByteArrayTextFormsSizes, Base64DecodedBoundCoversEverySize) {
  EXPECT_EQ(base64DecodedBound(1), 0);
  EXPECT_EQ(base64DecodedBound(2), 1);
  EXPECT_EQ(base64DecodedBound(8), 6);
  EXPECT_EQ(base64DecodedBound(715827883), 536870912);  // 3n overflows an int
  EXPECT_EQ(base64DecodedBound(INT_MAX), 1610612735);
}

TEST(ByteArrayTextFormsSizes, HexAndPercentBounds) {
  EXPECT_EQ(hexEncodedSize(1073741823), 2147483646);  // then fails to allocate
  EXPECT_EQ(hexEncodedSize(1073741824), 0);
  EXPECT_EQ(hexEncodedSize(INT_MAX), 0);
  EXPECT_EQ(percentEncodedBound(715826517), 2147479551);
  EXPECT_THROW(percentEncodedBound(715826518), std::bad_alloc);
  EXPECT_THROW(percentEncodedBound(715827883), std::bad_alloc);
  EXPECT_THROW(percentEncodedBound(INT_MAX), std::bad_alloc);
}

}  // namespace
