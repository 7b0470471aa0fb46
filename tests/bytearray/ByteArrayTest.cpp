#include <algorithm>
#include <climits>
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

// swap exchanges the holders, the static empty one included.
TEST(ByteArrayStorage, SwapExchangesStorage) {
  TQByteArray a("abc"), b;
  const char* bytes = a.constData();
  a.swap(b);
  expectEmpty(a);
  EXPECT_EQ(b.constData(), bytes);
  EXPECT_EQ(bytesOf(b), "abc");
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

// Sizes beyond the limits are refused before anything is read or wrapped (the
// raw records claim far more than the bytes behind them).
TEST(ByteArrayStorage, SizeLimitsThrowBadAlloc) {
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

TEST(ByteArrayEdit, ReplaceRangeRows) {
  const std::tuple<int, int, const char*> rows[] = {
      {1, 2, "aXYde"}, {1, 0, "aXYbcde"}, {1, -1, "aXYbcde"}, {5, 2, "abcdeXY"},
      {6, 2, "abcde"}, {-1, 2, "abcde"},  {3, 99, "abcXY"},   {0, 99, "XY"}};
  const TQByteArray xy("XY");
  for (const auto& [pos, len, expected] : rows)
    EXPECT_EQ(bytesOf(TQByteArray("abcde").replace(pos, len, xy)), expected);
  // `after` is this array, read after the removal; the search goes on behind.
  TQByteArray b("12x34x");
  EXPECT_EQ(bytesOf(b.replace(TQByteArray("x"), b)), "121234x34x");
}

// One random edit: the arguments drawn for it, the array before it, and
// the model. Each operation below edits both and returns where the array's
// bytes must be afterwards: `data` when they must stay in place, the
// argument's bytes when the array must share them, null when either may be.
struct EditStep {
  TQByteArray& a;
  std::string& model;
  const TQByteArray& arg;     // this array itself (mode 0) or a fresh copy
  const std::string& piece;   // what `src`/`arg` hold
  const std::string& to;      // the replacement of replace(before, after)
  const std::string& before;  // the model before the edit
  const char* data;           // the array's bytes before the edit
  const char* src;            // raw bytes: in the array (modes 0, 1) or not
  int size, capacity, mode, pos, n;
  char x, y;

  bool inside() const { return pos >= 0 && pos <= size; }
  bool cuts() const { return inside() && pos < size && n > 0; }
  int len() const { return static_cast<int>(piece.size()); }
};

const char* appendStep(EditStep& e) {
  e.mode == 1 ? e.a.append(e.src, e.len()) : e.a.append(e.arg);
  e.model += e.piece;  // on an empty array append(arg) shares like `=`
  if (e.size == 0 && e.mode > 1) return e.arg.constData();
  return e.len() == 0 && (e.size > 0 || e.mode < 2) ? e.data : nullptr;
}

const char* insertStep(EditStep& e, bool raw) {
  raw ? e.a.insert(e.pos, e.src, e.len()) : e.a.insert(e.pos, e.arg);
  if (e.inside()) e.model.insert(e.pos, e.piece);
  return !e.inside() || e.len() == 0 ? e.data : nullptr;
}

// remove, then insert of what is left
const char* replaceRangeStep(EditStep& e) {
  e.a.replace(e.pos, e.n, e.arg);
  if (e.cuts()) e.model.erase(e.pos, e.n);
  if (e.inside())
    e.model.insert(e.pos, e.mode == 0 ? std::string(e.model) : e.piece);
  return !e.cuts() && (!e.inside() || e.len() == 0) ? e.data : nullptr;
}

const char* replaceAllStep(EditStep& e) {
  const auto npos = std::string::npos;
  e.a.replace(e.arg, arrayOf(e.to));
  for (auto at = e.len() == 0 ? npos : e.model.find(e.piece); at != npos;
       at = e.model.find(e.piece, at + e.to.size()))
    e.model.replace(at, e.len(), e.to);
  return e.len() == 0 || e.before.find(e.piece) == npos ? e.data : nullptr;
}

const char* replaceByteStep(EditStep& e) {
  e.a.replace(e.x, e.y);
  std::replace(e.model.begin(), e.model.end(), e.x, e.y);
  return e.x == e.y || e.before.find(e.x) == std::string::npos ? e.data
                                                               : nullptr;
}

const char* resizeStep(EditStep& e) {
  e.a.resize(e.n);  // grown bytes are unset but for the old terminator
  if (e.n > e.size)
    std::fill_n(e.a.getData() + e.size + 1, e.n - e.size - 1, '\0');
  e.model.resize(std::max(e.n, 0));
  return e.n == e.size && e.n > 0 ? e.data : nullptr;
}

const char* reserveOrSqueezeStep(EditStep& e) {
  e.n > 3 ? e.a.reserve(e.n * 3) : e.a.squeeze();
  const bool kept = e.n > 3 ? e.n * 3 <= e.capacity : e.capacity <= e.size;
  return kept ? e.data : nullptr;
}

const char* writeStep(EditStep& e, int off) {
  if (e.size > 0) e.a.getData()[off % e.size] = e.model[off % e.size] = 'z';
  return nullptr;
}

const char* assignStep(EditStep& e) {
  e.mode == 1 ? e.a = e.src : e.a = e.arg;  // mode 0: self-assignment
  e.model = e.mode == 1 ? e.piece.c_str() : e.piece;
  return e.mode == 0 ? e.data : e.mode > 1 ? e.arg.constData() : nullptr;
}

// Random edits of an array that starts on raw memory, against a std::string
// model. On odd steps a second handle shares the array: it must keep its
// bytes, and members that change nothing must not detach. Arguments often
// come from the array itself; on even steps nothing else holds its buffer, so
// ASan sees any read after the release. The const members are checked
// against the model after every step.
TEST(ByteArrayEdit, RandomEditsMatchStringModel) {
  const char memory[] = "ab\0ba";  // the literal's NUL ends the raw bytes
  const std::string pool("ab\0a\tb \xA0\0\x85\vba\rab \0\xFF", 19);
  const auto npos = std::string::npos;
  const char* const space = " \t\n\v\f\r";  // what trimmed() strips
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
      const std::string piece = mode < 2 ? model.substr(off) : text(pick(0, 5));
      const char* src = mode < 2 ? data + off : piece.data();
      const int pos = pick(-2, size + 2), n = pick(-2, 6);
      const TQByteArray fresh = arrayOf(piece), &arg = mode == 0 ? a : fresh;
      const char x = "ab\0"[pick(0, 2)], y = "ab\0"[pick(0, 2)];
      EditStep e{a,    model,    arg,  piece, to, before, data, src,
                 size, capacity, mode, pos,   n,  x,      y};
      const int op = pick(0, 8);
      const char* same = nullptr;  // where the bytes must stay or go
      switch (op) {
        case 0:
          same = appendStep(e);
          break;
        case 1:
          same = insertStep(e, pick(0, 1) != 0);
          break;
        case 2:
          same = replaceRangeStep(e);
          break;
        case 3:
          same = replaceAllStep(e);
          break;
        case 4:
          same = replaceByteStep(e);
          break;
        case 5:
          same = resizeStep(e);
          break;
        case 6:
          same = reserveOrSqueezeStep(e);
          break;
        case 7:
          same = writeStep(e, off);
          break;
        default:
          same = assignStep(e);
          break;
      }
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
      const int from = pick(-8, now + 2);
      const auto start = from < 0 ? std::max(0, now + from) : from;
      const auto hit = to.empty() ? npos : model.find(to, start);
      ASSERT_EQ(a.indexOf(to.data(), from, to.size()), static_cast<int>(hit));
      ASSERT_EQ(a.indexOf(x, from), static_cast<int>(model.find(x, start)));
      ASSERT_EQ(bytesOf(a.left(n)), model.substr(0, std::max(n, 0)));
      ASSERT_EQ(bytesOf(a.right(n)), model.substr(now - std::clamp(n, 0, now)));
      const auto first = std::min(model.find_first_not_of(space), model.size());
      ASSERT_EQ(bytesOf(a.trimmed()),
                model.substr(first, model.find_last_not_of(space) + 1 - first));
      ASSERT_EQ(bytesOf(TQByteArray::fromBase64(a.toBase64(n), n)), model);
      ASSERT_EQ(bytesOf(TQByteArray::fromHex(a.toHex())), model);
    }
  }
}

