// Every search of the text functions against the plain model: a comparison
// at each start, on lowered copies where case is ignored. Inputs are random
// over small alphabets, periodic (needles with long borders), and shaped
// against the filter (a needle of `a` with one `b` in a text of `a`), with
// starts near `from` and both ends.
#include "TQBase/BufferFunctions.h"
#include "TQBase/StdString.h"

#include <gtest/gtest.h>

#include <cctype>
#include <clocale>
#include <cstring>
#include <list>
#include <random>
#include <string>

using TQBase::FindStr;
using TQBase::stdstring;

namespace {

constexpr std::size_t npos = std::string::npos;

std::string lowered(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(c));
  return s;
}

bool equalAt(const std::string& hay, const std::string& needle, std::size_t p) {
  return hay.compare(p, needle.size(), needle) == 0;
}

std::size_t indexOfModel(std::string hay, std::string needle, std::size_t from,
                         bool caseSensitive) {
  if (!caseSensitive) {
    hay = lowered(hay);
    needle = lowered(needle);
  }
  if (needle.empty()) return from <= hay.size() ? from : npos;
  for (std::size_t p = from; p < hay.size() && needle.size() <= hay.size() - p;
       ++p) {
    if (equalAt(hay, needle, p)) return p;
  }
  return npos;
}

std::size_t lastIndexOfModel(std::string hay, std::string needle,
                             std::size_t from, bool caseSensitive) {
  if (!caseSensitive) {
    hay = lowered(hay);
    needle = lowered(needle);
  }
  if (needle.empty()) return std::min(from, hay.size());
  if (needle.size() > hay.size()) return npos;
  for (std::size_t p = std::min(from, hay.size() - needle.size()) + 1;
       p-- > 0;) {
    if (equalAt(hay, needle, p)) return p;
  }
  return npos;
}

// One generated case: a text, a needle and a start.
struct Case {
  std::string hay;
  std::string needle;
  std::size_t from = 0;
};

std::string randomOver(std::mt19937& rng, const std::string& alphabet,
                       std::size_t size) {
  std::string s(size, '\0');
  for (char& c : s) c = alphabet[rng() % alphabet.size()];
  return s;
}

// A word repeated, then a few bytes changed: long borders, near matches.
std::string periodic(std::mt19937& rng, const std::string& alphabet,
                     std::size_t size) {
  const std::string word = randomOver(rng, alphabet, 1 + rng() % 4);
  std::string s;
  while (s.size() < size) s += word;
  s.resize(size);
  for (std::size_t flips = rng() % 3; flips > 0 && size > 0; --flips)
    s[rng() % size] = alphabet[rng() % alphabet.size()];
  return s;
}

Case makeCase(std::mt19937& rng) {
  static const std::string kAlphabets[] = {"ab", "aAbB",
                                           std::string("aA\0\xC9", 4), "abc"};
  const std::size_t sizes[] = {0, 3, 15, 16, 17, 40, 255, 256, 300, 1200};
  const std::string& alphabet = kAlphabets[rng() % 4];
  const std::size_t size = sizes[rng() % 10];
  Case c;
  switch (rng() % 3) {
    case 0:
      c.hay = randomOver(rng, alphabet, size);
      c.needle = randomOver(rng, alphabet, rng() % 6);
      break;
    case 1:
      c.hay = periodic(rng, alphabet, size);
      c.needle = periodic(rng, alphabet, 1 + rng() % 90);
      break;
    default: {  // against the filter: `a` everywhere but one `b`
      c.hay.assign(size, 'a');
      c.needle.assign(1 + rng() % 300, 'a');
      const std::size_t places[] = {0, c.needle.size() / 2,
                                    c.needle.size() - 1};
      c.needle[places[rng() % 3]] = 'b';
      if (size > 0 && rng() % 2) c.hay[rng() % size] = 'b';
      break;
    }
  }
  // At times a real occurrence, at times in the other case.
  if (!c.hay.empty() && rng() % 3 == 0) {
    const std::size_t at = rng() % c.hay.size();
    c.needle = c.hay.substr(at, 1 + rng() % (rng() % 4 == 0 ? 200 : 8));
    if (rng() % 2) stdstring::toUpper(c.needle);
  }
  const std::size_t n = c.hay.size();
  switch (rng() % 4) {
    case 0:
      c.from = 0;
      break;
    case 1:
      c.from = n - std::min(n, c.needle.size() + rng() % 3);
      break;
    case 2:
      c.from = rng() % (n + 2);
      break;
    default:
      c.from = rng() % 4 == 0 ? npos : n + rng() % 2;
      break;
  }
  return c;
}

