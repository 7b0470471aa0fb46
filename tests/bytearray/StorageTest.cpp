#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TQBase/TQByteArray.h"
#include "support/ByteArrayChecks.h"

using TQBase::TQByteArray;
using tqtest::bytesOf;
using tqtest::expectWellFormed;

namespace {

// Every empty array of the process reads the same zero byte.
const char* emptyData() {
  static const TQByteArray empty;
  return empty.constData();
}

void expectEmpty(const TQByteArray& a) {
  EXPECT_EQ(a.size(), 0);
  EXPECT_EQ(a.capacity(), 0);
  EXPECT_EQ(a.constData(), emptyData());
  EXPECT_EQ(a.constData()[0], '\0');
}

TEST(ByteArrayStorage, ConstructorsFromPointer) {
  const char text[] = "hello\0world";
  struct Row {
    const char* name;
    const char* data;
    int size;
    std::string expected;
  } rows[] = {
      {"null, negative", nullptr, -1, ""},
      {"null, positive", nullptr, 5, ""},
      {"null, zero", nullptr, 0, ""},
      {"size zero", text, 0, ""},
      {"size -1 takes strlen", text, -1, "hello"},
      {"any negative takes strlen", text, -16, "hello"},
      {"explicit size keeps zeros", text, 11, std::string(text, 11)},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    TQByteArray a(row.data, row.size);
    EXPECT_EQ(bytesOf(a), row.expected);
    if (row.expected.empty()) {
      expectEmpty(a);
    } else {
      expectWellFormed(a);
      EXPECT_NE(a.constData(), row.data);  // always a deep copy
    }
  }
}

TEST(ByteArrayStorage, FillConstructor) {
  expectEmpty(TQByteArray(0, 'x'));
  expectEmpty(TQByteArray(-3, 'x'));
  TQByteArray a(5, 'x');
  EXPECT_EQ(bytesOf(a), "xxxxx");
  EXPECT_EQ(a.capacity(), 7);
  expectWellFormed(a);
}

TEST(ByteArrayStorage, CapacityLadder) {
  // Wanted capacity -> capacity, through reserve on an empty array.
  const std::pair<int, int> rows[] = {
      {1, 3},       {2, 3},       {3, 7},       {6, 7},       {7, 15},
      {8, 15},      {100, 127},   {4094, 4095}, {4095, 8191}, {4096, 8191},
      {8191, 8191}, {8192, 12287}, {12288, 16383}, {100000, 102399},
  };
  for (const auto& [wanted, capacity] : rows) {
    SCOPED_TRACE(wanted);
    TQByteArray a;
    a.reserve(wanted);
    EXPECT_EQ(a.capacity(), capacity);
    EXPECT_EQ(a.size(), 0);
    EXPECT_NE(a.constData(), emptyData());
    expectWellFormed(a);
  }
}

TEST(ByteArrayStorage, CapacityLadderMatchesClosedForm) {
  for (int wanted = 1; wanted <= 3 * 4096 + 5; ++wanted) {
    int n = wanted + 1;
    int allocation = 1;
    if (n <= 4096) {
      while (allocation <= n) allocation *= 2;
    } else {
      allocation = (n + 4095) / 4096 * 4096;
    }
    TQByteArray a(wanted, 'a');
    ASSERT_EQ(a.capacity(), allocation - 1) << wanted;
  }
}

TEST(ByteArrayStorage, CopySharesAndEmptyNeverShares) {
  TQByteArray a("abcde", -1);
  TQByteArray b(a);
  EXPECT_EQ(b.constData(), a.constData());
  TQByteArray c;
  c = a;
  EXPECT_EQ(c.constData(), a.constData());

  TQByteArray reserved;
  reserved.reserve(100);
  TQByteArray copy(reserved);
  expectEmpty(copy);
  TQByteArray target("xyz", -1);
  target = reserved;
  expectEmpty(target);
}

TEST(ByteArrayStorage, SelfAssignmentKeepsRecord) {
  TQByteArray a("abcde", -1);
  const char* before = a.constData();
  TQByteArray& self = a;
  a = self;
  EXPECT_EQ(a.constData(), before);
  EXPECT_EQ(bytesOf(a), "abcde");
}

TEST(ByteArrayStorage, AssignFromOwnBufferReadsBeforeRelease) {
  // Regression guard: the old buffer must outlive the copy out of it.
  TQByteArray a("hello world", -1);
  a = a.constData() + 6;
  EXPECT_EQ(bytesOf(a), "world");
  expectWellFormed(a);
}

TEST(ByteArrayStorage, AssignCString) {
  TQByteArray a;
  a.reserve(50);
  a = "abc";
  EXPECT_EQ(bytesOf(a), "abc");
  EXPECT_EQ(a.capacity(), 7);  // a new record on the ladder; the reserve is gone
  a = "";
  expectEmpty(a);
  a = "abc";
  a = static_cast<const char*>(nullptr);
  expectEmpty(a);
}

TEST(ByteArrayStorage, ReserveRules) {
  TQByteArray a("abcde", -1);
  ASSERT_EQ(a.capacity(), 7);
  const char* before = a.constData();
  for (int n : {7, 0, -1}) {
    a.reserve(n);
    EXPECT_EQ(a.constData(), before) << n;
  }
  a.reserve(8);
  EXPECT_EQ(a.capacity(), 15);
  EXPECT_EQ(bytesOf(a), "abcde");

  TQByteArray big("abcde", -1);
  big.reserve(100);
  EXPECT_EQ(big.capacity(), 127);
  big.squeeze();
  EXPECT_EQ(big.capacity(), 7);
  const char* squeezed = big.constData();
  big.squeeze();  // the ladder gives 7 again, yet a new buffer is made
  EXPECT_EQ(big.capacity(), 7);
  EXPECT_NE(big.constData(), squeezed);
  EXPECT_EQ(bytesOf(big), "abcde");
}

TEST(ByteArrayStorage, ReserveOnSharedArray) {
  TQByteArray a("abcde", -1);
  TQByteArray b(a);
  b.reserve(7);
  EXPECT_EQ(b.constData(), a.constData());
  b.reserve(8);
  EXPECT_NE(b.constData(), a.constData());
  EXPECT_EQ(b.capacity(), 15);
  EXPECT_EQ(a.capacity(), 7);
  EXPECT_EQ(bytesOf(a), "abcde");
  EXPECT_EQ(bytesOf(b), "abcde");
}

TEST(ByteArrayStorage, SqueezeEdges) {
  TQByteArray full(8191, 'q');
  const char* before = full.constData();
  full.squeeze();
  EXPECT_EQ(full.constData(), before);

  TQByteArray reserved;
  reserved.reserve(10);
  reserved.squeeze();
  expectEmpty(reserved);
}

TEST(ByteArrayStorage, ResizeInPlaceLeavesOldBytes) {
  TQByteArray a("abcde", -1);
  const char* before = a.constData();
  a.resize(3);
  EXPECT_EQ(a.constData(), before);
  EXPECT_EQ(bytesOf(a), "abc");
  EXPECT_EQ(a.constData()[3], '\0');
  a.resize(5);
  EXPECT_EQ(a.constData(), before);
  EXPECT_EQ(a.constData()[3], '\0');
  EXPECT_EQ(a.constData()[4], 'e');  // not filled
  EXPECT_EQ(a.constData()[5], '\0');
}

TEST(ByteArrayStorage, ResizeOnEmptySharedAndRaw) {
  TQByteArray e;
  e.resize(4);
  EXPECT_EQ(e.size(), 4);
  EXPECT_EQ(e.capacity(), 7);
  EXPECT_EQ(e.constData()[0], '\0');
  EXPECT_EQ(e.constData()[4], '\0');

  TQByteArray a("abcde", -1);
  TQByteArray b(a);
  b.resize(5);  // same size: no copy
  EXPECT_EQ(b.constData(), a.constData());
  b.resize(2);
  EXPECT_EQ(b.capacity(), 3);
  EXPECT_EQ(bytesOf(b), "ab");
  EXPECT_EQ(bytesOf(a), "abcde");

  const char memory[] = "ABCDEFGH";
  TQByteArray raw = TQByteArray::fromRawData(memory, 8);
  raw.resize(8);
  EXPECT_EQ(raw.constData(), memory);
  raw.resize(3);
  EXPECT_NE(raw.constData(), memory);
  EXPECT_EQ(raw.capacity(), 7);
  EXPECT_EQ(bytesOf(raw), "ABC");
  expectWellFormed(raw);
  EXPECT_STREQ(memory, "ABCDEFGH");

  TQByteArray gone("abc", -1);
  gone.resize(0);
  expectEmpty(gone);
  gone = "abc";
  gone.resize(-5);
  expectEmpty(gone);
}

TEST(ByteArrayStorage, GetDataDetaches) {
  TQByteArray a("abcde", -1);
  TQByteArray b(a);
  char* p = b.getData();
  EXPECT_NE(p, a.constData());
  EXPECT_EQ(b.capacity(), 15);  // the capacity goes through the ladder
  EXPECT_EQ(b.getData(), p);    // detached now: same pointer
  p[0] = 'X';
  EXPECT_EQ(bytesOf(a), "abcde");
  EXPECT_EQ(bytesOf(b), "Xbcde");

  const char memory[] = "ABCDEFGH";
  TQByteArray raw = TQByteArray::fromRawData(memory, 8);
  char* q = raw.getData();
  EXPECT_NE(q, memory);
  EXPECT_EQ(bytesOf(raw), "ABCDEFGH");
  EXPECT_EQ(q[8], '\0');
  EXPECT_EQ(raw.capacity(), 15);

  TQByteArray e;
  EXPECT_EQ(e.getData(), emptyData());
  expectEmpty(e);
}

TEST(ByteArrayStorage, ReserveWriteResizeKeepsBytes) {
  TQByteArray a;
  a.reserve(20);
  char* p = a.getData();
  std::memcpy(p, "0123456789", 10);
  a.resize(10);
  EXPECT_EQ(a.constData(), p);
  EXPECT_EQ(bytesOf(a), "0123456789");
  expectWellFormed(a);
}

TEST(ByteArrayStorage, RawData) {
  const char memory[] = "raw bytes";
  expectEmpty(TQByteArray::fromRawData(nullptr, 4));
  expectEmpty(TQByteArray::fromRawData(memory, 0));
  expectEmpty(TQByteArray::fromRawData(memory, -1));
  TQByteArray raw = TQByteArray::fromRawData(memory, 3);
  EXPECT_EQ(raw.constData(), memory);
  EXPECT_EQ(raw.size(), 3);
  EXPECT_EQ(raw.capacity(), 3);
  {
    TQByteArray copy(raw);
    EXPECT_EQ(copy.constData(), memory);
  }
  raw.clear();
  EXPECT_STREQ(memory, "raw bytes");
}

TEST(ByteArrayStorage, SwapMovesSharedNullToo) {
  TQByteArray a("abc", -1);
  TQByteArray e;
  const char* data = a.constData();
  e.swap(a);
  EXPECT_EQ(e.constData(), data);
  expectEmpty(a);
}

TEST(ByteArrayStorage, CopiesUnharmedByRandomEdits) {
  // Random storage operations on a pool of handles against a model.
  constexpr unsigned kSeed = 2024;
  for (unsigned trial = 0; trial < 20; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    std::vector<TQByteArray> arrays(4);
    std::vector<std::string> model(4);
    for (int step = 0; step < 300; ++step) {
      const std::size_t i = rng() % 4, j = rng() % 4;
      const int n = static_cast<int>(rng() % 40) - 5;
      switch (rng() % 6) {
        case 0:
          arrays[i] = arrays[j];
          model[i] = model[j];
          break;
        case 1:
          arrays[i].resize(n);
          if (n <= 0) {
            model[i].clear();
          } else if (static_cast<std::size_t>(n) > model[i].size()) {
            // Grown bytes are unspecified: write them and track them.
            const std::size_t old = model[i].size();
            char* p = arrays[i].getData();
            model[i].resize(static_cast<std::size_t>(n));
            for (std::size_t k = old; k < model[i].size(); ++k) {
              p[k] = model[i][k] = static_cast<char>('a' + k % 26);
            }
          } else {
            model[i].resize(static_cast<std::size_t>(n));
          }
          break;
        case 2:
          arrays[i].reserve(n);
          break;
        case 3:
          arrays[i].squeeze();
          break;
        case 4:
          if (!model[i].empty()) {
            const std::size_t k = rng() % model[i].size();
            arrays[i].getData()[k] = model[i][k] = static_cast<char>(rng());
          }
          break;
        case 5:
          arrays[i].swap(arrays[j]);
          model[i].swap(model[j]);
          break;
      }
      for (std::size_t k = 0; k < arrays.size(); ++k) {
        ASSERT_EQ(bytesOf(arrays[k]), model[k]) << "array " << k << " step " << step;
        expectWellFormed(arrays[k]);
      }
    }
  }
}

}  // namespace
