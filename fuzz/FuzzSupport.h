// Shared by the fuzz harnesses: a property check that aborts (so libFuzzer
// and the replay driver both report it) and a reader that splits the input
// into choices and data.

#ifndef TQBASE_FUZZ_FUZZSUPPORT_H_
#define TQBASE_FUZZ_FUZZSUPPORT_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#define FUZZ_CHECK(cond)                                                       \
  do {                                                                         \
    if (!(cond)) {                                                             \
      std::fprintf(stderr, "%s:%d: property failed: %s\n", __FILE__, __LINE__, \
                   #cond);                                                     \
      std::abort();                                                            \
    }                                                                          \
  } while (0)

namespace fuzz {

// Takes choices from the front of the input and data from what is left, so
// the mutator can change one without moving the other.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : data_(data), size_(size) {}

  std::uint8_t byte() {
    if (size_ == 0) return 0;
    --size_;
    return *data_++;
  }
  std::uint32_t u32() {
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i) v = (v << 8) | byte();
    return v;
  }
  bool flag() { return (byte() & 1) != 0; }
  // A count in 0..max, biased to small values.
  std::size_t small(std::size_t max) {
    return max == 0 ? 0 : byte() % (max + 1);
  }
  // A string of at most `max` bytes, its length taken from one byte.
  std::string bytes(std::size_t max) {
    std::size_t n = small(max);
    if (n > size_) n = size_;
    std::string s(reinterpret_cast<const char*>(data_), n);
    data_ += n;
    size_ -= n;
    return s;
  }
  std::string rest() {
    std::string s(reinterpret_cast<const char*>(data_), size_);
    data_ += size_;
    size_ = 0;
    return s;
  }
  std::size_t left() const { return size_; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

// RFC 4648 Base64 of `s` in `alphabet`, padded with '=' to whole groups.
inline std::string base64Model(const std::string& s, const char* alphabet) {
  std::string out;
  for (std::size_t i = 0; i < s.size(); i += 3) {
    const std::size_t have = s.size() - i < 3 ? s.size() - i : 3;
    unsigned v = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      v = (v << 8) | (k < have ? static_cast<unsigned char>(s[i + k]) : 0u);
    }
    out += alphabet[(v >> 18) & 63];
    out += alphabet[(v >> 12) & 63];
    out += have >= 2 ? alphabet[(v >> 6) & 63] : '=';
    out += have >= 3 ? alphabet[v & 63] : '=';
  }
  return out;
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size);

#endif  // TQBASE_FUZZ_FUZZSUPPORT_H_
