#ifndef TQBASE_TQBYTEARRAY_H_
#define TQBASE_TQBYTEARRAY_H_

#include "TQBase/TQBaseExport.h"

namespace TQBase {

class TQByteArrayRef;

/// A growable run of bytes with implicit sharing. Copies share one record
/// until one of them writes; the writer then gets a private copy ("detaches").
/// Any byte value may be stored, zero included: only size() tells where the
/// array ends. Storage the array allocated itself always has a zero byte
/// behind the last byte, so constData() of text without embedded zeros reads
/// as a C string.
///
/// Conventions shared by every member: sizes, capacities and positions are
/// `int`; beside a pointer, any negative length means the NUL-terminated
/// string at the pointer (fromRawData excepted); a null pointer or a length
/// of 0 is no error; a search that finds nothing gives -1. Members that
/// change nothing never detach. There are no failure results: bad arguments
/// give an empty result or no change, and std::bad_alloc from allocation
/// passes through with the array unchanged unless a member says otherwise.
/// A size or capacity above 2,147,479,551 bytes is refused with
/// std::bad_alloc rather than wrapped.
///
/// Threads: different handles, also handles sharing a record, may be used
/// concurrently. One handle may be read concurrently by const members only.
class TQBASE_EXPORT TQByteArray {
 public:
  /// The empty array. Costs one pointer load and store: no allocation, no
  /// atomic operation.
  TQByteArray();
  /// Shares `other`'s record (no byte is copied); empty if `other` is.
  TQByteArray(const TQByteArray& other);
  /// `size` bytes of value `ch`; the empty array when `size` <= 0.
  TQByteArray(int size, char ch);
  /// A deep copy of `size` bytes at `data`, zeros included. A negative
  /// `size` takes the length of the C string at `data`. Null `data` or a
  /// `size` of 0 gives the empty array.
  TQByteArray(const char* data, int size = -1);
  ~TQByteArray();

  /// Shares `other`'s record. Reserved capacity of this array is dropped;
  /// an `other` of size 0 leaves this array empty rather than sharing. If an
  /// allocation fails the old content is gone and this array is empty.
  TQByteArray& operator=(const TQByteArray& other);
  /// A deep copy of the C string `str` in a new record, even when the
  /// present one has room; `str` may point into this array. Null or "" clears.
  TQByteArray& operator=(const char* str);

  /// Releases this handle's share and leaves the empty array.
  void clear();
  int size() const;
  /// Bytes the present buffer holds besides the terminator: 0 when empty,
  /// size() for raw data. Writers through getData() after reserve() need it.
  int capacity() const;
  /// The bytes, for reading; never null and never detaches. The empty array
  /// gives a shared zero byte that must not be written. Valid while this
  /// handle keeps its record.
  const char* constData() const;
  /// The bytes for writing, after detaching from shared or raw storage. The
  /// empty array gives the shared zero byte of constData(), which must not be
  /// written. Valid until the array is next changed, copied or destroyed.
  char* getData();
  /// Makes room for `n` bytes; nothing if `n` <= capacity(), even when shared.
  /// On an empty array this is the one way to an owning record of size 0.
  void reserve(int n);
  /// Sets the size to `n`; `n` <= 0 clears, `n` == size() does nothing.
  /// Bytes added are not initialised (the old terminator position reads 0).
  void resize(int n);
  /// Moves the bytes to a buffer sized by the capacity ladder for size();
  /// nothing when capacity() <= size(). A reserved empty array becomes empty.
  void squeeze();
  /// Exchanges the two handles' storage; no allocation, no count changes.
  void swap(TQByteArray& other);
  /// An array over the caller's memory, copying nothing: constData() is
  /// `data` itself. The memory must stay alive and unchanged while any
  /// handle shares it; writers detach first and never touch it. Null `data`
  /// or `size` <= 0 gives the empty array (a negative size has no other
  /// meaning here).
  static TQByteArray fromRawData(const char* data, int size);

  /// Appends `other`'s bytes. On an array of size 0 it takes a share of
  /// `other`'s record instead, like assignment: reserved capacity is dropped,
  /// a raw `other` stays raw, and an `other` of size 0 leaves the empty array.
  /// `other` may be this array (its content then appears twice).
  TQByteArray& append(const TQByteArray& other);
  /// Appends `len` bytes from `src` (a negative `len` takes the C string),
  /// in place when the array is unshared and has room, otherwise into a new
  /// buffer of the capacity ladder for the new size. `src` may lie in this
  /// array's own buffer: the bytes it held on entry are appended. Null `src`
  /// or `len` 0 does nothing.
  TQByteArray& append(const char* src, int len);
  /// insert(pos, other.constData(), other.size()); `other` may be this array.
  TQByteArray& insert(int pos, const TQByteArray& other);
  /// Puts `len` bytes from `src` (a negative `len` takes the C string) before
  /// the byte at `pos`. Always rebuilds into a new buffer with the ladder's
  /// capacity for the new size, even when there is room: reserved room is not
  /// kept. `pos` == size() appends. Null `src`, `len` 0, or `pos` outside
  /// 0..size() does nothing (the array is never lengthened to reach `pos`).
  /// `src` may lie in this array's own buffer.
  TQByteArray& insert(int pos, const char* src, int len);
  /// Removes `len` bytes from `pos`, or everything from `pos` on if fewer are
  /// left (removing everything gives the empty array). Negative `pos`,
  /// `len` <= 0 or `pos` >= size() does nothing. Capacity is kept when the
  /// array was unshared.
  TQByteArray& remove(int pos, int len);
  /// Replaces every occurrence of `before`, left to right, never looking into
  /// what it put in: the search goes on behind each replacement. An empty
  /// `before` is never found. Either argument may be this array or share its
  /// record; it is read afresh at every step, so a.replace(a, b) gives b.
  /// Each occurrence costs a removal and a full rebuild. If an allocation
  /// fails, occurrences replaced so far stay replaced and the occurrence at
  /// hand stays removed.
  TQByteArray& replace(const TQByteArray& before, const TQByteArray& after);
  /// Replaces every byte equal to `before` by `after` (zero bytes included;
  /// the size never changes). Detaches only on a hit; equal arguments do
  /// nothing.
  TQByteArray& replace(char before, char after);
  /// remove(pos, len), then insert(pos, after), each with its own conditions:
  /// `len` <= 0 inserts, `pos` == size() appends, a negative `pos` or one
  /// above size() does nothing. `after` may be this array, and is then read
  /// after the removal. If the insertion fails to allocate, the removal stays.
  TQByteArray& replace(int pos, int len, const TQByteArray& after);

