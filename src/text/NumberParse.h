#ifndef TQBASE_TEXT_NUMBERPARSE_H_
#define TQBASE_TEXT_NUMBERPARSE_H_

namespace TQBase {
namespace detail {

// Why a conversion gave 0. The exported parsers fold every failure into the
// value 0 without raising anything; inside the library the reason decides
// whether a result is range-checked further.
enum class NumberFailure { none, noNumber, outOfRange };

// Each reads a NUL-terminated text, sets `value` (0 on failure) and leaves
// errno 0 after a clean conversion, ERANGE after an out-of-range one.
NumberFailure parseInt64(const char* text, long long& value) noexcept;
NumberFailure parseUInt32(const char* text, int base,
                          unsigned int& value) noexcept;
NumberFailure parseDouble(const char* text, double& value) noexcept;
NumberFailure parseFloat(const char* text, float& value) noexcept;

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_TEXT_NUMBERPARSE_H_
