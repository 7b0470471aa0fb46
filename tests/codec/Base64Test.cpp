// TQBase64's edges that no byte string reaches: negative, huge and null
// arguments, the int formulas that wrap, and the refusals of the string
// forms. Every byte string, its buffer bounds and a model of the decoder are
// checked by the Base64Codec fuzz harness.
#include "TQBase/TQBase64.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>

namespace {

using TQBase::TQBase64;

constexpr char kSentinel = char(0xA5);

// Buffer forms: the result, and nothing written. A negative length passes
// when the formula allows it (-5 gives -4); above 1,610,612,733 the formula
// wraps, and the length is refused.
TEST(Base64Codec, EdgesOfBufferAndStringForms) {
  // encode?, src, srcLen, dstLen, result
  const std::tuple<bool, const char*, int, int, int> rows[] = {
      {true, "", -5, -4, 0},         {true, "", -5, -5, -1},
      {true, "", 2147483647, 4, -1}, {false, nullptr, 0, 0, 0},
      {false, "", -8, -3, 0},        {false, "QQ==", 2147483647, 4, -1}};
  for (const auto& [encode, src, srcLen, dstLen, result] : rows) {
    std::string dst(10, kSentinel);
    auto* in = reinterpret_cast<const unsigned char*>(src);
    auto* out = reinterpret_cast<unsigned char*>(&dst[0]);
    EXPECT_EQ(encode ? TQBase64::encode(in, srcLen, &dst[0], dstLen)
                     : TQBase64::decode(src, srcLen, out, dstLen),
              result)
        << srcLen;
    EXPECT_EQ(dst, std::string(10, kSentinel));
  }
  // The length formulas are int arithmetic without guard and wrap; the
  // string forms refuse negative sizes.
  EXPECT_EQ(TQBase64::getEncodeDstLen(1610612733), 2147483644);
  EXPECT_EQ(TQBase64::getEncodeDstLen(2147483644), -1431655768);
  EXPECT_EQ(TQBase64::getdecodeDstLen(2147483644), 1610612733);
  std::string out = "previous";
  EXPECT_TRUE(TQBase64::encode(nullptr, -1, out));
  EXPECT_TRUE(out.empty());
  EXPECT_THROW(TQBase64::encode(nullptr, -5, out), std::length_error);
  EXPECT_THROW(TQBase64::decode("", -3, out), std::length_error);
  EXPECT_THROW(TQBase64::decode("", -1, nullptr, 0), std::length_error);
}

// The class holds nothing: assignment only returns the left-hand object.
TEST(Base64Codec, AssignmentReturnsItself) {
  TQBase64 a, b;
  EXPECT_EQ(&(a = b), &a);
  EXPECT_EQ(&(a = a), &a);
}

}  // namespace
