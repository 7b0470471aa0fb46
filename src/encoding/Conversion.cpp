#include "TQBase/Encoding.h"

#include "encoding/Kernels.h"

// The UTF-8 side is written here rather than taken from a standard converter:
// its rules are deliberately lenient (overlong forms, surrogates and 5/6-byte
// forms pass, values are cut to 16 bits) and no library converter gives the
// same results. Each result is sized once, to a bound the kernel cannot pass,
// and trimmed to what it wrote.

namespace TQBase {
namespace {

using detail::kFailed;

const unsigned char* bytesOf(const std::string& s) {
  return reinterpret_cast<const unsigned char*>(s.data());
}

#if defined(__cpp_lib_string_resize_and_overwrite)
constexpr bool kSizingIsFree = true;
#else
constexpr bool kSizingIsFree = false;  // resize() zeroes what it adds
#endif

// Sizes `result` to `bound` elements, lets `fill` write them and trims it to
// the count that `fill` returns. Where the standard library can, the
// elements are not zeroed first: a result is written once, not twice.
template <typename String, typename Fill>
bool overwrite(String& result, std::size_t bound, Fill fill) {
#if defined(__cpp_lib_string_resize_and_overwrite)
  std::size_t written = kFailed;
  result.resize_and_overwrite(bound, [&](auto* data, std::size_t) {
    written = fill(data);
    return written == kFailed ? 0 : written;
  });
#else
  result.resize(bound);
  const std::size_t written = fill(&result[0]);
  if (written != kFailed) result.resize(written);
#endif
  return written != kFailed;
}

bool decodeGbk(const std::string& s, std::wstring& result) {
  const detail::Isa isa = detail::detectedIsa();
  const auto* in = bytesOf(s);
  return overwrite(result,
                   detail::cp936DecodeBound(in, s.size(), isa) + detail::kSlack,
                   [&](wchar_t* out) {
                     return detail::decodeCp936(in, s.size(), out, isa);
                   });
}

bool encodeGbk(const std::wstring& s, std::string& result) {
  const detail::Isa isa = detail::detectedIsa();
  return overwrite(
      result,
      detail::cp936EncodeBound(s.data(), s.size(), isa) + detail::kSlack,
      [&](char* out) {
        return detail::encodeCp936(s.data(), s.size(),
                                   reinterpret_cast<unsigned char*>(out), isa);
      });
}

// Every good sequence has exactly one byte outside 0x80-0xBF and yields one
// element, so the count of those bounds what is written before a failure.
bool decodeUtf8(const std::string& s, std::wstring& result) {
  if (s.empty()) return true;
  const detail::Isa isa = detail::detectedIsa();
  const auto* in = bytesOf(s);
  return overwrite(
      result, detail::countUtf8Starts(in, s.size(), isa) + detail::kSlack,
      [&](wchar_t* out) { return detail::decodeUtf8(in, s.size(), out, isa); });
}

// In one pass where sizing costs nothing and no element needs 4 bytes (none
// does with 16-bit units): room for 3 bytes each, and the room that the text
// did not take is given back when it is the larger part. Otherwise the exact
// length first.
bool encodeUtf8(const std::wstring& s, std::string& result) {
  if (s.empty()) return true;
  const detail::Isa isa = detail::detectedIsa();
  auto* const in = s.data();
  if (kSizingIsFree &&
      overwrite(result, 3 * s.size() + detail::kSlack, [&](char* out) {
        return detail::encodeUtf8(
            in, s.size(), reinterpret_cast<unsigned char*>(out), true, isa);
      })) {
    if (result.capacity() / 2 > result.size()) result.shrink_to_fit();
    return true;
  }
  const std::size_t length = detail::utf8Length(in, s.size(), isa);
  if (length == kFailed) return false;
  return overwrite(result, length + detail::kSlack, [&](char* out) {
    return detail::encodeUtf8(
        in, s.size(), reinterpret_cast<unsigned char*>(out), false, isa);
  });
}

// The exported functions are total: any failure, bad_alloc included, is the
// empty result.
template <typename Result, typename Argument>
Result convertOrEmpty(bool (*convert)(const Argument&, Result&),
                      const Argument& s) {
  try {
    Result result;
    if (convert(s, result)) return result;
  } catch (...) {
  }
  return Result();
}

}  // namespace

std::wstring GBKToUnicode(const std::string& s) {
  return convertOrEmpty(decodeGbk, s);
}

std::string UnicodeToGBK(const std::wstring& s) {
  return convertOrEmpty(encodeGbk, s);
}

std::wstring UTF8ToUnicode(const std::string& s) {
  return convertOrEmpty(decodeUtf8, s);
}

std::string UnicodeToUTF8(const std::wstring& s) {
  return convertOrEmpty(encodeUtf8, s);
}

std::string GBKToUtf8(const std::string& s) {
  try {
    return UnicodeToUTF8(GBKToUnicode(s));
  } catch (...) {          // GCOVR_EXCL_LINE: both steps are total,
    return std::string();  // GCOVR_EXCL_LINE  so only a moved string passes
  }
}

std::string Utf8ToGBK(const std::string& s) {
  try {
    return UnicodeToGBK(UTF8ToUnicode(s));
  } catch (...) {          // GCOVR_EXCL_LINE: both steps are total,
    return std::string();  // GCOVR_EXCL_LINE  so only a moved string passes
  }
}

}  // namespace TQBase
