#ifndef TQBASE_TQMD5_H_
#define TQBASE_TQMD5_H_

#include <cstdio>
#include <string>

#include "TQBase/TQBaseExport.h"

namespace TQBase {

/// MD5 message digest (RFC 1321) over buffers, strings and open streams.
///
/// Feed data with update() in pieces of any size, then finalize(); the
/// digest is then available as 16 bytes or 32 lower-case hex characters.
/// The object has no guard against use after finalize(): a second
/// finalize() pads the already padded message again and replaces the
/// digest, and update() after finalize() goes on changing the running state
/// while get_digest() keeps the old digest until the next finalize(). To
/// start over, assign a fresh object. Pointers are not checked for null;
/// a null `input` with length 0 is fine. No allocation except result
/// strings. One object is not safe for concurrent use.
class TQBASE_EXPORT TQMD5 {
 public:
  /// An open digest of the empty message so far.
  TQMD5();
  /// Digest of `length` bytes at `input`, finished at once.
  TQMD5(unsigned char* input, unsigned int length);
  /// Digest of the rest of `stream`, finished at once. Closes `stream`.
  TQMD5(FILE* stream);
  TQMD5(const TQMD5& other) = default;

  /// Takes in `length` bytes; `input` is not changed. Whole 64-byte blocks
  /// are digested straight from `input`.
  void update(unsigned char* input, unsigned int length);
  /// Takes in the rest of `stream`, read in 1024-byte chunks, then closes
  /// it exactly once, also when it was empty. A read error ends the input
  /// silently; the digest covers what was read. `stream` must not be used
  /// afterwards.
  void update(FILE* stream);
  /// Pads the message (RFC 1321) and stores the digest; the running state
  /// is kept, so further calls continue from the padded message.
  void finalize();

  /// 32 lower-case hex characters of the digest, or an empty string before
  /// the first finalize().
  std::string get_digest();
  /// Copies the 16 digest bytes to `out` and returns true, or returns false
  /// and leaves `out` untouched before the first finalize().
  bool get_digest(unsigned char* const out);

  /// 32 lower-case hex characters of the 16 bytes at `digest`.
  static std::string translate(unsigned char* const digest);
  /// Lower-case hex digest of the string's bytes (NUL bytes included; the
  /// size is cut to 32 bits).
  static std::string get_md5(const std::string& input);

  /// Copies everything, a half-filled block and the finished flag included.
  TQMD5& operator=(const TQMD5& other);

 private:
  void init();
  void transform(unsigned char* block);
  static void encode(unsigned char* output, unsigned int* input,
                     unsigned int length);
  static void decode(unsigned int* output, unsigned char* input,
                     unsigned int length);
  static unsigned int rotate_left(unsigned int x, unsigned int n);
  static unsigned int F(unsigned int x, unsigned int y, unsigned int z);
  static unsigned int G(unsigned int x, unsigned int y, unsigned int z);
  static unsigned int H(unsigned int x, unsigned int y, unsigned int z);
  static unsigned int I(unsigned int x, unsigned int y, unsigned int z);
  static void FF(unsigned int& a, unsigned int b, unsigned int c,
                 unsigned int d, unsigned int x, unsigned int s,
                 unsigned int ac);
  static void GG(unsigned int& a, unsigned int b, unsigned int c,
                 unsigned int d, unsigned int x, unsigned int s,
                 unsigned int ac);
  static void HH(unsigned int& a, unsigned int b, unsigned int c,
                 unsigned int d, unsigned int x, unsigned int s,
                 unsigned int ac);
  static void II(unsigned int& a, unsigned int b, unsigned int c,
                 unsigned int d, unsigned int x, unsigned int s,
                 unsigned int ac);

  unsigned int state[4];     // chaining values A, B, C, D
  unsigned int count[2];     // message length in bits, low word first
  unsigned char buffer[64];  // partial block; next free byte is count/8 % 64
  unsigned char digest[16];  // valid while finished is set
  bool finished;
};

}  // namespace TQBase

#endif  // TQBASE_TQMD5_H_
