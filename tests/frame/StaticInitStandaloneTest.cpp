// Arrays in a client's static storage are built before main, while the
// client's own initialisers run: the library's load-time state must be
// ready by then.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "TQBase/TQByteArray.h"

namespace {

TQBase::TQByteArray staticEmpty;

struct UsesArraysAtStartup {
  UsesArraysAtStartup() : copy(staticEmpty) {
    filled.resize(3);
    std::memcpy(filled.getData(), "abc", 3);
  }
  TQBase::TQByteArray copy, filled;
} startup;

TEST(LoadState, StaticArrayIsValidEmptyArray) {
  const TQBase::TQByteArray local;
  EXPECT_EQ(staticEmpty.size(), 0);
  EXPECT_EQ(staticEmpty.constData(), local.constData());
  EXPECT_EQ(staticEmpty.constData()[0], '\0');
  EXPECT_EQ(startup.copy.constData(), local.constData());
  EXPECT_EQ(std::string(startup.filled.constData()), "abc");
}

}  // namespace
