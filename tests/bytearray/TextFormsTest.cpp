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

TEST(ByteArrayTextForms, EmptySourceGivesEmptyEverywhere) {
  const TQByteArray empty;
  for (int options : {0, 1, 2, -1}) {
    EXPECT_EQ(empty.toBase64(options).size(), 0);
    EXPECT_EQ(TQByteArray::fromBase64(empty, options).size(), 0);
  }
  EXPECT_EQ(empty.toHex().size(), 0);
  EXPECT_EQ(TQByteArray::fromHex(empty).size(), 0);
  EXPECT_EQ(empty.toPercentEncoding().capacity(), 0);
}

TEST(ByteArrayTextForms, Base64EncodeRows) {
  const struct {
    std::string input;
    const char* standard;
    const char* url;
  } rows[] = {
      {"\xFB\xFF\xFE", "+//+", "-__-"},
      {"\xFB\xFF", "+/8=", "-_8="},
      {"A", "QQ==", "QQ=="},
      {"AB", "QUI=", "QUI="},
      {"ABC", "QUJD", "QUJD"},
      {"ABCD", "QUJDRA==", "QUJDRA=="},
      {std::string("\0\0\0\0", 4), "AAAAAA==", "AAAAAA=="},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.standard);
    const TQByteArray input = arrayOf(row.input);
    for (int options : {0, 2, -2})
      EXPECT_EQ(bytes(input.toBase64(options)), row.standard);
    for (int options : {1, 3, -1})
      EXPECT_EQ(bytes(input.toBase64(options)), row.url);
  }
}

TEST(ByteArrayTextForms, Base64DecodeSkipsWhatItCannotUse) {
  const struct {
    const char* text;
    int options;
    std::string expected;
  } rows[] = {
      {"QQ", 0, "A"},
      {"QQ=", 0, "A"},
      {"QQ==", 0, "A"},
      {"QUJD", 0, "ABC"},
      {"QUJDR", 0, "ABC"},  // six bits short of a byte are dropped
      {"Q", 0, ""},
      {"====", 0, ""},
      {"!!!", 0, ""},
      // "=" is skipped, so the four Q form one group.
      {"QQ==QQ==", 0, "\x41\x04\x10"},
      {"QU JD\n", 0, "ABC"},
      {"Q\x80U\xFFJD", 0, "ABC"},
      {"-_-_", 0, ""},
      {"+/+/", 1, ""},
      {"+/+/", 0, "\xFB\xFF\xBF"},
      {"-_-_", 1, "\xFB\xFF\xBF"},
      {"-_-_", 3, "\xFB\xFF\xBF"},
      {"+/+/", -2, "\xFB\xFF\xBF"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const TQByteArray text(row.text);
    EXPECT_EQ(bytes(TQByteArray::fromBase64(text, row.options)), row.expected);
    if (row.options == 0) {
      EXPECT_EQ(bytes(TQByteArray::fromBase64(text)), row.expected);
    }
  }
}

TEST(ByteArrayTextForms, HexRows) {
  EXPECT_EQ(bytes(arrayOf(std::string("\x00\xFF", 2)).toHex()), "00FF");
  EXPECT_EQ(bytes(TQByteArray("\x9A\xA0").toHex()), "9AA0");
  const struct {
    const char* text;
    std::string expected;
  } rows[] = {
      {"4142", "AB"},
      {"414", "A"},
      {"4", ""},
      {"AbCd", "\xAB\xCD"},
      {"0a0b", "\x0A\x0B"},
      // No validation: the arithmetic runs on.
      {"zz", "\x53"},
      {"gG", "\x10"},
      {" 1", "\x01"},
      {"\x80\x80", "\xB9"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(bytes(TQByteArray::fromHex(TQByteArray(row.text))), row.expected);
  }
}

TEST(ByteArrayTextForms, PercentEncodingEscapesAllBut67Bytes) {
  std::string all;
  for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
  const std::string encoded = bytes(arrayOf(all).toPercentEncoding());
  EXPECT_EQ(encoded.size(), 634u);
  std::string kept;
  for (std::size_t i = 0; i < encoded.size(); ++i) {
    if (encoded[i] == '%')
      i += 2;
    else
      kept += encoded[i];
  }
  EXPECT_EQ(
      kept,
      "-./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz~");
  EXPECT_EQ(bytes(arrayOf(std::string("a b%?=&\0\xFF", 9)).toPercentEncoding()),
            "a%20b%25%3F%3D%26%00%FF");
}

TEST(ByteArrayTextForms, PercentEncodingSharesWhenNothingEscapes) {
  const TQByteArray clean("a/b-c.d_e~f");
  EXPECT_EQ(clean.toPercentEncoding().constData(), clean.constData());
  const char memory[] = {'r', 'a', 'w', ' '};
  const TQByteArray raw = TQByteArray::fromRawData(memory, 3);
  EXPECT_EQ(raw.toPercentEncoding().constData(), memory);
  const TQByteArray escaped =
      TQByteArray::fromRawData(memory, 4).toPercentEncoding();
  EXPECT_EQ(bytes(escaped), "raw%20");
  EXPECT_EQ(escaped.constData()[escaped.size()], '\0');
  EXPECT_EQ(std::string(memory, 4), "raw ");
}

TEST(ByteArrayTextForms, RoundTrips) {
  constexpr unsigned kSeed = 77;
  for (unsigned trial = 0; trial < 200; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    std::string input(rng() % 70, '\0');
    for (char& c : input) c = static_cast<char>(rng());
    const TQByteArray source = arrayOf(input);
    const TQByteArray copy = source;
    for (int options : {0, 1}) {
      const TQByteArray text = source.toBase64(options);
      EXPECT_EQ(text.size(), static_cast<int>((input.size() + 2) / 3 * 4));
      EXPECT_EQ(bytes(TQByteArray::fromBase64(text, options)), input);
    }
    const TQByteArray hex = source.toHex();
    EXPECT_EQ(bytes(TQByteArray::fromHex(hex)), input);
    TQByteArray lower = hex;
    for (char c = 'A'; c <= 'F'; ++c)
      lower.replace(c, static_cast<char>(c + 32));
    EXPECT_EQ(bytes(TQByteArray::fromHex(lower)), input);
    EXPECT_EQ(copy.constData(), source.constData());  // sources stay shared
  }
}

// Sizes above the limits are refused before a byte is read: the raw record
// claims far more than the three bytes behind it.
TEST(ByteArrayTextForms, OversizedSourcesAreRefused) {
  const char memory[] = "%%%";
  EXPECT_EQ(TQByteArray::fromRawData(memory, 1 << 30).toHex().size(), 0);
  EXPECT_EQ(TQByteArray::fromRawData(memory, INT_MAX).toHex().size(), 0);
  EXPECT_THROW(TQByteArray::fromRawData(memory, (1 << 30) - 1).toHex(),
               std::bad_alloc);
  EXPECT_THROW(TQByteArray::fromRawData(memory, INT_MAX).toBase64(),
               std::bad_alloc);
  EXPECT_THROW(TQByteArray::fromRawData(memory, 715826518).toPercentEncoding(),
               std::bad_alloc);
}

}  // namespace
