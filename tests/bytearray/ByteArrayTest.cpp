#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <random>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "support/ByteArrayChecks.h"

using TQBase::TQByteArray;
using namespace tqtest;

namespace {

TEST(ByteArrayStorage, EmptyResultsShareTheStaticEmptyArray) {
  const char text[] = "hello\0world";
  TQByteArray reserved, assigned("abc"), cut("abc");
  reserved.reserve(100);
  for (const TQByteArray& e :
       {TQByteArray(), TQByteArray(nullptr, 5), TQByteArray(text, 0),
        TQByteArray(-3, 'x'), TQByteArray(reserved), reserved.trimmed(),
        TQByteArray::fromRawData(text, -1), reserved.toBase64(),
        reserved.toHex(), reserved.toPercentEncoding()})
    expectEmpty(e);
  cut.resize(-5);
  reserved.squeeze();
  for (const TQByteArray* e : {&(assigned = ""), &cut, &reserved})
    expectEmpty(*e);
  EXPECT_EQ(bytesOf(TQByteArray(text, -16)), "hello");  // any negative: strlen
}

// swap exchanges the holders, the static empty one and raw ones included.
TEST(ByteArrayStorage, SwapExchangesHoldersWithoutCopying) {
  static const char raw[] = {'r', 'a', 'w'};
  TQByteArray a("first"), e, r = TQByteArray::fromRawData(raw, 3);
  const char* const bytes = a.constData();
  a.swap(e);
  expectEmpty(a);
  EXPECT_EQ(e.constData(), bytes);
  e.swap(r);
  EXPECT_EQ(e.constData(), raw);
  EXPECT_EQ(bytesOf(r), "first");
  e.swap(e);
  EXPECT_EQ(e.constData(), raw);
  EXPECT_EQ(e.size(), 3);
}

// Wanted capacity -> capacity. Each member that builds a buffer is held to
// the same ladder in the property test below.
TEST(ByteArrayStorage, CapacityLadder) {
  const std::tuple<int, int> rows[] = {
      {1, 3},       {2, 3},        {3, 7},         {7, 15},
      {8, 15},      {4094, 4095},  {4095, 8191},   {4096, 8191},
      {8191, 8191}, {8192, 12287}, {12288, 16383}, {100000, 102399}};
  for (const auto& [wanted, capacity] : rows) {
    TQByteArray a;
    a.reserve(wanted);
    EXPECT_EQ(a.capacity(), capacity) << wanted;
  }
}

// Random edits of an array that starts on raw memory, against a std::string
// model. On odd steps a second handle shares the array: it must keep its
// bytes, and members that change nothing must not detach. Arguments often
// come from the array itself; on even steps nothing else holds its buffer, so
// ASan sees any read after the release. The slices are checked against the
// model after every step (the searches and text forms are checked by the
// fuzz harnesses).
TEST(ByteArrayEdit, RandomEditsMatchStringModel) {
  const char memory[] = "ab\0ba";  // the literal's NUL ends the raw bytes
  const std::string pool("ab\0a\tb \xA0\0\x85\vba\rab \0\xFF", 19);
  const char* const space = " \t\n\v\f\r";  // what trimmed() strips
  const auto npos = std::string::npos;
  for (unsigned trial = 0; trial < 200; ++trial) {
    SCOPED_TRACE(trial);
    std::mt19937 rng(4242 + trial);
    auto pick = [&](int lo, int hi) { return lo + int(rng() % (hi - lo + 1)); };
    auto text = [&](int n) { return pool.substr(pick(0, 14), n); };
    TQByteArray a = TQByteArray::fromRawData(memory, 5);
    std::string model = bytesOf(a);
    for (int step = 0; step < 60; ++step) {
      const TQByteArray kept = step % 2 != 0 ? a : TQByteArray();
      const std::string before = model, to = text(pick(0, 3));
      const char* data = a.constData();
      const int size = a.size(), capacity = a.capacity(), mode = pick(0, 3);
      const int off = mode == 1 ? pick(0, size) : 0;  // 0: a, 1: its tail
      // The argument: this array itself (mode 0), its tail (1) or other
      // bytes, as raw bytes `src` (odd modes) or as an array `arg`.
      const std::string piece = mode < 2 ? model.substr(off) : text(pick(0, 5));
      const TQByteArray fresh = arrayOf(piece), &arg = mode == 0 ? a : fresh;
      const char* src = mode < 2 ? data + off : piece.data();
      const int pos = pick(-2, size + 2), n = pick(-2, 6), len = piece.size();
      const char x = "ab\0"[pick(0, 2)], y = "ab\0"[pick(0, 2)];
      const bool raw = mode % 2 != 0, inside = pos >= 0 && pos <= size;
      const bool cuts = inside && pos < size && n > 0;
      const int op = pick(0, 8);
      // Edits both, and gives where the array's bytes must be afterwards:
      // `data` when they must stay in place, the argument's bytes when the
      // array must share them, null when either may be.
      const char* same = [&]() -> const char* {
        switch (op) {
          case 0:  // on an empty array append(arg) shares like `=`
            raw ? a.append(src, len) : a.append(arg);
            model += piece;
            if (size == 0 && mode == 2) return arg.constData();
            return len == 0 && (size > 0 || mode != 2) ? data : nullptr;
          case 1:
            raw ? a.insert(pos, src, len) : a.insert(pos, arg);
            if (inside) model.insert(pos, piece);
            return !inside || len == 0 ? data : nullptr;
          case 2:  // remove, then insert of what is left
            a.replace(pos, n, arg);
            if (cuts) model.erase(pos, n);
            if (inside)
              model.insert(pos, mode == 0 ? std::string(model) : piece);
            return !cuts && (!inside || len == 0) ? data : nullptr;
          case 3:
            a.replace(arg, arrayOf(to));
            for (auto at = len == 0 ? npos : model.find(piece); at != npos;
                 at = model.find(piece, at + to.size()))
              model.replace(at, len, to);
            return len == 0 || before.find(piece) == npos ? data : nullptr;
          case 4:
            a.replace(x, y);
            std::replace(model.begin(), model.end(), x, y);
            return x == y || before.find(x) == npos ? data : nullptr;
          case 5:  // grown bytes are unset but for the old terminator
            a.resize(n);
            if (n > size) std::fill_n(a.getData() + size + 1, n - size - 1, 0);
            model.resize(std::max(n, 0));
            return n == size && n > 0 ? data : nullptr;
          case 6:
            n > 3 ? a.reserve(n * 3) : a.squeeze();
            return (n > 3 ? n * 3 <= capacity : capacity <= size) ? data
                                                                  : nullptr;
          case 7:
            if (size > 0) a.getData()[off % size] = model[off % size] = 'z';
            return nullptr;
          default:
            raw ? a = src : a = arg;  // mode 0: self-assignment
            model = raw ? piece.c_str() : piece;
            return mode == 0 ? data : mode == 2 ? arg.constData() : nullptr;
        }
      }();
      const int now = model.size();
      ASSERT_EQ(bytesOf(a), model);
      ASSERT_EQ(bytesOf(kept), step % 2 != 0 ? before : "");
      expectWellFormed(a);
      if (same != nullptr) {
        ASSERT_EQ(a.constData(), same);
      }
      // A buffer built for the new size has the capacity the ladder gives it.
      ASSERT_TRUE((op > 1 && op != 5 && (op != 6 || n > 3)) ||
                  a.constData() == data ||
                  a.capacity() == TQByteArray(now, 'x').capacity());
      ASSERT_EQ(bytesOf(a.left(n)), model.substr(0, std::max(n, 0)));
      ASSERT_EQ(bytesOf(a.right(n)), model.substr(now - std::clamp(n, 0, now)));
      const auto first = std::min(model.find_first_not_of(space), model.size());
      ASSERT_EQ(bytesOf(a.trimmed()),
                model.substr(first, model.find_last_not_of(space) + 1 - first));
    }
  }
}

// A negative length takes the C string; a null source changes nothing and
// keeps the share. `after` of replace(before, after) may be this array: it
// is read after the removal, and the search goes on behind.
TEST(ByteArrayEdit, CStringNullAndSelfSources) {
  const char text[] = "xy\0z";
  for (int len : {-1, -7}) {
    TQByteArray a("ab");
    EXPECT_EQ(&a.append(text, len), &a);
    EXPECT_EQ(bytesOf(a.insert(1, text, len).insert(6, "!", len)), "axybxy!");
    expectWellFormed(a);
    const TQByteArray copy(a);
    for (int nullLen : {-1, 0, 3}) {
      EXPECT_EQ(&a.append(nullptr, nullLen), &a);
      EXPECT_EQ(&a.insert(1, nullptr, nullLen), &a);
      EXPECT_EQ(a.constData(), copy.constData());
    }
  }
  TQByteArray empty;
  expectEmpty(empty.append(nullptr, -1).insert(0, nullptr, -1));
  TQByteArray b("12x34x");
  EXPECT_EQ(bytesOf(b.replace(TQByteArray("x"), b)), "121234x34x");
}

// Over raw memory with no terminator, so a deep copy shows by its own one.
TEST(ByteArraySearch, MidTableAndSharing) {
  const char memory[] = "0123456789A!";
  const TQByteArray a = TQByteArray::fromRawData(memory, 11);
  // pos, len -> count of bytes from max(pos, 0), shared
  const std::tuple<int, int, int, bool> rows[] = {
      {0, -1, 11, true},       {0, 11, 11, true},     {0, 12, 11, false},
      {0, INT_MAX, 11, false}, {0, 0, 0, false},      {3, -1, 8, false},
      {3, 4, 4, false},        {3, 100, 8, false},    {1, INT_MAX, 10, false},
      {10, 1, 1, false},       {11, 1, 0, false},     {12, 1, 0, false},
      {-1, -1, 11, true},      {-3, 5, 2, false},     {-3, 4, 1, false},
      {-3, 3, 0, false},       {-3, 2, 11, true},     {-1, 12, 11, true},
      {-1, 11, 10, false},     {-11, 11, 0, false},   {-11, 22, 11, true},
      {-100, 5, 11, true},     {-100, -100, 11, true}};
  for (const auto& [pos, len, count, shared] : rows) {
    const TQByteArray m = a.mid(pos, len);
    EXPECT_EQ(bytesOf(m), std::string(memory + std::max(pos, 0), count));
    EXPECT_EQ(m.constData() == memory, shared) << pos << "," << len;
    if (!shared) expectWellFormed(m);  // with count 0 the static empty array
  }
}

// compare and indexOf with a C string (negative length: read as far as the
// result needs) or a null one, which sorts first and is never found. A
// prefix gives the difference of the lengths; with case only the sign of a
// result is defined. (The StringSearch harness holds every explicit length,
// folded or not, to a model.)
TEST(ByteArraySearch, CStringRows) {
  const std::tuple<const char*, const char*, int, bool, int> rows[] = {
      {"abc", "ABCDEF", -1, false, -3}, {"abc", "abcdef", -1, true, -1},
      {"abc", "ab", -1, true, 1},       {"abc", "abc\0zzz", -1, true, 0},
      {"", "xyz", -1, false, -3},       {"abc", "ABCDE", -5, false, -2},
      {"abc", nullptr, 0, true, 1},     {"", nullptr, 5, true, 0}};
  for (const auto& [array, str, len, cs, want] : rows) {
    const int got = TQByteArray(array).compare(str, len, cs);
    EXPECT_EQ(cs ? (got > 0) - (got < 0) : got, want) << array << "," << len;
  }
  const TQByteArray abc("abc");
  EXPECT_GT(abc.compare("ABC"), 0);  // by default with case, to the NUL
  EXPECT_LT(abc.compare("abcd"), 0);
  const std::tuple<const char*, int, int> finds[] = {
      {"bcd", 0, -1}, {"bc", 1, 1}, {"bc", 2, -1},
      {"", 3, -1},    {"", 0, -1},  {nullptr, 0, -1}};
  for (const auto& [pattern, from, want] : finds)
    EXPECT_EQ(abc.indexOf(pattern, from, -1), want) << from;
  EXPECT_EQ(abc.indexOf("bc"), 1);
  EXPECT_EQ(abc.indexOf(nullptr), -1);
}

// Anchors for the models of the text forms in the fuzz harness, which hold
// every byte: bit 0 of the options picks the URL-safe alphabet, other bits
// are ignored; decoding skips what is not in the alphabet, "=" included,
// and goes on in the same bit stream; fromHex does not validate; the
// neighbours of each kept range are escaped.
TEST(ByteArrayTextForms, KnownAnswers) {
  const TQByteArray bytes("\xFB\xFF");
  EXPECT_EQ(bytesOf(bytes.toBase64()), "+/8=");
  EXPECT_EQ(bytesOf(bytes.toBase64(-1)), "-_8=");
  EXPECT_EQ(
      bytesOf(TQByteArray::fromBase64(TQByteArray("Q\x80U JD\n=QQ==QQR"))),
      "ABCA\x04\x10");
  EXPECT_EQ(bytesOf(TQByteArray::fromBase64(TQByteArray("-_-_"))), "");
  EXPECT_EQ(bytesOf(TQByteArray::fromBase64(TQByteArray("-_-_"), 3)),
            "\xFB\xFF\xBF");
  EXPECT_EQ(bytesOf(TQByteArray("\x9A\xFF").toHex()), "9AFF");
  EXPECT_EQ(bytesOf(TQByteArray::fromHex(TQByteArray("AbzG\x80\x80 "))),
            "\xAB\x40\xB9");
  const std::string mixed("AZaz09-./_~ ,:@[^`{\x7F\x80\xFF\0", 23);
  EXPECT_EQ(bytesOf(arrayOf(mixed).toPercentEncoding()),
            "AZaz09-./_~%20%2C%3A%40%5B%5E%60%7B%7F%80%FF%00");
}

// Sizes at and past the limits: members refuse them before anything is read
// or wrapped, and read a C string no further than the result needs. The raw
// records here claim far more than the bytes behind them.
TEST(ByteArrayLimits, SizesPastTheLimitsThrowBadAlloc) {
  EXPECT_THROW(TQByteArray("abc").reserve(0x7FFFF000), std::bad_alloc);
  EXPECT_THROW(TQByteArray("abc").resize(INT_MAX), std::bad_alloc);
  const char memory[] = "%%%";
  const TQByteArray huge = TQByteArray::fromRawData(memory, INT_MAX - 2);
  EXPECT_THROW(TQByteArray(huge).append("abcd", 4), std::bad_alloc);
  EXPECT_THROW(TQByteArray(huge).insert(0, "abcd", 4), std::bad_alloc);
  EXPECT_THROW(huge.toBase64(), std::bad_alloc);
  EXPECT_EQ(TQByteArray::fromRawData(memory, 1 << 30).toHex().size(), 0);
  EXPECT_THROW(TQByteArray::fromRawData(memory, 715826518).toPercentEncoding(),
               std::bad_alloc);
}

// C strings that end nowhere within what the result needs: `a` bytes to the
// end of a span of INT_MAX + 1, then a page that cannot be read. An array of
// exactly INT_MAX of them sorts before the longer string and does not find
// it, and a pattern is read at most one byte past the room behind `from`.
// The span is one small block of `a` mapped again and again, so little
// memory is touched.
TEST(ByteArrayLimits, CStringsAreReadOnlyAsFarAsTheResultNeeds) {
  constexpr std::size_t kBlock = std::size_t{1} << 24;
  constexpr std::size_t kSpan = std::size_t{INT_MAX} + 1;  // 128 blocks
  const long page = sysconf(_SC_PAGESIZE);
  void* region =
      mmap(nullptr, kSpan + static_cast<std::size_t>(page), PROT_NONE,
           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (region == MAP_FAILED) GTEST_SKIP() << "no address space for 2 GiB";
  char* base = static_cast<char*>(region);
  const int fd = memfd_create("aaaa", 0);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(ftruncate(fd, kBlock), 0);
  void* first =
      mmap(nullptr, kBlock, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  ASSERT_NE(first, MAP_FAILED);
  std::memset(first, 'a', kBlock);
  munmap(first, kBlock);
  for (std::size_t at = 0; at < kSpan; at += kBlock) {
    ASSERT_NE(mmap(base + at, kBlock, PROT_READ,
                   MAP_SHARED | MAP_FIXED | MAP_POPULATE, fd, 0),
              MAP_FAILED);
  }
  close(fd);
  const TQByteArray array = TQByteArray::fromRawData(base, INT_MAX);
  EXPECT_EQ(array.compare(base, -1, true), -1);
  EXPECT_EQ(array.indexOf(base, 0, -1), -1);
  const TQByteArray hay = TQByteArray::fromRawData("aaaaaaa", 7);
  for (int from : {0, 1, -2})
    EXPECT_EQ(hay.indexOf(base + kSpan - 8, from, -1), -1) << from;
  munmap(base, kSpan + static_cast<std::size_t>(page));
}

}  // namespace
