#include "TQBase/TQByteArray.h"

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <random>
#include <string>

using TQBase::TQByteArray;

namespace {

std::string bytes(const TQByteArray& a) {
  return std::string(a.constData(), static_cast<std::size_t>(a.size()));
}

TQByteArray arrayOf(const std::string& s) {
  return TQByteArray(s.data(), static_cast<int>(s.size()));
}

// Invariants of an array whose storage the array allocated itself.
void expectOwningInvariants(const TQByteArray& a) {
  EXPECT_LE(a.size(), a.capacity());
  EXPECT_EQ(a.constData()[a.size()], '\0');
}

TEST(ByteArrayEdit, AppendFollowsCapacityLadder) {
  TQByteArray a("abc");
  a.append("de", 2);
  EXPECT_EQ(a.capacity(), 7);
  const char* before = a.constData();
  a.append("fg", -1);
  EXPECT_EQ(a.constData(), before);  // in place while there is room
  a.append("hijk", 4);
  EXPECT_EQ(bytes(a), "abcdefghijk");
  EXPECT_EQ(a.capacity(), 15);

  TQByteArray grown;
  int lastCapacity = 0;
  std::string raises;
  for (int n = 1; n <= 16384; ++n) {
    grown.append("x", 1);
    if (grown.capacity() != lastCapacity)
      raises +=
          std::to_string(n) + ":" + std::to_string(grown.capacity()) + " ";
    lastCapacity = grown.capacity();
  }
  EXPECT_EQ(
      raises,
      "1:3 4:7 8:15 16:31 32:63 64:127 128:255 256:511 512:1023 "
      "1024:2047 2048:4095 4096:8191 8192:12287 12288:16383 16384:20479 ");
}

TEST(ByteArrayEdit, AppendIgnoresNullAndZeroLength) {
  TQByteArray a("abc");
  const TQByteArray copy = a;
  a.append(nullptr, -1)
      .append(nullptr, 3)
      .append("xyz", 0)
      .append(TQByteArray());
  EXPECT_EQ(a.constData(), copy.constData());  // still shared
}

TEST(ByteArrayEdit, AppendToEmptySharesAndDropsReserve) {
  const char memory[] = {'r', 'a', 'w'};
  const TQByteArray raw = TQByteArray::fromRawData(memory, 3);
  TQByteArray a;
  a.append(raw);
  EXPECT_EQ(a.constData(), memory);

  TQByteArray reserved;
  reserved.reserve(100);
  const char* buffer = reserved.constData();
  reserved.append(reserved);
  EXPECT_EQ(reserved.constData(), buffer);
  reserved.append("ab", 2);
  EXPECT_EQ(reserved.constData(), buffer);  // fills the reserved room

  TQByteArray dropped;
  dropped.reserve(100);
  dropped.append(TQByteArray());
  EXPECT_EQ(dropped.capacity(), 0);
  const TQByteArray other("xy");
  dropped.reserve(100);
  dropped.append(other);
  EXPECT_EQ(dropped.constData(), other.constData());
}

// The source is read before the old buffer can go (checked under ASan).
TEST(ByteArrayEdit, AppendFromOwnBuffer) {
  for (int room : {0, 20}) {
    SCOPED_TRACE(room);
    TQByteArray a("hello");
    a.reserve(room);
    a.append(a);
    EXPECT_EQ(bytes(a), "hellohello");

    TQByteArray shared("hello");
    shared.reserve(room);
    const TQByteArray copy = shared;
    shared.append(shared);
    EXPECT_EQ(bytes(shared), "hellohello");
    EXPECT_EQ(bytes(copy), "hello");

    TQByteArray tail("abcdef");  // capacity 7: without room it reallocates
    tail.reserve(room);
    tail.append(tail.constData() + 2, 4);
    EXPECT_EQ(bytes(tail), "abcdefcdef");
  }
}

TEST(ByteArrayEdit, InsertRebuildsToTheLadder) {
  TQByteArray a("abcde");
  a.reserve(1000);
  EXPECT_EQ(a.capacity(), 1023);
  a.insert(2, "XY", 2);
  EXPECT_EQ(bytes(a), "abXYcde");
  EXPECT_EQ(a.capacity(), 15);  // reserved room is not kept

  TQByteArray b("abcde");
  b.insert(0, "<", -1).insert(b.size(), ">", 1);
  EXPECT_EQ(bytes(b), "<abcde>");
  const TQByteArray copy = b;
  for (int pos : {-1, 8}) b.insert(pos, "z", 1);
  b.insert(1, "z", 0).insert(1, nullptr, 1);
  EXPECT_EQ(b.constData(), copy.constData());  // no change, no detach

  TQByteArray empty;
  empty.insert(1, "z", 1);
  EXPECT_EQ(empty.size(), 0);
  empty.insert(0, "z", 1);
  EXPECT_EQ(bytes(empty), "z");

  TQByteArray self("abcde");
  self.insert(2, self);
  EXPECT_EQ(bytes(self), "ababcdecde");

  const char memory[] = {'r', 'a', 'w'};
  TQByteArray raw = TQByteArray::fromRawData(memory, 3);
  raw.insert(1, "-", 1);
  EXPECT_EQ(bytes(raw), "r-aw");
  expectOwningInvariants(raw);
  EXPECT_EQ(std::string(memory, 3), "raw");
}

TEST(ByteArrayEdit, RemoveDetachesOnlyWhenItChanges) {
  TQByteArray a("abcde");
  const TQByteArray copy = a;
  a.remove(5, 1).remove(-1, 2).remove(1, 0).remove(1, -1);
  EXPECT_EQ(a.constData(), copy.constData());
  a.remove(1, 2);
  EXPECT_EQ(bytes(a), "ade");
  EXPECT_EQ(a.capacity(), 15);  // detached with the capacity passed through
  TQByteArray cut = copy;
  cut.remove(3, 99);
  EXPECT_EQ(bytes(cut), "abc");
  EXPECT_EQ(cut.capacity(), 7);
  EXPECT_EQ(bytes(copy), "abcde");
  cut.remove(0, 99);
  EXPECT_EQ(cut.capacity(), 0);

  const char memory[] = {'r', 'a', 'w', '!'};
  TQByteArray raw = TQByteArray::fromRawData(memory, 4);
  raw.remove(1, 1);
  EXPECT_EQ(bytes(raw), "rw!");
  EXPECT_EQ(std::string(memory, 4), "raw!");
}

TEST(ByteArrayEdit, ReplaceNeverRescansWhatItPutIn) {
  TQByteArray a("aaa");
  a.replace(TQByteArray("a"), TQByteArray("aa"));
  EXPECT_EQ(bytes(a), "aaaaaa");
  TQByteArray b("xxxx");
  b.replace(TQByteArray("xx"), TQByteArray("y"));
  EXPECT_EQ(bytes(b), "yy");
  TQByteArray c("a.b.");
  c.replace(TQByteArray("."), TQByteArray());
  EXPECT_EQ(bytes(c), "ab");

  TQByteArray unchanged("abc");
  const TQByteArray copy = unchanged;
  unchanged.replace(TQByteArray(), TQByteArray("x"));
  unchanged.replace(TQByteArray("zz"), TQByteArray("x"));
  EXPECT_EQ(unchanged.constData(), copy.constData());
}

TEST(ByteArrayEdit, ReplaceWithItself) {
  TQByteArray a("abcabc");
  a.replace(a, TQByteArray("xy"));
  EXPECT_EQ(bytes(a), "xy");
  TQByteArray b("12x34x");
  b.replace(TQByteArray("x"), b);
  EXPECT_EQ(bytes(b), "121234x34x");  // once, by what is left after removal
  TQByteArray c("abc");
  c.replace(1, 1, c);
  EXPECT_EQ(bytes(c), "aacc");
}

TEST(ByteArrayEdit, ReplaceCharDetachesAtFirstHitOnly) {
  TQByteArray a("a\0b\0", 4);
  const TQByteArray copy = a;
  a.replace('x', 'y').replace('a', 'a');
  EXPECT_EQ(a.constData(), copy.constData());
  a.replace('\0', '-');
  EXPECT_EQ(bytes(a), "a-b-");
  EXPECT_EQ(bytes(copy), std::string("a\0b\0", 4));
  a.replace('b', '\0');
  EXPECT_EQ(bytes(a), std::string("a-\0-", 4));
}

TEST(ByteArrayEdit, ReplaceRangeCases) {
  const struct {
    int pos, len;
    const char* expected;
  } rows[] = {
      {1, 2, "aXYde"}, {1, 0, "aXYbcde"}, {1, -1, "aXYbcde"}, {5, 2, "abcdeXY"},
      {6, 2, "abcde"}, {-1, 2, "abcde"},  {3, 99, "abcXY"},   {0, 99, "XY"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.pos) + "," + std::to_string(row.len));
    TQByteArray a("abcde");
    a.replace(row.pos, row.len, TQByteArray("XY"));
    EXPECT_EQ(bytes(a), row.expected);
    TQByteArray removal("abcde");
    removal.replace(row.pos, row.len, TQByteArray());
    std::string model = "abcde";
    if (row.pos >= 0 && row.pos < 5 && row.len > 0)
      model.erase(row.pos, row.len);
    EXPECT_EQ(bytes(removal), model);
  }
}

