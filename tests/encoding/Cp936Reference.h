#ifndef TQBASE_TESTS_ENCODING_CP936REFERENCE_H_
#define TQBASE_TESTS_ENCODING_CP936REFERENCE_H_

#include <string>

#include <gtest/gtest.h>

#include "TQBase/Encoding.h"

// GBKToUnicode and UnicodeToGBK against a reference converter on every
// single byte, every two-byte string with a lead byte below `end` and every
// BMP unit. `decode` and `encode` give the reference's result, empty where
// it has none; there the library may only convert to or from a unit that
// `added` accepts. Returns the count of codes it so added.
template <typename Decode, typename Encode, typename Added>
int compareWithReference(unsigned end, Decode decode, Encode encode,
                         Added added) {
  int characters = 0, extra = 0;
  for (unsigned code = 0; code < end; ++code) {
    if (code >= 0x100 && code < 0x8100) continue;
    std::string bytes(1, static_cast<char>(code >> 8));
    if (code < 0x100) bytes.clear();
    bytes += static_cast<char>(code);
    const std::wstring ours = TQBase::GBKToUnicode(bytes);
    const std::wstring theirs = decode(bytes);
    characters += ours.size() == 1;
    if (theirs.empty() && ours.size() == 1 && added(ours[0])) {
      ++extra;
      continue;
    }
    EXPECT_EQ(ours, theirs) << "code " << std::hex << code;
    if (::testing::Test::HasFailure()) return extra;
  }
  EXPECT_EQ(characters, 130 + 23940);  // single bytes, pairs
  for (wchar_t unit = 0; unit < 0x10000; ++unit) {
    const std::string theirs = encode(unit);
    if (theirs.empty() && added(unit)) continue;
    EXPECT_EQ(TQBase::UnicodeToGBK(std::wstring(1, unit)), theirs)
        << "unit " << std::hex << unit;
    if (::testing::Test::HasFailure()) return extra;
  }
  return extra;
}

#endif  // TQBASE_TESTS_ENCODING_CP936REFERENCE_H_
