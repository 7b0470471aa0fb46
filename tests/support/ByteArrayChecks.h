#ifndef TQBASE_TESTS_SUPPORT_BYTEARRAYCHECKS_H_
#define TQBASE_TESTS_SUPPORT_BYTEARRAYCHECKS_H_

#include <string>

#include <gtest/gtest.h>

#include "TQBase/TQByteArray.h"

namespace tqtest {

// The bytes of an array as a std::string, zeros included.
inline std::string bytesOf(const TQBase::TQByteArray& a) {
  return std::string(a.constData(), static_cast<std::size_t>(a.size()));
}

// Invariants every array result keeps: a readable non-null buffer, size
// within capacity, and a zero byte behind the bytes unless the array lies on
// raw caller memory (capacity == size with no terminator promise).
inline void expectWellFormed(const TQBase::TQByteArray& a, bool mayBeRaw = false) {
  ASSERT_NE(a.constData(), nullptr);
  EXPECT_GE(a.size(), 0);
  EXPECT_LE(a.size(), a.capacity());
  if (!mayBeRaw || a.size() == 0) {
    EXPECT_EQ(a.constData()[a.size()], '\0');
  }
}

}  // namespace tqtest

#endif  // TQBASE_TESTS_SUPPORT_BYTEARRAYCHECKS_H_