// No wrapped total: the raw record claims a size the test never lets be read.
TEST(ByteArrayEdit, TotalBeyondLimitThrows) {
  const char memory[] = "abc";
  TQByteArray huge = TQByteArray::fromRawData(memory, INT_MAX - 2);
  EXPECT_THROW(huge.append("abcd", 4), std::bad_alloc);
  EXPECT_THROW(huge.insert(0, "abcd", 4), std::bad_alloc);
  EXPECT_EQ(huge.constData(), memory);
}

TEST(ByteArrayEdit, RandomEditsMatchStringModel) {
  constexpr unsigned kSeed = 4242;
  for (unsigned trial = 0; trial < 200; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    auto pick = [&](int lo, int hi) {
      return std::uniform_int_distribution<int>(lo, hi)(rng);
    };
    auto text = [&] {
      std::string s(pick(0, 5), 'a');
      for (char& c : s) c = "ab\0"[pick(0, 2)];
      return s;
    };
    TQByteArray a;
    std::string model;
    for (int step = 0; step < 60; ++step) {
      const TQByteArray snapshot = a;
      const std::string before = model;
      const int size = static_cast<int>(model.size());
      const std::string piece = text();
      const int pos = pick(-2, size + 2);
      const int len = pick(-2, 6);
      const bool posInside = pos >= 0 && pos <= size;
      bool noop = false;  // members that change nothing must not detach
      switch (pick(0, 6)) {
        case 0:
          a.append(piece.data(), static_cast<int>(piece.size()));
          model += piece;
          noop = piece.empty();
          break;
        case 1:
          a.append(arrayOf(piece));
          model += piece;
          break;
        case 2:
          a.insert(pos, piece.data(), static_cast<int>(piece.size()));
          if (posInside) model.insert(static_cast<std::size_t>(pos), piece);
          noop = !posInside || piece.empty();
          break;
        case 3:
          a.remove(pos, len);
          if (pos >= 0 && pos < size && len > 0) model.erase(pos, len);
          noop = model == before;
          break;
        case 4: {
          const std::string from = text(), to = text();
          a.replace(arrayOf(from), arrayOf(to));
          for (std::size_t at = from.empty() ? std::string::npos
                                             : model.find(from);
               at != std::string::npos; at = model.find(from, at + to.size()))
            model.replace(at, from.size(), to);
          break;
        }
        case 5:
          a.replace('a', '\0');
          for (char& c : model) c = c == 'a' ? '\0' : c;
          noop = before.find('a') == std::string::npos;
          break;
        case 6:
          a.replace(pos, len, arrayOf(piece));
          if (pos >= 0 && pos < size && len > 0) model.erase(pos, len);
          if (posInside) model.insert(static_cast<std::size_t>(pos), piece);
          break;
      }
      ASSERT_EQ(bytes(a), model);
      ASSERT_EQ(bytes(snapshot), before);  // the other handle is untouched
      expectOwningInvariants(a);
      if (noop) {
        ASSERT_EQ(a.constData(), snapshot.constData());
      }
    }
  }
}

}  // namespace
