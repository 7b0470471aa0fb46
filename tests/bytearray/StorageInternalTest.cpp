// Checks the internal record: use counts, the shared empty holder and the
// capacity ladder helper, reached through the private storage header.
#include <cstring>

#include <gtest/gtest.h>

#include "TQBase/TQByteArray.h"
#include "bytearray/ByteArrayData.h"

namespace {

using TQBase::TQByteArray;
using TQBase::TQByteArrayRef;

// The handle's one field; TQByteArray is standard-layout, so its address is
// the address of `d`.
TQByteArrayRef* holderOf(const TQByteArray& a) {
  TQByteArrayRef* d;
  std::memcpy(&d, &a, sizeof d);
  return d;
}

long useCount(const TQByteArray& a) { return holderOf(a)->record.use_count(); }

TEST(ByteArrayInternal, HandleIsOnePointer) {
  EXPECT_EQ(sizeof(TQByteArray), sizeof(void*));
  EXPECT_EQ(sizeof(TQBase::TQByteArrayPrivateDat), 20u);  // 4-byte packing
}

TEST(ByteArrayInternal, EmptyArraysUseSharedNullWithoutCounting) {
  TQByteArray a;
  TQByteArray b(a);
  TQByteArray c;
  c = b;
  EXPECT_EQ(holderOf(a), TQBase::detail::sharedNull);
  EXPECT_EQ(holderOf(b), TQBase::detail::sharedNull);
  EXPECT_EQ(holderOf(c), TQBase::detail::sharedNull);
  EXPECT_EQ(useCount(a), 1);
  EXPECT_EQ(a.constData(), TQBase::detail::emptyBuffer);
}

TEST(ByteArrayInternal, CopiesMakeOwnHoldersSharingTheRecord) {
  TQByteArray a("abc", -1);
  EXPECT_EQ(useCount(a), 1);
  {
    TQByteArray b(a);
    EXPECT_NE(holderOf(b), holderOf(a));
    EXPECT_EQ(holderOf(b)->record, holderOf(a)->record);
    EXPECT_EQ(useCount(a), 2);
    b.getData();
    EXPECT_EQ(useCount(a), 1);
    EXPECT_EQ(useCount(b), 1);
  }
  const char memory[] = "raw";
  TQByteArray raw = TQByteArray::fromRawData(memory, 3);
  TQByteArray rawCopy(raw);
  EXPECT_EQ(useCount(raw), 2);
  EXPECT_EQ(holderOf(raw)->record->ownsBuffer, 0);
}

TEST(ByteArrayInternal, AllocationLadder) {
  using TQBase::detail::allocationFor;
  const std::pair<int, int> rows[] = {
      {1, 4},          {2, 4},       {3, 8},       {7, 16},      {4094, 4096},
      {4095, 8192},    {8191, 8192}, {8192, 12288},
      {TQBase::detail::kMaxWantedCapacity, 0x7FFFF000},
  };
  for (const auto& [wanted, allocation] : rows) {
    EXPECT_EQ(allocationFor(wanted), allocation) << wanted;
  }
  EXPECT_THROW(allocationFor(TQBase::detail::kMaxWantedCapacity + 1), std::bad_alloc);
  EXPECT_THROW(TQBase::detail::checkedTotal(0x7FFFFFFF, 1), std::bad_alloc);
  EXPECT_EQ(TQBase::detail::checkedTotal(3, 4), 7);
}

}  // namespace
