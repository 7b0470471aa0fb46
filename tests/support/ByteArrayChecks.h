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

inline TQBase::TQByteArray arrayOf(const std::string& s) {
  return TQBase::TQByteArray(s.data(), static_cast<int>(s.size()));
}

// Size within capacity and a zero byte behind the bytes (raw arrays make no
// such promise; the tests give theirs one).
inline void expectWellFormed(const TQBase::TQByteArray& a) {
  EXPECT_LE(a.size(), a.capacity());
  EXPECT_EQ(a.constData()[a.size()], '\0');
}

// The empty array: nothing allocated, on the one shared zero byte.
inline void expectEmpty(const TQBase::TQByteArray& a) {
  EXPECT_EQ(a.size(), 0);
  EXPECT_EQ(a.capacity(), 0);
  EXPECT_EQ(a.constData(), TQBase::TQByteArray().constData());
  EXPECT_EQ(a.constData()[0], '\0');
}

}  // namespace tqtest

#endif  // TQBASE_TESTS_SUPPORT_BYTEARRAYCHECKS_H_
