#include "text/NumberParse.h"

#include <gtest/gtest.h>

namespace {

using namespace TQBase::detail;

// The exported parsers fold every failure into 0; the reason stays here.
TEST(NumberParse, TellsNoNumberFromOutOfRange) {
  int value = 5;
  EXPECT_EQ(parseInt32("0", value), NumberFailure::none);
  EXPECT_EQ(parseInt32(" x", value), NumberFailure::noNumber);
  EXPECT_EQ(parseInt32("3000000000", value), NumberFailure::outOfRange);
  double d = 1;
  EXPECT_EQ(parseDouble("1e-400", d), NumberFailure::outOfRange);
  EXPECT_STREQ(numberFailureText(NumberForm::stoui, NumberFailure::noNumber),
               "invalid stoul argument");
  EXPECT_STREQ(numberFailureText(NumberForm::stof, NumberFailure::outOfRange),
               "stof argument out of range");
}

}  // namespace
