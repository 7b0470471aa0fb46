#include <gtest/gtest.h>

#include "TQBase/System.h"

namespace {

using namespace TQBase;

// The tests run on little-endian x86-64 hosts: every byte moves.
TEST(ByteOrder, ReversesEveryByte) {
  EXPECT_EQ(ToBigEndianInt16(0x0102), 0x0201);
  EXPECT_EQ(ToBigEndianInt16(0xFF00), 0x00FF);
  EXPECT_EQ(ToBigEndianInt32(0x01020304u), 0x04030201u);
  EXPECT_EQ(ToBigEndianInt32(0xFF000000u), 0x000000FFu);
  EXPECT_EQ(ToBigEndianInt64(0x0102030405060708ull), 0x0807060504030201ull);
  EXPECT_EQ(ToBigEndianInt64(0xFF00000000000000ull), 0xFFull);
  // The top bit is a byte like the others: no sign is carried.
  EXPECT_EQ(ToBigEndianInt64(0x8000000000000001ull), 0x0100000000000080ull);
  EXPECT_EQ(ToBigEndianInt16(0), 0);
  EXPECT_EQ(ToBigEndianInt16(0xFFFF), 0xFFFF);
  EXPECT_EQ(ToBigEndianInt32(0xFFFFFFFFu), 0xFFFFFFFFu);
  EXPECT_EQ(ToBigEndianInt64(~0ull), ~0ull);
}

}  // namespace
