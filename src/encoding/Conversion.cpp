#include "TQBase/Encoding.h"

#include "encoding/platform/Cp936.h"

#include <cstdint>
#include <cstring>

// The UTF-8 side is written here rather than taken from a standard converter:
// its rules are deliberately lenient (overlong forms, surrogates and 5/6-byte
// forms pass, values are cut to 16 bits) and no library converter gives the
// same results.

namespace TQBase {
namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

std::uint64_t load64(const unsigned char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Runs one direction of the platform converter over the whole of `s`.
// `perElement` bounds the output per input element, so a step that stops
// short of the end has met a bad or cut-off code.
template <typename From, typename To>
bool convertCp936(const std::basic_string<From>& s,
                  std::basic_string<To>& result, std::size_t perElement,
                  platform::Cp936Result (platform::Cp936Converter::*step)(
                      const From*, const From*, const From*&, To*, To*, To*&)) {
  platform::Cp936Converter converter;
  if (s.empty()) return true;
  result.resize(s.size() * perElement);
  const From* from = s.data();
  const From* const fromEnd = from + s.size();
  To* to = &result[0];
  To* const toEnd = to + result.size();
  while (from != fromEnd) {
    const From* fromNext = from;
    To* toNext = to;
    const platform::Cp936Result outcome =
        (converter.*step)(from, fromEnd, fromNext, to, toEnd, toNext);
    if (outcome == platform::Cp936Result::error || fromNext == from)
      return false;
    from = fromNext;
    to = toNext;
  }
  result.resize(static_cast<std::size_t>(to - result.data()));
  return true;
}

// No GBK text has more elements than bytes.
bool decodeGbk(const std::string& s, std::wstring& result) {
  return convertCp936(s, result, 1, &platform::Cp936Converter::in);
}

// Two bytes per element always suffice.
bool encodeGbk(const std::wstring& s, std::string& result) {
  return convertCp936(s, result, 2, &platform::Cp936Converter::out);
}

// Every sequence has exactly one byte outside 0x80-0xBF and yields one
// element, so this counts the elements of valid text and bounds those written
// before a failure.
std::size_t countSequenceStarts(const unsigned char* p, std::size_t n) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < n; ++i)
    count += static_cast<signed char>(p[i]) >= -64 ? 1 : 0;
  return count;
}

bool decodeUtf8(const std::string& s, std::wstring& result) {
  const auto* p = reinterpret_cast<const unsigned char*>(s.data());
  const unsigned char* const end = p + s.size();
  result.resize(countSequenceStarts(p, s.size()));
  wchar_t* out = &result[0];
  while (p != end) {
    const unsigned lead = *p;
    if (lead < 0x80) {
      // Try a block only from an ASCII byte, so other text pays nothing.
      if (end - p >= 16 && ((load64(p) | load64(p + 8)) & kHighBits) == 0) {
        for (int i = 0; i < 16; ++i) out[i] = p[i];
        p += 16;
        out += 16;
        continue;
      }
      *out++ = static_cast<wchar_t>(lead);
      ++p;
      continue;
    }
    // Common forms first, each checked whole.
    if ((lead & 0xF0) == 0xE0 && end - p >= 3 && isContinuation(p[1]) &&
        isContinuation(p[2])) {
      *out++ = static_cast<wchar_t>((lead & 0x0F) << 12 | (p[1] & 0x3Fu) << 6 |
                                    (p[2] & 0x3Fu));
      p += 3;
      continue;
    }
    if ((lead & 0xE0) == 0xC0 && end - p >= 2 && isContinuation(p[1])) {
      *out++ = static_cast<wchar_t>((lead & 0x1F) << 6 | (p[1] & 0x3Fu));
      p += 2;
      continue;
    }
    int following;
    std::uint32_t value;
    if (lead < 0xC0) {
      return false;  // A continuation byte cannot start a sequence.
    } else if (lead < 0xE0) {
      following = 1;
      value = lead & 0x1F;
    } else if (lead < 0xF0) {
      following = 2;
      value = lead & 0x0F;
    } else if (lead < 0xF8) {
      following = 3;
      value = lead & 0x07;
    } else if (lead < 0xFC) {
      following = 4;
      value = lead & 0x03;
    } else {
      following = 5;  // 0xFC-0xFF: 2 + 30 bits fill the 32-bit value.
      value = lead & 0x03;
    }
    if (end - p <= following) return false;
    for (int i = 1; i <= following; ++i) {
      if (!isContinuation(p[i])) return false;
      value = value << 6 | (p[i] & 0x3Fu);
    }
    if (value > 0x10FFFF) return false;
    *out++ = static_cast<wchar_t>(value & 0xFFFF);
    p += following + 1;
  }
  result.resize(static_cast<std::size_t>(out - result.data()));
  return true;
}

bool encodeUtf8(const std::wstring& s, std::string& result) {
  // Exact length first, so the result is allocated once and written without
  // bounds checks; negative elements turn huge and fail with the rest.
  // Written without branches so that the compiler can vectorise it.
  std::size_t length = s.size();
  std::uint32_t tooLarge = 0;
  for (const wchar_t element : s) {
    const auto u = static_cast<std::uint32_t>(element);
    length += static_cast<std::size_t>((u > 0x7F) + (u > 0x7FF) + (u > 0xFFFF));
    tooLarge |= u > 0x10FFFF;
  }
  if (tooLarge != 0) return false;
  result.resize(length);
  const wchar_t* in = s.data();
  const wchar_t* const end = in + s.size();
  auto* out = reinterpret_cast<unsigned char*>(&result[0]);
  while (in != end) {
    const auto u = static_cast<std::uint32_t>(*in);
    if (u < 0x80) {
      // Try a block only from an ASCII unit, so other text pays nothing.
      if (end - in >= 8) {
        std::uint32_t any = 0;
        for (int i = 0; i < 8; ++i) any |= static_cast<std::uint32_t>(in[i]);
        if (any < 0x80) {
          for (int i = 0; i < 8; ++i)
            out[i] = static_cast<unsigned char>(in[i]);
          in += 8;
          out += 8;
          continue;
        }
      }
      *out++ = static_cast<unsigned char>(u);
      ++in;
      continue;
    }
    ++in;
    if (u < 0x800) {
      out[0] = static_cast<unsigned char>(0xC0 | u >> 6);
      out[1] = static_cast<unsigned char>(0x80 | (u & 0x3F));
      out += 2;
    } else if (u < 0x10000) {
      out[0] = static_cast<unsigned char>(0xE0 | u >> 12);
      out[1] = static_cast<unsigned char>(0x80 | (u >> 6 & 0x3F));
      out[2] = static_cast<unsigned char>(0x80 | (u & 0x3F));
      out += 3;
    } else {
      out[0] = static_cast<unsigned char>(0xF0 | u >> 18);
      out[1] = static_cast<unsigned char>(0x80 | (u >> 12 & 0x3F));
      out[2] = static_cast<unsigned char>(0x80 | (u >> 6 & 0x3F));
      out[3] = static_cast<unsigned char>(0x80 | (u & 0x3F));
      out += 4;
    }
  }
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
  } catch (...) {  // GCOVR_EXCL_START: both steps catch everything themselves
    return std::string();
  }  // GCOVR_EXCL_STOP
}

std::string Utf8ToGBK(const std::string& s) {
  try {
    return UnicodeToGBK(UTF8ToUnicode(s));
  } catch (...) {  // GCOVR_EXCL_START: both steps catch everything themselves
    return std::string();
  }  // GCOVR_EXCL_STOP
}

}  // namespace TQBase
