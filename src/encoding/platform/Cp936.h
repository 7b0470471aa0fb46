#ifndef TQBASE_ENCODING_PLATFORM_CP936_H_
#define TQBASE_ENCODING_PLATFORM_CP936_H_

namespace TQBase {
namespace platform {

/// How far one conversion step came.
enum class Cp936Result {
  ok,       ///< All input converted.
  partial,  ///< Stopped at the end of the room, or before a character that
            ///< the rest of the input does not complete.
  error     ///< Stopped at a sequence or element with no counterpart.
};

/// One conversion between code page 936 bytes and wide elements, with its own
/// conversion state. Make one per call and drop it at the call's end: it is
/// never shared. The platform converter of each direction is opened on its
/// first step; a platform without one makes that step an error.
///
/// Each step converts from the front of [from, fromEnd) into [to, toEnd) for
/// as far as it can and leaves `fromNext` / `toNext` where it stopped; a step
/// that stops with an error has converted everything before the bad place.
class Cp936Converter {
 public:
  Cp936Converter() = default;
  ~Cp936Converter();
  Cp936Converter(const Cp936Converter&) = delete;
  Cp936Converter& operator=(const Cp936Converter&) = delete;

  /// Bytes to wide elements.
  Cp936Result in(const char* from, const char* fromEnd, const char*& fromNext,
                 wchar_t* to, wchar_t* toEnd, wchar_t*& toNext);

  /// Wide elements to bytes. An element without a form is an error.
  Cp936Result out(const wchar_t* from, const wchar_t* fromEnd,
                  const wchar_t*& fromNext, char* to, char* toEnd,
                  char*& toNext);

 private:
  void* decoder_ = nullptr;  // Platform handle of the `in` direction.
  void* encoder_ = nullptr;  // Platform handle of the `out` direction.
};

}  // namespace platform
}  // namespace TQBase

#endif  // TQBASE_ENCODING_PLATFORM_CP936_H_