  /// 0 if equal; otherwise negative when this array sorts first. A negative
  /// `len` takes the C string at `str`. Bytes compare as unsigned. Without
  /// case only A-Z fold (to a-z), and the result is the difference of the
  /// first differing folded bytes (-255..255); with case only the sign of the
  /// result is defined. A prefix gives size() - len. A null `str` gives 1 for
  /// a non-empty array and 0 for an empty one, whatever `len` says.
  int compare(const char* str, int len = -1, bool caseSensitive = true) const;
  /// Index of the first `ch` (zero included) at or after `from`, or -1. A
  /// negative `from` counts from the end (-1 is the last byte), clamped at 0.
  int indexOf(char ch, int from = 0) const;
  /// Index of the first occurrence of `len` bytes at `pattern` that starts at
  /// or after `from`, or -1; a negative `len` takes the C string. An empty or
  /// null pattern is never found, not even at 0. `from` as above.
  int indexOf(const char* pattern, int from = 0, int len = -1) const;
  /// The first `n` bytes: a shared copy of the whole record (raw included)
  /// when `n` >= size(), else a deep copy with a terminator; `n` <= 0 gives
  /// the empty array.
  TQByteArray left(int n) const;
  /// The last `n` bytes, shared or deep copied as left().
  TQByteArray right(int n) const;
  /// `len` bytes from `pos`; a negative `len` means to the end. A negative
  /// `pos` first shortens a positive `len` by that much and becomes 0; a
  /// `len` then below 0 means to the end, and exactly 0 gives the empty
  /// array. A result of exactly (0, size()) at that point shares the record;
  /// any other non-empty result, mid(0, size() + 1) included, is a deep copy.
  TQByteArray mid(int pos, int len = -1) const;
  /// Without ASCII whitespace (tab, LF, VT, FF, CR, space; no locale, and
  /// NUL, 0x85 or 0xA0 are no whitespace) at either end. Shares the record
  /// when there is nothing to trim; only whitespace gives the empty array.
  TQByteArray trimmed() const;

  /// Base64 text, always padded with "=" to a multiple of 4. Bit 0 of
  /// `options` selects the URL-safe alphabet ("-" and "_" for "+" and "/");
  /// other bits are ignored. A text longer than 2,147,479,551 characters
  /// (a source above 1,610,609,661 bytes) is refused with std::bad_alloc.
  TQByteArray toBase64(int options = 0) const;
  /// Decodes Base64 in the alphabet chosen by bit 0 of `options` (other bits
  /// are ignored). Never fails: every character outside the alphabet is
  /// skipped, "=" included, and decoding goes on behind it in the same bit
  /// stream; trailing bits short of a byte are dropped. Any source size works.
  static TQByteArray fromBase64(const TQByteArray& source, int options);
  /// fromBase64(source, 0): the standard alphabet.
  static TQByteArray fromBase64(const TQByteArray& source);
  /// Two upper-case hexadecimal digits per byte. A source of 2^30 bytes or
  /// more gives the empty array, with nothing allocated.
  TQByteArray toHex() const;
  /// One byte per two characters, both cases of letters accepted; an odd
  /// last character is ignored. No validation: every character counts as
  /// c - '0' below 'A', c - 'A' + 10 from 'A' to 0x60 and c - 'a' + 10 from
  /// 'a' up (0x80 and above included), and the byte is 16 * high + low,
  /// cut to 8 bits ("zz" gives 0x53).
  static TQByteArray fromHex(const TQByteArray& source);
  /// Every byte outside A-Z a-z 0-9 "-" "." "/" "_" "~" (67 values) written
  /// as "%XX" in upper case, zero bytes included. With nothing to escape the
  /// result shares this array's record, raw or not; otherwise one buffer is
  /// allocated. A source above 715,826,517 bytes that needs an escape is
  /// refused with std::bad_alloc.
  TQByteArray toPercentEncoding() const;

 private:
  TQBASE_NO_EXPORT bool isDetached() const;
  TQBASE_NO_EXPORT void reallocData(const char* src, int copyLength,
                                    int wantedCapacity);

  TQByteArrayRef* d;
};

}  // namespace TQBase

#endif  // TQBASE_TQBYTEARRAY_H_
