// The short forms of TQByteArray members: default arguments, C-string
// lengths, null sources and swap, each against its long form or the bytes
// it must give.

#include <string>

#include <gtest/gtest.h>

#include "support/ByteArrayChecks.h"

using TQBase::TQByteArray;
using namespace tqtest;

namespace {

TEST(ByteArrayDefaults, CompareWithoutFlagsIsCaseSensitiveOverTheCString) {
  const TQByteArray a("abc");
  // Case matters by default: "ABC" sorts before "abc", so a compares greater.
  EXPECT_GT(a.compare("ABC"), 0);
  EXPECT_EQ(a.compare("ABC", -1, false), 0);
  EXPECT_EQ(a.compare("abc"), 0);
  // The default length reads up to the terminator: a prefix sorts first.
  EXPECT_GT(a.compare("ab"), 0);
  EXPECT_LT(a.compare("abcd"), 0);
  EXPECT_LT(TQByteArray("ab").compare("abc"), 0);
  EXPECT_EQ(a.compare("abc\0zzz"), 0);
}

TEST(ByteArrayDefaults, AppendAndInsertTakeTheCStringForANegativeLength) {
  const char text[] = "xy\0z";
  for (int len : {-1, -7}) {
    TQByteArray a("ab");
    EXPECT_EQ(&a.append(text, len), &a);
    EXPECT_EQ(bytesOf(a), "abxy");
    expectWellFormed(a);
    EXPECT_EQ(bytesOf(a.insert(1, text, len)), "axybxy");
    expectWellFormed(a);
    EXPECT_EQ(bytesOf(a.insert(a.size(), "!", len)), "axybxy!");
  }
  // An explicit length goes past the zero byte.
  TQByteArray b("ab");
  EXPECT_EQ(bytesOf(b.append(text, 4)), std::string("abxy\0z", 6));
  // An empty C string adds nothing.
  EXPECT_EQ(bytesOf(b.insert(0, "", -1)), std::string("abxy\0z", 6));
}

TEST(ByteArrayDefaults, NullSourcesChangeNothingAndKeepTheShare) {
  TQByteArray a("abc");
  const TQByteArray copy(a);
  for (int len : {-1, 0, 3}) {
    EXPECT_EQ(&a.append(nullptr, len), &a);
    EXPECT_EQ(&a.insert(1, nullptr, len), &a);
    EXPECT_EQ(bytesOf(a), "abc");
    // Members with no effect do not detach.
    EXPECT_EQ(a.constData(), copy.constData());
  }
  TQByteArray empty;
  empty.append(nullptr, -1);
  empty.insert(0, nullptr, -1);
  expectEmpty(empty);
}

TEST(ByteArrayDefaults, SwapExchangesRecordsWithoutCopying) {
  TQByteArray a("first"), b(3, 'x');
  const char* const pa = a.constData();
  const char* const pb = b.constData();
  a.swap(b);
  EXPECT_EQ(bytesOf(a), "xxx");
  EXPECT_EQ(bytesOf(b), "first");
  EXPECT_EQ(a.constData(), pb);
  EXPECT_EQ(b.constData(), pa);
  // With the empty array, a raw array, and itself.
  static const char raw[] = {'r', 'a', 'w'};
  TQByteArray e, r = TQByteArray::fromRawData(raw, 3);
  e.swap(r);
  EXPECT_EQ(e.constData(), raw);
  expectEmpty(r);
  e.swap(e);
  EXPECT_EQ(e.constData(), raw);
  EXPECT_EQ(e.size(), 3);
}

TEST(ByteArrayDefaults, OneArgumentFromBase64UsesTheStandardAlphabet) {
  struct Row {
    const char* text;
    std::string bytes;
  };
  const Row rows[] = {
      {"+/+/", "\xFB\xFF\xBF"},  // standard alphabet
      {"-_-_", ""},              // URL characters are skipped
      {"QQ==QQ==", "\x41\x04\x10"},
      {"QU JD\n", "ABC"},
      {"", ""},
  };
  for (const Row& row : rows) {
    const TQByteArray source(row.text);
    EXPECT_EQ(bytesOf(TQByteArray::fromBase64(source)), row.bytes) << row.text;
    EXPECT_EQ(bytesOf(TQByteArray::fromBase64(source)),
              bytesOf(TQByteArray::fromBase64(source, 0)));
  }
  // The default of toBase64 is the standard alphabet too.
  EXPECT_EQ(bytesOf(TQByteArray("\xFB\xFF\xFE").toBase64()), "+//+");
}

}  // namespace
