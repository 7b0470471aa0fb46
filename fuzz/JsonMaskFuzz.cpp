// MaskJsonValue against a direct model of its byte scan. Whatever the text
// and keys, the result has the input's length and differs from it only in
// bytes that now hold the mask character.

#include <list>
#include <string>

#include "FuzzSupport.h"
#include "TQBase/StdString.h"

namespace {

using TQBase::stdstring;

char lower(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

// Case-blind naive search from `from`; npos when not found.
std::size_t findNoCase(const std::string& s, const std::string& key,
                       std::size_t from) {
  if (from > s.size()) return std::string::npos;
  for (std::size_t p = from; p + key.size() <= s.size(); ++p) {
    std::size_t k = 0;
    while (k < key.size() && lower(s[p + k]) == lower(key[k])) ++k;
    if (k == key.size()) return p;
  }
  return std::string::npos;
}

std::string maskModel(const std::string& json,
                      const std::list<std::string>& keys, char mask) {
  std::string r = json;
  for (const std::string& key : keys) {
    std::size_t pos = 0;
    while (!r.empty()) {
      const std::size_t at = findNoCase(r, key, pos);
      if (at == std::string::npos) break;
      const std::size_t colon = r.find(':', at);
      if (colon == std::string::npos || colon + 1 >= r.size()) break;
      const std::size_t end = r.find_first_of(",]}", colon + 1);
      if (end == std::string::npos) break;
      for (std::size_t i = colon + 1; i < end; ++i) r[i] = mask;
      pos = end + 1;
      if (pos >= r.size()) break;
    }
  }
  return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  fuzz::Input in(data, size);
  const char mask = static_cast<char>(in.byte());
  // Up to three keys; the count byte's high bits repeat each key, for long
  // periodic keys that overrun the search's filter budget.
  const std::uint8_t count = in.byte();
  std::list<std::string> keys;
  for (std::size_t k = count % 4u; k > 0; --k) {
    const std::string word = in.bytes(10);
    keys.emplace_back();
    for (std::size_t r = 1 + (count / 4u) % 16u; r > 0; --r)
      keys.back() += word;
  }
  const std::string json = in.rest();

  const std::string got = stdstring::MaskJsonValue(json, keys, mask);
  FUZZ_CHECK(got.size() == json.size());
  for (std::size_t i = 0; i < got.size(); ++i) {
    FUZZ_CHECK(got[i] == json[i] || got[i] == mask);
  }
  FUZZ_CHECK(got == maskModel(json, keys, mask));
  return 0;
}
