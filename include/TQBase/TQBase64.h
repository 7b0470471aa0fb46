#ifndef TQBASE_TQBASE64_H_
#define TQBASE_TQBASE64_H_

#include <string>

#include "TQBase/TQBaseExport.h"

namespace TQBase {

/// Stand-alone Base64 codec (RFC 4648 alphabet "A-Za-z0-9+/", "=" padding)
/// for plain buffers and std::string. Static members only; the class holds
/// no data, so copying or assigning an object copies nothing.
///
/// Decoding is strict about the alphabet and lenient about padding: any
/// byte outside the alphabet and "=" (blanks, line ends, "-", "_", bytes
/// from 0x80 up, NUL) fails the call, while "=" ends nothing. Groups behind
/// a padded group are decoded as well, an input whose length is not a
/// multiple of 4 is completed with "=", and "=" in the first or second place
/// of a group counts as the value 0xFE (so "Q=QQ" gives 0x43 0xE4 0x10).
///
/// Lengths are int. Sources must hold `srcLen` readable bytes and `dst`
/// `dstLen` writable bytes; buffers must not overlap, and the source and
/// destination of a string form must be different objects. Buffer forms
/// write no terminator. std::bad_alloc passes to the caller.
class TQBASE_EXPORT TQBase64 {
 public:
  /// Stateless: assignment does nothing but return `*this`. Exported so the
  /// class's surface is whole.
  TQBase64& operator=(const TQBase64& other);

  /// Characters that `srcLen` bytes encode to: ((srcLen + 2) / 3) * 4,
  /// computed in wrapping 32-bit signed arithmetic with no guard. Exact for
  /// 0 to 1,610,612,733; meaningless above, and a negative `srcLen` gives
  /// whatever the formula gives (-5 gives -4).
  static int getEncodeDstLen(int srcLen);

  /// Room needed to decode `srcLen` characters: ((srcLen + 3) / 4) * 3, in
  /// wrapping 32-bit signed arithmetic with no guard. An upper bound that
  /// ignores padding ("QQ==" needs 3 though it decodes to one byte); exact
  /// formula for 0 to 2,147,483,644.
  static int getdecodeDstLen(int srcLen);

  /// Encodes `srcLen` bytes into `dst` and returns the characters written.
  /// Returns -1 and writes nothing when `dstLen` is below
  /// getEncodeDstLen(srcLen), and also when `srcLen` is above 1,610,612,733,
  /// whose text cannot fit any int-sized buffer. A `srcLen` of 0 or below
  /// otherwise returns 0 and writes nothing. `src` must be valid even for
  /// length 0.
  static int encode(const unsigned char* src, int srcLen, char* dst,
                    int dstLen);

  /// Replaces `dst` with the Base64 text of `srcLen` bytes; true on success.
  /// A `srcLen` from -1 to -4 gives an empty `dst` and true; below -4 it
  /// throws std::length_error. Above 1,610,612,733 the result is false or
  /// std::length_error.
  static bool encode(const unsigned char* src, int srcLen, std::string& dst);

  /// The form above on the string's bytes and size (cut to 32 bits).
  static bool encode(const std::string& src, std::string& dst);

  /// Decodes `srcLen` characters into `dst` and returns the bytes written.
  /// Returns -1 and writes nothing when `dstLen` is below
  /// getdecodeDstLen(srcLen) (for `srcLen` above 2,147,483,644: below the
  /// exact bound). Returns -1 on the first invalid character; the bytes of
  /// all complete groups before the failing group stay in `dst`, the rest
  /// of `dst` is untouched. A null `src` with length 0 gives 0. A negative
  /// `srcLen` returns 0 (or -1 as above) when it is a multiple of 4 and
  /// otherwise throws std::length_error.
  static int decode(const char* src, int srcLen, unsigned char* dst,
                    int dstLen);

  /// Replaces `dst` with the bytes of `srcLen` characters; true on success.
  /// On an invalid character returns false and leaves `dst` at the full
  /// provisional size getdecodeDstLen(srcLen): the bytes of the groups
  /// before the failing one, then NUL bytes.
  static bool decode(const char* src, int srcLen, std::string& dst);

  /// The form above on the string's bytes and size (cut to 32 bits); NUL
  /// bytes in `src` are characters, and invalid ones.
  static bool decode(const std::string& src, std::string& dst);
};

}  // namespace TQBase

#endif  // TQBASE_TQBASE64_H_
