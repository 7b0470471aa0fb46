#include "TQBase/TQMD5.h"

#include <cstdint>
#include <cstring>

#include "frame/ByteTables.h"

namespace TQBase {
namespace {

// The round helpers live here as internal inline functions: the exported
// private members of TQMD5 are interposable symbols in the shared library,
// which keeps some compilers from inlining them into the compression loop.
// The members delegate to these, so both compute the same steps.
inline std::uint32_t rotl(std::uint32_t x, unsigned n) {
  n &= 31;
  return (x << n) | (x >> ((32 - n) & 31));
}

// RFC 1321 auxiliary functions, written in the equivalent forms with fewer
// operations: F = (x & y) | (~x & z) and G = (x & z) | (y & ~z).
inline std::uint32_t auxF(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return z ^ (x & (y ^ z));
}
inline std::uint32_t auxG(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return y ^ (z & (x ^ y));
}
inline std::uint32_t auxH(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return x ^ y ^ z;
}
inline std::uint32_t auxI(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
  return y ^ (x | ~z);
}

inline std::uint32_t loadLittleEndian32(const unsigned char* p) {
  return std::uint32_t{p[0]} | (std::uint32_t{p[1]} << 8) |
         (std::uint32_t{p[2]} << 16) | (std::uint32_t{p[3]} << 24);
}

inline void storeLittleEndian32(unsigned char* p, std::uint32_t v) {
  p[0] = static_cast<unsigned char>(v);
  p[1] = static_cast<unsigned char>(v >> 8);
  p[2] = static_cast<unsigned char>(v >> 16);
  p[3] = static_cast<unsigned char>(v >> 24);
}

// One step of a round; the compression loop and the FF..II members share it.
// a + x + ac does not wait for b, the result of the step before, so it is
// summed first and only Aux(b, c, d) stands on the chain between steps.
template <std::uint32_t (*Aux)(std::uint32_t, std::uint32_t, std::uint32_t)>
inline void step(std::uint32_t& a, std::uint32_t b, std::uint32_t c,
                 std::uint32_t d, std::uint32_t x, unsigned s,
                 std::uint32_t ac) {
  a = rotl((a + x + ac) + Aux(b, c, d), s) + b;
}

// The G step with its chain cut shorter: the two halves of
// G = (b & d) | (c & ~d) have no bit in common, so | is +, and c & ~d joins
// the sum that does not wait for b.
inline void stepG(std::uint32_t& a, std::uint32_t b, std::uint32_t c,
                  std::uint32_t d, std::uint32_t x, unsigned s,
                  std::uint32_t ac) {
  a = rotl((a + x + ac + (c & ~d)) + (b & d), s) + b;
}

// Applies `blocks` consecutive 64-byte blocks to `state`, all 64 steps of
// RFC 1321 (3.4) unrolled with the RFC's word order, shifts and constants.
void compressBlocks(std::uint32_t* state, const unsigned char* data,
                    std::size_t blocks) {
  std::uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
  for (; blocks != 0; --blocks, data += 64) {
    std::uint32_t x[16];
    for (int i = 0; i < 16; ++i) x[i] = loadLittleEndian32(data + 4 * i);
    const std::uint32_t aa = a, bb = b, cc = c, dd = d;

    step<auxF>(a, b, c, d, x[0], 7, 0xd76aa478);
    step<auxF>(d, a, b, c, x[1], 12, 0xe8c7b756);
    step<auxF>(c, d, a, b, x[2], 17, 0x242070db);
    step<auxF>(b, c, d, a, x[3], 22, 0xc1bdceee);
    step<auxF>(a, b, c, d, x[4], 7, 0xf57c0faf);
    step<auxF>(d, a, b, c, x[5], 12, 0x4787c62a);
    step<auxF>(c, d, a, b, x[6], 17, 0xa8304613);
    step<auxF>(b, c, d, a, x[7], 22, 0xfd469501);
    step<auxF>(a, b, c, d, x[8], 7, 0x698098d8);
    step<auxF>(d, a, b, c, x[9], 12, 0x8b44f7af);
    step<auxF>(c, d, a, b, x[10], 17, 0xffff5bb1);
    step<auxF>(b, c, d, a, x[11], 22, 0x895cd7be);
    step<auxF>(a, b, c, d, x[12], 7, 0x6b901122);
    step<auxF>(d, a, b, c, x[13], 12, 0xfd987193);
    step<auxF>(c, d, a, b, x[14], 17, 0xa679438e);
    step<auxF>(b, c, d, a, x[15], 22, 0x49b40821);

    stepG(a, b, c, d, x[1], 5, 0xf61e2562);
    stepG(d, a, b, c, x[6], 9, 0xc040b340);
    stepG(c, d, a, b, x[11], 14, 0x265e5a51);
    stepG(b, c, d, a, x[0], 20, 0xe9b6c7aa);
    stepG(a, b, c, d, x[5], 5, 0xd62f105d);
    stepG(d, a, b, c, x[10], 9, 0x02441453);
    stepG(c, d, a, b, x[15], 14, 0xd8a1e681);
    stepG(b, c, d, a, x[4], 20, 0xe7d3fbc8);
    stepG(a, b, c, d, x[9], 5, 0x21e1cde6);
    stepG(d, a, b, c, x[14], 9, 0xc33707d6);
    stepG(c, d, a, b, x[3], 14, 0xf4d50d87);
    stepG(b, c, d, a, x[8], 20, 0x455a14ed);
    stepG(a, b, c, d, x[13], 5, 0xa9e3e905);
    stepG(d, a, b, c, x[2], 9, 0xfcefa3f8);
    stepG(c, d, a, b, x[7], 14, 0x676f02d9);
    stepG(b, c, d, a, x[12], 20, 0x8d2a4c8a);

    step<auxH>(a, b, c, d, x[5], 4, 0xfffa3942);
    step<auxH>(d, a, b, c, x[8], 11, 0x8771f681);
    step<auxH>(c, d, a, b, x[11], 16, 0x6d9d6122);
    step<auxH>(b, c, d, a, x[14], 23, 0xfde5380c);
    step<auxH>(a, b, c, d, x[1], 4, 0xa4beea44);
    step<auxH>(d, a, b, c, x[4], 11, 0x4bdecfa9);
    step<auxH>(c, d, a, b, x[7], 16, 0xf6bb4b60);
    step<auxH>(b, c, d, a, x[10], 23, 0xbebfbc70);
    step<auxH>(a, b, c, d, x[13], 4, 0x289b7ec6);
    step<auxH>(d, a, b, c, x[0], 11, 0xeaa127fa);
    step<auxH>(c, d, a, b, x[3], 16, 0xd4ef3085);
    step<auxH>(b, c, d, a, x[6], 23, 0x04881d05);
    step<auxH>(a, b, c, d, x[9], 4, 0xd9d4d039);
    step<auxH>(d, a, b, c, x[12], 11, 0xe6db99e5);
    step<auxH>(c, d, a, b, x[15], 16, 0x1fa27cf8);
    step<auxH>(b, c, d, a, x[2], 23, 0xc4ac5665);

    step<auxI>(a, b, c, d, x[0], 6, 0xf4292244);
    step<auxI>(d, a, b, c, x[7], 10, 0x432aff97);
    step<auxI>(c, d, a, b, x[14], 15, 0xab9423a7);
    step<auxI>(b, c, d, a, x[5], 21, 0xfc93a039);
    step<auxI>(a, b, c, d, x[12], 6, 0x655b59c3);
    step<auxI>(d, a, b, c, x[3], 10, 0x8f0ccc92);
    step<auxI>(c, d, a, b, x[10], 15, 0xffeff47d);
    step<auxI>(b, c, d, a, x[1], 21, 0x85845dd1);
    step<auxI>(a, b, c, d, x[8], 6, 0x6fa87e4f);
    step<auxI>(d, a, b, c, x[15], 10, 0xfe2ce6e0);
    step<auxI>(c, d, a, b, x[6], 15, 0xa3014314);
    step<auxI>(b, c, d, a, x[13], 21, 0x4e0811a1);
    step<auxI>(a, b, c, d, x[4], 6, 0xf7537e82);
    step<auxI>(d, a, b, c, x[11], 10, 0xbd3af235);
    step<auxI>(c, d, a, b, x[2], 15, 0x2ad7d2bb);
    step<auxI>(b, c, d, a, x[9], 21, 0xeb86d391);

    a += aa;
    b += bb;
    c += cc;
    d += dd;
  }
  state[0] = a;
  state[1] = b;
  state[2] = c;
  state[3] = d;
}

constexpr unsigned int kStreamChunk = 1024;

// The body of update(), taking a const input (get_md5 feeds a string's
// bytes). Only the partial blocks at either end pass through `buffer`;
// whole blocks are read where they lie.
void absorb(std::uint32_t* state, std::uint32_t* count, unsigned char* buffer,
            const unsigned char* input, unsigned int length) {
  if (length == 0) return;
  unsigned int index = (count[0] >> 3) & 63;
  count[0] += length << 3;
  if (count[0] < (length << 3)) ++count[1];
  count[1] += length >> 29;

  const unsigned int room = 64 - index;
  unsigned int i = 0;
  if (length >= room) {
    std::memcpy(buffer + index, input, room);
    compressBlocks(state, buffer, 1);
    i = room;
    const unsigned int blocks = (length - i) / 64;
    compressBlocks(state, input + i, blocks);
    i += blocks * 64;
    index = 0;
  }
  std::memcpy(buffer + index, input + i, length - i);
}

}  // namespace

static_assert(sizeof(unsigned int) == sizeof(std::uint32_t),
              "TQMD5 keeps its words in unsigned int");

TQMD5::TQMD5() : buffer{}, digest{} { init(); }

TQMD5::TQMD5(unsigned char* input, unsigned int length) : buffer{}, digest{} {
  init();
  update(input, length);
  finalize();
}

TQMD5::TQMD5(FILE* stream) : buffer{}, digest{} {
  init();
  update(stream);
  finalize();
}

void TQMD5::init() {
  finished = false;
  count[0] = count[1] = 0;
  state[0] = 0x67452301;
  state[1] = 0xefcdab89;
  state[2] = 0x98badcfe;
  state[3] = 0x10325476;
}

void TQMD5::update(unsigned char* input, unsigned int length) {
  absorb(state, count, buffer, input, length);
}

void TQMD5::update(FILE* stream) {
  unsigned char chunk[kStreamChunk];
  std::size_t got;
  // End of file and a read error both end the loop; the stream is ours to
  // close either way.
  while ((got = std::fread(chunk, 1, kStreamChunk, stream)) > 0) {
    update(chunk, static_cast<unsigned int>(got));
  }
  std::fclose(stream);
}

void TQMD5::finalize() {
  unsigned char bits[8];
  encode(bits, count, 8);
  // Pad to 56 mod 64 so the 64-bit bit count ends the last block
  // (RFC 1321, 3.1-3.2). The count is taken before padding changes it.
  // This is update() with padLen bytes of the padding block and then the 8
  // length bytes, the padding written straight into the buffer: the count
  // grows by both at once, which is the same 64-bit sum.
  const unsigned int index = (count[0] >> 3) & 63;
  const unsigned int padLen = index < 56 ? 56 - index : 120 - index;
  const unsigned int added = (padLen + 8) << 3;
  count[0] += added;
  if (count[0] < added) ++count[1];
  buffer[index] = 0x80;
  if (index >= 56) {
    std::memset(buffer + index + 1, 0, 63 - index);
    compressBlocks(state, buffer, 1);
    std::memset(buffer, 0, 56);
  } else {
    std::memset(buffer + index + 1, 0, 55 - index);
  }
  std::memcpy(buffer + 56, bits, 8);
  compressBlocks(state, buffer, 1);
  encode(digest, state, 16);
  std::memset(buffer, 0, sizeof buffer);
  finished = true;
}

std::string TQMD5::get_digest() {
  if (!finished) return std::string();
  return translate(digest);
}

bool TQMD5::get_digest(unsigned char* const out) {
  if (!finished) return false;
  std::memcpy(out, digest, sizeof digest);
  return true;
}

std::string TQMD5::translate(unsigned char* const bytes) {
  std::string text(32, '\0');
  for (int i = 0; i < 16; ++i)
    std::memcpy(&text[2 * i], &detail::kHexPairsLower[2 * bytes[i]], 2);
  return text;
}

std::string TQMD5::get_md5(const std::string& input) {
  TQMD5 md5;
  absorb(md5.state, md5.count, md5.buffer,
         reinterpret_cast<const unsigned char*>(input.data()),
         static_cast<unsigned int>(input.size()));
  md5.finalize();
  return translate(md5.digest);
}

TQMD5& TQMD5::operator=(const TQMD5& other) {
  if (this != &other) {
    std::memcpy(state, other.state, sizeof state);
    std::memcpy(count, other.count, sizeof count);
    std::memcpy(buffer, other.buffer, sizeof buffer);
    std::memcpy(digest, other.digest, sizeof digest);
    finished = other.finished;
  }
  return *this;
}

void TQMD5::transform(unsigned char* block) { compressBlocks(state, block, 1); }

void TQMD5::encode(unsigned char* output, unsigned int* input,
                   unsigned int length) {
  // Whole words while the byte position is below `length`, so a length
  // that is no multiple of 4 still writes its last word in full.
  for (unsigned int i = 0, j = 0; j < length; ++i, j += 4) {
    storeLittleEndian32(output + j, input[i]);
  }
}

void TQMD5::decode(unsigned int* output, unsigned char* input,
                   unsigned int length) {
  for (unsigned int i = 0, j = 0; j < length; ++i, j += 4) {
    output[i] = loadLittleEndian32(input + j);
  }
}

unsigned int TQMD5::rotate_left(unsigned int x, unsigned int n) {
  return rotl(x, n);
}

unsigned int TQMD5::F(unsigned int x, unsigned int y, unsigned int z) {
  return auxF(x, y, z);
}
unsigned int TQMD5::G(unsigned int x, unsigned int y, unsigned int z) {
  return auxG(x, y, z);
}
unsigned int TQMD5::H(unsigned int x, unsigned int y, unsigned int z) {
  return auxH(x, y, z);
}
unsigned int TQMD5::I(unsigned int x, unsigned int y, unsigned int z) {
  return auxI(x, y, z);
}

void TQMD5::FF(unsigned int& a, unsigned int b, unsigned int c, unsigned int d,
               unsigned int x, unsigned int s, unsigned int ac) {
  step<auxF>(a, b, c, d, x, s, ac);
}
void TQMD5::GG(unsigned int& a, unsigned int b, unsigned int c, unsigned int d,
               unsigned int x, unsigned int s, unsigned int ac) {
  stepG(a, b, c, d, x, s, ac);
}
void TQMD5::HH(unsigned int& a, unsigned int b, unsigned int c, unsigned int d,
               unsigned int x, unsigned int s, unsigned int ac) {
  step<auxH>(a, b, c, d, x, s, ac);
}
void TQMD5::II(unsigned int& a, unsigned int b, unsigned int c, unsigned int d,
               unsigned int x, unsigned int s, unsigned int ac) {
  step<auxI>(a, b, c, d, x, s, ac);
}

}  // namespace TQBase
