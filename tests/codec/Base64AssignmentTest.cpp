// TQBase64 has no state: assignment copies nothing and gives the left side.

#include <gtest/gtest.h>

#include "TQBase/TQBase64.h"

namespace {

TEST(Base64Assignment, ReturnsTheLeftHandObject) {
  TQBase::TQBase64 a, b;
  EXPECT_EQ(&(a = b), &a);
  EXPECT_EQ(&(a = a), &a);
}

}  // namespace