constexpr int kTrials = 6000;

void expectSearchesMatchModel(int trials, unsigned seed) {
  for (int trial = 0; trial < trials; ++trial) {
    std::mt19937 rng(seed + trial);
    const Case c = makeCase(rng);
    SCOPED_TRACE(trial);
    for (bool caseSensitive : {true, false}) {
      EXPECT_EQ(stdstring::indexOf(c.hay, c.needle, c.from, caseSensitive),
                indexOfModel(c.hay, c.needle, c.from, caseSensitive))
          << "indexOf, caseSensitive " << caseSensitive;
      EXPECT_EQ(stdstring::lastIndexOf(c.hay, c.needle, c.from, caseSensitive),
                lastIndexOfModel(c.hay, c.needle, c.from, caseSensitive))
          << "lastIndexOf, caseSensitive " << caseSensitive;
    }
  }
}

TEST(SearchProperty, IndexOfAndLastIndexOfMatchModel) {
  expectSearchesMatchModel(kTrials, 9100);
}

template <typename String>
int replaceModel(String& str, const String& before, const String& after) {
  int count = 0;
  String out;
  std::size_t p = 0;
  while (p + before.size() <= str.size()) {
    if (str.compare(p, before.size(), before) == 0) {
      out += after;
      p += before.size();
      ++count;
    } else {
      out += str[p++];
    }
  }
  out.append(str, p, String::npos);
  str = out;
  return count;
}

std::list<std::string> splitModel(const std::string& str,
                                  const std::string& sep) {
  std::list<std::string> out;
  std::size_t token = 0;
  for (std::size_t p = 0; p + sep.size() <= str.size();) {
    if (str.compare(p, sep.size(), sep) == 0) {
      out.push_back(str.substr(token, p - token));
      p += sep.size();
      token = p;
    } else {
      ++p;
    }
  }
  out.push_back(str.substr(token));
  return out;
}

TEST(SearchProperty, ReplaceAndSplitMatchModel) {
  for (int trial = 0; trial < kTrials / 2; ++trial) {
    std::mt19937 rng(27000 + trial);
    const Case c = makeCase(rng);
    if (c.needle.empty()) continue;
    SCOPED_TRACE(trial);
    // Shorter, longer, and of the same size (written in place).
    const std::string afters[] = {
        "", c.needle + "x", std::string(c.needle.rbegin(), c.needle.rend())};
    const std::string after = afters[rng() % 3];
    std::string got = c.hay, want = c.hay;
    EXPECT_EQ(stdstring::replace(got, c.needle, after),
              replaceModel(want, c.needle, after));
    EXPECT_EQ(got, want) << "narrow replace";

    std::wstring wide(c.hay.begin(), c.hay.end());
    std::wstring wideWant = wide;
    const std::wstring wideBefore(c.needle.begin(), c.needle.end());
    const std::wstring wideAfter(after.begin(), after.end());
    EXPECT_EQ(stdstring::replace(wide, wideBefore, wideAfter),
              replaceModel(wideWant, wideBefore, wideAfter));
    EXPECT_EQ(wide, wideWant) << "wide replace";

    std::list<std::string> tokens;
    const int count = stdstring::SplitStringRgx(tokens, c.hay, c.needle, false);
    EXPECT_EQ(count, static_cast<int>(tokens.size()));
    EXPECT_EQ(tokens, splitModel(c.hay, c.needle)) << "SplitStringRgx";
  }
}

// strstr's answer on the first `limit` bytes, by the model.
const char* findStrModel(const std::string& text, const std::string& needle,
                         int limit) {
  std::string cut = text.substr(0, std::strlen(text.c_str()));
  if (limit >= 0 && static_cast<std::size_t>(limit) < cut.size())
    cut.resize(static_cast<std::size_t>(limit));
  const std::size_t at = indexOfModel(cut, needle, 0, true);
  return at == npos ? nullptr : text.c_str() + at;
}

