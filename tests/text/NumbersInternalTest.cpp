#include "text/NumberParse.h"

#include <gtest/gtest.h>

namespace {

using TQBase::detail::NumberFailure;
using TQBase::detail::NumberForm;

// The exported parsers fold these into 0; the reason stays observable here.
TEST(NumberParse, TellsNoNumberFromOutOfRange) {
  int value = 5;
  EXPECT_EQ(TQBase::detail::parseInt32("0", value), NumberFailure::none);
  EXPECT_EQ(TQBase::detail::parseInt32(" x", value), NumberFailure::noNumber);
  EXPECT_EQ(TQBase::detail::parseInt32("3000000000", value),
            NumberFailure::outOfRange);
  EXPECT_EQ(value, 0);
  unsigned u = 5;
  EXPECT_EQ(TQBase::detail::parseUInt32("-4294967296", 10, u),
            NumberFailure::outOfRange);
  double d = 1;
  EXPECT_EQ(TQBase::detail::parseDouble("1e-400", d),
            NumberFailure::outOfRange);
  EXPECT_STREQ(TQBase::detail::numberFailureText(NumberForm::stoui,
                                                 NumberFailure::noNumber),
               "invalid stoul argument");
  EXPECT_STREQ(TQBase::detail::numberFailureText(NumberForm::stof,
                                                 NumberFailure::outOfRange),
               "stof argument out of range");
  EXPECT_EQ(
      TQBase::detail::numberFailureText(NumberForm::stoi, NumberFailure::none),
      nullptr);
}

}  // namespace
