#ifndef TQBASE_ENCODING_CP936TABLES_H_
#define TQBASE_ENCODING_CP936TABLES_H_

#include <cstdint>

// Code page 936, generated into Cp936Tables.cpp by
// generator/GenerateCp936Tables.cpp. A zero entry means "no character": no
// code maps to U+0000 but the byte 0x00, and no unit to the code 0.

namespace TQBase {
namespace detail {

/// Units of the single bytes 0x80-0xFF; 0 for the lead bytes 0x81-0xFE.
extern const std::uint16_t kCp936ByteUnits[128];

/// Units of the two-byte codes, [lead - 0x81][trail - 0x40] in rows of 192.
/// This table and the two below end in padding for vector gathers, which
/// read 4 bytes at an entry.
extern const std::uint16_t kCp936PairUnits[126 * 192 + 1];

/// Page of kCp936Codes for each block of 256 units; page 0 is all zero.
extern const std::uint8_t kCp936CodePageOfBlock[256 + 3];

/// Codes of the units, page by page: a byte below 0x100, else
/// lead << 8 | trail.
extern const std::uint16_t kCp936Codes[];

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_ENCODING_CP936TABLES_H_
