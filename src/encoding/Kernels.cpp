#include "encoding/Kernels.h"

#include <algorithm>

#include "encoding/Cp936Tables.h"
#include "frame/ByteTables.h"

// The plain loops, and the hand-over to the vector forms: a vector form runs
// over whole blocks and stops where the plain loop must take a stretch (a
// 4-byte form, the tail), then resumes behind it.

namespace TQBase {
namespace detail {
namespace {

// Vector forms hand the plain loop this much input before trying again.
constexpr std::size_t kPlainStretch = 64;

Isa probeIsa() {
#if defined(__x86_64__)
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512bw")) return Isa::avx512;
  if (__builtin_cpu_supports("avx2")) return Isa::avx2;  // GCOVR_EXCL_LINE
  return Isa::sse2;                                      // GCOVR_EXCL_LINE
#else
  return Isa::scalar;
#endif
}

// Zero until the library's initialisers run, and zero is the plain form.
const Isa kDetectedIsa = probeIsa();

// One sequence from in[p]; false when it is bad or cut off.
bool decodeOneUtf8(const unsigned char* in, std::size_t size, std::size_t& p,
                   wchar_t& element) {
  const unsigned lead = in[p];
  int following;
  std::uint32_t value;
  if (lead < 0x80) {
    element = static_cast<wchar_t>(lead);
    ++p;
    return true;
  } else if (lead < 0xC0) {
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
  if (size - p <= static_cast<std::size_t>(following)) return false;
  for (int i = 1; i <= following; ++i) {
    if (!isUtf8Continuation(in[p + i])) return false;
    value = value << 6 | (in[p + i] & 0x3Fu);
  }
  if (value > 0x10FFFF) return false;
  element = static_cast<wchar_t>(value & 0xFFFF);
  p += static_cast<std::size_t>(following) + 1;
  return true;
}

unsigned char* encodeOneUtf8(std::uint32_t u, unsigned char* out) {
  if (u < 0x80) {
    *out++ = static_cast<unsigned char>(u);
  } else if (u < 0x800) {
    *out++ = static_cast<unsigned char>(0xC0 | u >> 6);
    *out++ = static_cast<unsigned char>(0x80 | (u & 0x3F));
  } else if (u < 0x10000) {
    *out++ = static_cast<unsigned char>(0xE0 | u >> 12);
    *out++ = static_cast<unsigned char>(0x80 | (u >> 6 & 0x3F));
    *out++ = static_cast<unsigned char>(0x80 | (u & 0x3F));
  } else {
    *out++ = static_cast<unsigned char>(0xF0 | u >> 18);
    *out++ = static_cast<unsigned char>(0x80 | (u >> 12 & 0x3F));
    *out++ = static_cast<unsigned char>(0x80 | (u >> 6 & 0x3F));
    *out++ = static_cast<unsigned char>(0x80 | (u & 0x3F));
  }
  return out;
}

// One character from in[p]; false when it is none of the code page.
bool decodeOneCp936(const unsigned char* in, std::size_t size, std::size_t& p,
                    wchar_t& element) {
  const unsigned lead = in[p];
  const unsigned single = lead < 0x80 ? lead : kCp936ByteUnits[lead - 0x80];
  if (single != 0 || lead == 0) {
    element = static_cast<wchar_t>(single);
    ++p;
    return true;
  }
  // A lead byte: it needs a trail byte from 0x40.
  if (size - p < 2) return false;
  const unsigned column = in[p + 1] - 0x40u;
  if (column >= 192) return false;
  const unsigned unit = kCp936PairUnits[(lead - 0x81) * 192 + column];
  if (unit == 0) return false;
  element = static_cast<wchar_t>(unit);
  p += 2;
  return true;
}

// Runs a vector form over whole blocks and the plain loop, one character at
// a time, over the stretch behind where the vector form stopped, in turns.
template <typename VectorForm, typename PlainStep>
std::size_t decodeInTurns(const unsigned char* in, std::size_t size,
                          wchar_t* out, Isa isa, VectorForm vectorForm,
                          PlainStep plainStep) {
  std::size_t p = 0, written = 0;
  while (p < size) {
    std::size_t stop = size;
    if (isa != Isa::scalar) {
      const DecodeProgress progress =
          vectorForm(in, size, p, out + written, isa);
      if (progress.failed) return kFailed;
      p = progress.read;
      written += progress.written;
      stop = std::min(size, p + kPlainStretch);
    }
    while (p < stop)
      if (!plainStep(in, size, p, out[written++])) return kFailed;
  }
  return written;
}

}  // namespace

Isa detectedIsa() { return kDetectedIsa; }

Isa supportedIsa(Isa wanted) { return std::min(wanted, probeIsa()); }

bool scanUtf8(const unsigned char* in, std::size_t size, Isa isa) {
  std::size_t p = 0;
  if (isa != Isa::scalar && !scanUtf8X86(in, size, isa, p)) return false;
  while (p < size) {
    const unsigned lead = in[p];
    const std::size_t left = size - p;
    if (lead < 0x80) {
      ++p;
    } else if (lead < 0xC0 || lead >= 0xF0) {
      return false;  // A stray continuation byte, or a 4-byte or longer form.
    } else if (lead < 0xE0) {
      // A sequence cut off by the end of the buffer counts as good.
      if (left < 2) return true;
      if (!isUtf8Continuation(in[p + 1])) return false;
      p += 2;
    } else {
      if (left < 3) return true;
      if (!isUtf8Continuation(in[p + 1]) || !isUtf8Continuation(in[p + 2]))
        return false;
      p += 3;
    }
  }
  return true;
}

std::size_t countUtf8Starts(const unsigned char* in, std::size_t size,
                            Isa isa) {
  std::size_t done = 0, continuations = 0;
  if (isa != Isa::scalar)
    continuations = countBytesInX86(in, size, 0x80, 0x40, isa, done);
  for (std::size_t i = done; i < size; ++i)
    continuations += isUtf8Continuation(in[i]) ? 1 : 0;
  return size - continuations;
}

std::size_t decodeUtf8(const unsigned char* in, std::size_t size, wchar_t* out,
                       Isa isa) {
  return decodeInTurns(in, size, out, isa, decodeUtf8X86, decodeOneUtf8);
}

std::size_t utf8Length(const wchar_t* in, std::size_t size, Isa isa) {
  std::size_t done = 0, length = 0;
  if (isa != Isa::scalar) length = utf8LengthX86(in, size, isa, done);
  // Written without branches so that the compiler can vectorise it; negative
  // elements turn huge and fail with the rest.
  std::uint32_t tooLarge = 0;
  length += size - done;
  for (std::size_t i = done; i < size; ++i) {
    const auto u = static_cast<std::uint32_t>(in[i]);
    length += static_cast<std::size_t>((u > 0x7F) + (u > 0x7FF) + (u > 0xFFFF));
    tooLarge |= u > 0x10FFFF;
  }
  return tooLarge != 0 ? kFailed : length;
}

std::size_t encodeUtf8(const wchar_t* in, std::size_t size, unsigned char* out,
                       bool bmpOnly, Isa isa) {
  unsigned char* const start = out;
  std::size_t i = 0;
  while (i < size) {
    std::size_t stop = size;
    if (isa != Isa::scalar) {
      std::size_t written = 0;
      i += encodeUtf8X86(in + i, size - i, out, isa, written);
      out += written;
      stop = std::min(size, i + kPlainStretch);
    }
    for (; i < stop; ++i) {
      const auto u = static_cast<std::uint32_t>(in[i]);
      if (bmpOnly && u > 0xFFFF) return kFailed;
      out = encodeOneUtf8(u, out);
    }
  }
  return static_cast<std::size_t>(out - start);
}

// Each two-byte code has its lead byte in 0x81-0xFE and at most one more byte
// there, while 0x80 and 0xFF stand alone: so no text has more elements than
// its bytes less half of those in 0x81-0xFE. A bad text fails before it
// writes more than its good front, which obeys the same bound.
std::size_t cp936DecodeBound(const unsigned char* in, std::size_t size,
                             Isa isa) {
  std::size_t done = 0, leadRange = 0;
  if (isa != Isa::scalar)
    leadRange = countBytesInX86(in, size, 0x81, 0x7E, isa, done);
  for (std::size_t i = done; i < size; ++i)
    leadRange += static_cast<unsigned char>(in[i] - 0x81) < 0x7E ? 1 : 0;
  return size - leadRange / 2;
}

// One byte per element, two for those from 0x80, and one more for the
// encoder, which always stores two bytes.
std::size_t cp936EncodeBound(const wchar_t* in, std::size_t size, Isa isa) {
  std::size_t done = 0, wide = 0;
  if (isa != Isa::scalar) wide = countWideX86(in, size, isa, done);
  for (std::size_t i = done; i < size; ++i)
    wide += static_cast<std::uint32_t>(in[i]) >= 0x80 ? 1 : 0;
  return size + wide + 1;
}

std::size_t decodeCp936(const unsigned char* in, std::size_t size, wchar_t* out,
                        Isa isa) {
  return decodeInTurns(in, size, out, isa, decodeCp936X86, decodeOneCp936);
}

std::size_t encodeCp936(const wchar_t* in, std::size_t size, unsigned char* out,
                        Isa isa) {
  std::size_t i = 0, written = 0;
  while (i < size) {
    std::size_t stop = size;
    if (isa != Isa::scalar) {
      std::size_t added = 0;
      i += encodeCp936X86(in + i, size - i, out + written, isa, added);
      written += added;
      stop = std::min(size, i + kPlainStretch);
    }
    for (; i < stop; ++i) {
      // ASCII takes the table like the rest, and no branch on the width:
      // both bytes are stored, the count tells.
      const auto u = static_cast<std::uint32_t>(in[i]);
      if (u > 0xFFFF) return kFailed;
      const unsigned code =
          kCp936Codes[kCp936CodePageOfBlock[u >> 8] * 256u + (u & 0xFF)];
      if (code == 0 && u != 0) return kFailed;
      const unsigned two = code >> 8 != 0 ? 1 : 0;
      out[written] = static_cast<unsigned char>(two != 0 ? code >> 8 : code);
      out[written + 1] = static_cast<unsigned char>(code);
      written += 1 + two;
    }
  }
  return written;
}

}  // namespace detail
}  // namespace TQBase