TEST(SearchProperty, FindStrAndMatchSubStringMatchModel) {
  for (int trial = 0; trial < kTrials / 2; ++trial) {
    std::mt19937 rng(41000 + trial);
    Case c = makeCase(rng);
    // C strings: the NUL of the alphabet ends them early, which is the point.
    c.needle = c.needle.substr(0, std::strlen(c.needle.c_str()));
    SCOPED_TRACE(trial);
    const int limit = static_cast<int>(rng() % (c.hay.size() + 2)) - 1;
    std::string text = c.hay, needle = c.needle;
    EXPECT_EQ(FindStr(&text[0], &needle[0], limit),
              findStrModel(text, needle, limit));
    EXPECT_EQ(text, c.hay) << "FindStr left the text as it was";

    const std::string cut = text.substr(0, std::strlen(text.c_str()));
    const std::size_t open = indexOfModel(cut, needle, 0, true);
    const std::size_t close =
        open == npos ? npos
                     : indexOfModel(cut, "b", open + needle.size(), true);
    int size = 5;
    EXPECT_EQ(TQBase::MatchSubString(text.c_str(), needle.c_str(), "b", nullptr,
                                     size),
              close != npos);
    if (close != npos) {
      EXPECT_EQ(size, static_cast<int>(close - open - needle.size()) + 1);
    }
  }
}

// A text long enough for the filter and its budget: FindStr measures it in
// growing chunks, and a match across a chunk's end is still found.
TEST(SearchProperty, FindStrAcrossMeasuredChunks) {
  std::string text(20000, 'a');
  std::string needle(3000, 'a');
  needle[1500] = 'b';
  text.replace(9000, needle.size(), needle);
  EXPECT_EQ(FindStr(&text[0], &needle[0], -1), &text[9000]);
  EXPECT_EQ(FindStr(&text[0], &needle[0], 11999), nullptr);
  EXPECT_EQ(FindStr(&text[0], &needle[0], 12000), &text[9000]);
  char small[] = "b";
  EXPECT_EQ(FindStr(&text[0], small, 4096), nullptr);
}

std::string maskModel(const std::string& json,
                      const std::list<std::string>& keys, char mask) {
  std::string result(json);
  for (const std::string& key : keys) {
    std::size_t scan = 0;
    while (!result.empty()) {
      const std::size_t at = indexOfModel(result, key, scan, false);
      if (at == npos) break;
      const std::size_t colon = result.find(':', at);
      if (colon == npos || colon + 1 >= result.size()) break;
      const std::size_t end = result.find_first_of(",]}", colon + 1);
      if (end == npos) break;
      for (std::size_t i = colon + 1; i < end; ++i) result[i] = mask;
      scan = end + 1;
      if (scan >= result.size()) break;
    }
  }
  return result;
}

TEST(SearchProperty, MaskJsonValueMatchesModel) {
  static const std::string kJsonBytes = "aAb:,}";
  for (int trial = 0; trial < kTrials / 3; ++trial) {
    std::mt19937 rng(55000 + trial);
    SCOPED_TRACE(trial);
    const std::size_t size = rng() % 2 ? rng() % 40 : 300 + rng() % 300;
    const std::string json = rng() % 2 ? randomOver(rng, kJsonBytes, size)
                                       : periodic(rng, kJsonBytes, size);
    const std::list<std::string> keys = {randomOver(rng, "aAb", rng() % 4),
                                         periodic(rng, "aAb:", rng() % 70)};
    EXPECT_EQ(stdstring::MaskJsonValue(json, keys, '*'),
              maskModel(json, keys, '*'));
  }
}

// Under another locale the searches fold through that locale's tolower. Only
// C, POSIX and C.UTF-8 may be installed, whose byte mappings agree; the test
// then checks that the UTF-8 locale gives the same answers as the model.
TEST(SearchProperty, IgnoringCaseFollowsTheLocale) {
  const std::string saved = std::setlocale(LC_CTYPE, nullptr);
  if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP();
  expectSearchesMatchModel(500, 61000);
  std::setlocale(LC_CTYPE, saved.c_str());
}

}  // namespace