// Without case only A-Z fold, and the result is the difference of the folded
// bytes. A null string sorts first whatever the length says.
TEST(ByteArraySearch, CompareAndNullRows) {
  EXPECT_EQ(TQByteArray("[").compare("A", -1, false), -6);
  EXPECT_EQ(TQByteArray("\xE4").compare("\xC4", -1, false), 32);
  EXPECT_EQ(TQByteArray("abc").compare("ABCDE", -5, false), -2);
  EXPECT_EQ(TQByteArray("abc").compare(nullptr, 0), 1);
  EXPECT_EQ(TQByteArray().compare(nullptr, 5), 0);
  EXPECT_EQ(TQByteArray("xyx").indexOf(nullptr), -1);
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

// Base64: bit 0 of the options picks the URL-safe alphabet, other bits are
// ignored. Decoding skips what is not in the alphabet, "=" included, and goes
// on in the same bit stream; bits short of a byte are dropped. Every byte
// of fromHex and the percent form is held to a model in
// TextFormsInternalTest; the rows here pin that model.
TEST(ByteArrayTextForms, KnownAnswers) {
  const std::tuple<const char*, const char*, const char*> encoded[] = {
      {"\xFB\xFF\xFE", "+//+", "-__-"},
      {"\xFB\xFF", "+/8=", "-_8="},
      {"A", "QQ==", "QQ=="}};
  for (const auto& [input, standard, url] : encoded)
    for (int options : {0, 1, 2, 3, -1, -2})
      EXPECT_EQ(bytesOf(TQByteArray(input).toBase64(options)),
                options & 1 ? url : standard);
  const std::tuple<const char*, int, const char*> decoded[] = {
      {"QUJDR", 0, "ABC"},
      {"Q\x80U JD\n=", 0, "ABC"},
      {"QQ==QQ==", 0, "A\x04\x10"},
      {"-_-_", 0, ""},
      {"-_-_", 3, "\xFB\xFF\xBF"}};
  for (const auto& [text, options, expected] : decoded)
    EXPECT_EQ(bytesOf(TQByteArray::fromBase64(TQByteArray(text), options)),
              expected);
  EXPECT_EQ(bytesOf(TQByteArray("\x9A\xFF").toHex()), "9AFF");
  // No validation, and an odd last digit is dropped.
  EXPECT_EQ(bytesOf(TQByteArray::fromHex(TQByteArray("AbzG\x80\x80 "))),
            "\xAB\x40\xB9");
  // Kept: A-Z a-z 0-9 - . / _ ~; the neighbours of each range are escaped.
  const std::string mixed("AZaz09-./_~ ,:@[^`{\x7F\x80\xFF\0", 23);
  EXPECT_EQ(bytesOf(arrayOf(mixed).toPercentEncoding()),
            "AZaz09-./_~%20%2C%3A%40%5B%5E%60%7B%7F%80%FF%00");
}

}  // namespace
