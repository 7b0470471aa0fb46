// Every failure text of the number parsers, worded as the standard
// conversions word theirs, and none for a clean conversion.

#include <string>

#include <gtest/gtest.h>

#include "text/NumberParse.h"

namespace TQBase {
namespace detail {
namespace {

TEST(NumberTexts, EachFormNamesItselfAndCleanHasNone) {
  const struct {
    NumberForm form;
    const char* name;
  } rows[] = {{NumberForm::stod, "stod"},   {NumberForm::stof, "stof"},
              {NumberForm::stoi, "stoi"},   {NumberForm::stol, "stol"},
              {NumberForm::stoll, "stoll"}, {NumberForm::stoui, "stoul"}};
  for (const auto& row : rows) {
    const std::string name = row.name;
    EXPECT_EQ(numberFailureText(row.form, NumberFailure::noNumber),
              "invalid " + name + " argument");
    EXPECT_EQ(numberFailureText(row.form, NumberFailure::outOfRange),
              name + " argument out of range");
    EXPECT_EQ(numberFailureText(row.form, NumberFailure::none), nullptr);
  }
}

}  // namespace
}  // namespace detail
}  // namespace TQBase
