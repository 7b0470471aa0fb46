// The size helpers must not wrap at any size an int can state.
#include <climits>
#include <new>

#include <gtest/gtest.h>

#include "bytearray/ByteArrayData.h"
#include "bytearray/TextFormsInternal.h"

namespace {

using namespace TQBase::detail;

TEST(ByteArrayInternal, SizeHelpersStopAtTheLargestCapacity) {
  EXPECT_EQ(allocationFor(kMaxWantedCapacity), 0x7FFFF000);
  EXPECT_EQ(base64EncodedSize(1610609661), 2147479548);
  EXPECT_THROW(base64EncodedSize(1610609662), std::bad_alloc);
  EXPECT_THROW(base64EncodedSize(1610612734), std::bad_alloc);  // int wraps
  EXPECT_EQ(base64DecodedBound(INT_MAX), 1610612735);
  EXPECT_EQ(hexEncodedSize(1073741823), 2147483646);
  EXPECT_EQ(hexEncodedSize(1073741824), 0);
  EXPECT_EQ(percentEncodedBound(715826517), 2147479551);
  EXPECT_THROW(percentEncodedBound(715826518), std::bad_alloc);
  EXPECT_THROW(percentEncodedBound(INT_MAX), std::bad_alloc);
}

}  // namespace
