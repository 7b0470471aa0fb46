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

unsigned char* bytesOf(std::string& s) {
  return reinterpret_cast<unsigned char*>(&s[0]);
}

bool decodeGbk(const std::string& s, std::wstring& result) {
  result.resize(
      detail::cp936DecodeBound(bytesOf(s), s.size(), detail::detectedIsa()) +
      detail::kSlack);
  const std::size_t written = detail::decodeCp936(
      bytesOf(s), s.size(), &result[0], detail::detectedIsa());
  if (written == kFailed) return false;
  result.resize(written);
  return true;
}

bool encodeGbk(const std::wstring& s, std::string& result) {
  result.resize(
      detail::cp936EncodeBound(s.data(), s.size(), detail::detectedIsa()) +
      detail::kSlack);
  const std::size_t written = detail::encodeCp936(
      s.data(), s.size(), bytesOf(result), detail::detectedIsa());
  if (written == kFailed) return false;
  result.resize(written);
  return true;
}

// Every good sequence has exactly one byte outside 0x80-0xBF and yields one
// element, so the count of those bounds what is written before a failure.
bool decodeUtf8(const std::string& s, std::wstring& result) {
  if (s.empty()) return true;
  result.resize(
      detail::countUtf8Starts(bytesOf(s), s.size(), detail::detectedIsa()) +
      detail::kSlack);
  const std::size_t written = detail::decodeUtf8(
      bytesOf(s), s.size(), &result[0], detail::detectedIsa());
  if (written == kFailed) return false;
  result.resize(written);
  return true;
}

bool encodeUtf8(const std::wstring& s, std::string& result) {
  if (s.empty()) return true;
  const detail::Isa isa = detail::detectedIsa();
  const std::size_t length = detail::utf8Length(s.data(), s.size(), isa);
  if (length == kFailed) return false;
  result.resize(length + detail::kSlack);
  detail::encodeUtf8(s.data(), s.size(), bytesOf(result), isa);
  result.resize(length);
  return true;
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
  } catch (...) {
    return std::string();
  }
}

std::string Utf8ToGBK(const std::string& s) {
  try {
    return UnicodeToGBK(UTF8ToUnicode(s));
  } catch (...) {
    return std::string();
  }
}

}  // namespace TQBase
