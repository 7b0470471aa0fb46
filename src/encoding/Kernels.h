#ifndef TQBASE_ENCODING_KERNELS_H_
#define TQBASE_ENCODING_KERNELS_H_

#include <cstddef>
#include <cstdint>

// The loops under the encoding functions, each in a plain form and in vector
// forms. Every kernel takes the instruction set to use, so that tests can run
// each form on the same input; the exported functions pass detectedIsa().
// The vector forms give exactly the results of the plain one.

namespace TQBase {
namespace detail {

/// Instruction sets with a kernel of their own, from the least. Vector forms
/// exist on x86-64 only; elsewhere every value runs the plain loops.
enum class Isa { scalar = 0, sse2, avx2, avx512 };

/// The best set that this CPU runs, probed once while the library loads
/// (scalar before that, which is always correct).
Isa detectedIsa();

/// The best set that both `wanted` and this CPU run.
Isa supportedIsa(Isa wanted);

/// A result that no kernel counts: the input is no text of its kind.
constexpr std::size_t kFailed = static_cast<std::size_t>(-1);

/// Room behind the exact result that a kernel may write to (and the caller
/// trims off): vector stores are whole registers.
constexpr std::size_t kSlack = 64;

/// The structural scan of IsUTF8File over `size` bytes.
bool scanUtf8(const unsigned char* in, std::size_t size, Isa isa);

/// Decodes lenient UTF-8 into one element per sequence. `out` has room for
/// countUtf8Starts(in, size) + kSlack elements. The count written, or kFailed.
std::size_t decodeUtf8(const unsigned char* in, std::size_t size, wchar_t* out,
                       Isa isa);

/// Bytes that are no continuation byte: the element count of good UTF-8.
std::size_t countUtf8Starts(const unsigned char* in, std::size_t size, Isa isa);

/// The exact UTF-8 length of `size` elements, or kFailed when one lies above
/// 0x10FFFF or below 0.
std::size_t utf8Length(const wchar_t* in, std::size_t size, Isa isa);

/// Encodes elements to UTF-8 and returns the count of bytes. With `bmpOnly`,
/// `out` has room for 3 bytes per element plus kSlack, and the result is
/// kFailed at the first element above 0xFFFF; otherwise the elements are
/// ones that utf8Length accepted and `out` has room for their length plus
/// kSlack.
std::size_t encodeUtf8(const wchar_t* in, std::size_t size, unsigned char* out,
                       bool bmpOnly, Isa isa);

/// GBK bytes to elements; `out` has room for cp936DecodeBound(in, size) +
/// kSlack. The count written, or kFailed.
std::size_t decodeCp936(const unsigned char* in, std::size_t size, wchar_t* out,
                        Isa isa);

/// Elements to GBK bytes; `out` has room for cp936EncodeBound(in, size) +
/// kSlack. The count written, or kFailed.
std::size_t encodeCp936(const wchar_t* in, std::size_t size, unsigned char* out,
                        Isa isa);

/// Most elements that `size` GBK bytes decode to, good or bad.
std::size_t cp936DecodeBound(const unsigned char* in, std::size_t size,
                             Isa isa);
/// Most bytes that encodeCp936 writes for `size` elements, good or bad.
std::size_t cp936EncodeBound(const wchar_t* in, std::size_t size, Isa isa);

// The x86 forms, defined in X86Kernels.cpp; called only where the CPU runs
// them. Each returns how far it came (bytes or elements of input), stopping
// where the plain loop must take over; the plain loop finishes from there.
struct DecodeProgress {
  std::size_t read;     // position in the input reached, a character start
  std::size_t written;  // elements written
  bool failed;
};
bool scanUtf8X86(const unsigned char* in, std::size_t size, Isa isa,
                 std::size_t& resume);
DecodeProgress decodeUtf8X86(const unsigned char* in, std::size_t size,
                             std::size_t p, wchar_t* out, Isa isa);
std::size_t utf8LengthX86(const wchar_t* in, std::size_t size, Isa isa,
                          std::size_t& done);
std::size_t encodeUtf8X86(const wchar_t* in, std::size_t size,
                          unsigned char* out, Isa isa, std::size_t& written);
/// Bytes b with (b - low) mod 256 below `span`, over whole blocks; `done`
/// tells how far it came.
std::size_t countBytesInX86(const unsigned char* in, std::size_t size,
                            unsigned char low, unsigned char span, Isa isa,
                            std::size_t& done);
/// Elements from 0x80 (negative ones included), over whole blocks.
std::size_t countWideX86(const wchar_t* in, std::size_t size, Isa isa,
                         std::size_t& done);
DecodeProgress decodeCp936X86(const unsigned char* in, std::size_t size,
                              std::size_t p, wchar_t* out, Isa isa);
std::size_t encodeCp936X86(const wchar_t* in, std::size_t size,
                           unsigned char* out, Isa isa, std::size_t& written);

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_ENCODING_KERNELS_H_
