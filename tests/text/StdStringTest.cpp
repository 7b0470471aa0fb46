#include "TQBase/StdString.h"

#include <gtest/gtest.h>

#include <clocale>
#include <list>
#include <random>
#include <string>
#include <tuple>

using TQBase::stdstring;
using Tokens = std::list<std::string>;

namespace {

constexpr std::size_t npos = std::string::npos;

// Bytes from 0x80 up reach tolower as negative values and stay in "C". Long
// texts convert through a map, shorter ones (NUL first here) byte by byte.
TEST(StdStringCase, ByteMappingKeepsHighBytes) {
  std::string bytes(256, '\0');
  for (int b = 0; b < 256; ++b) bytes[b] = static_cast<char>(b);
  std::string lower = bytes, upper = bytes;
  for (int b = 'A'; b <= 'Z'; ++b) {
    lower[b] = static_cast<char>(b + 32);
    upper[b + 32] = static_cast<char>(b);
  }
  EXPECT_EQ(stdstring::toLowerStr(bytes), lower);
  EXPECT_EQ(stdstring::toUpperStr(bytes), upper);
  EXPECT_EQ(stdstring::toLowerStr(bytes.substr(0, 255)), lower.substr(0, 255));
}

TEST(StdStringCase, WideUnitsUseTowlower) {
  const std::string saved = std::setlocale(LC_CTYPE, nullptr);
  if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP();
  // A unit wider than 16 bits goes to towlower whole.
  std::wstring w{L'A', L'\u00C9', L'z', L'\0', L'\u0416', wchar_t(0x10400)};
  stdstring::toLower(w);
  EXPECT_EQ(w, (std::wstring{L'a', L'\u00E9', L'z', L'\0', L'\u0436',
                             wchar_t(0x10428)}));
  EXPECT_EQ(stdstring::toUpperStr(std::wstring(L"\u00E9a")), L"\u00C9A");
  std::setlocale(LC_CTYPE, saved.c_str());
}

TEST(StdStringSearch, AsciiIsSpaceHoldsExactlySixBytes) {
  for (int b = 0; b < 256; ++b) {
    const bool expected = (b >= 0x09 && b <= 0x0D) || b == 0x20;
    EXPECT_EQ(stdstring::ascii_isspace(static_cast<char>(b)), expected) << b;
  }
}

// Model: fold A-Z, compare as signed chars, exactly -1/1 at a string's end.
int strnicmpModel(const std::string& a, const std::string& b, int n) {
  for (std::size_t i = 0; n < 0 || i < static_cast<std::size_t>(n); ++i) {
    const int x = i < a.size() ? static_cast<unsigned char>(a[i]) : 0;
    const int y = i < b.size() ? static_cast<unsigned char>(b[i]) : 0;
    if (x == 0 || y == 0) return x == y ? 0 : (x == 0 ? -1 : 1);
    const int fx = x >= 'A' && x <= 'Z' ? x + 32 : x;
    const int fy = y >= 'A' && y <= 'Z' ? y + 32 : y;
    if (fx != fy)
      return static_cast<signed char>(fx) - static_cast<signed char>(fy);
  }
  return 0;
}

TEST(StdStringSearch, StrnicmpMatchesModel) {
  EXPECT_EQ(stdstring::strnicmp("a", "c", -1), -2);  // unscaled, unlike an end
  EXPECT_EQ(stdstring::strnicmp(nullptr, nullptr, 0), 0);  // reads nothing
  constexpr unsigned kSeed = 4201;
  for (unsigned trial = 0; trial < 2000; ++trial) {
    std::mt19937 rng(kSeed + trial);
    SCOPED_TRACE(kSeed + trial);
    std::string a(rng() % 4, '\0');
    for (char& c : a) c = static_cast<char>(1 + rng() % 255);
    std::string b = rng() % 3 == 0 ? stdstring::toUpperStr(a) : a;
    if (rng() % 2) b.push_back(static_cast<char>(1 + rng() % 255));
    if (rng() % 2) std::swap(a, b);
    const int n = static_cast<int>(rng() % 6) - 1;
    EXPECT_EQ(stdstring::strnicmp(a.c_str(), b.c_str(), n),
              strnicmpModel(a, b, n));
  }
}

// Expected flags: startsWith, startsWith ignoring case, endsWith, endsWith
// ignoring case.
TEST(StdStringSearch, StartsAndEndsWith) {
  using Row = std::tuple<std::string, std::string, const char*>;
  // clang-format off
  const Row rows[] = {
      {"", "", "1111"}, {"", "a", "0000"}, {"abc", "", "1111"}, {"a", "ab", "0000"},
      {"abc", "AB", "0100"}, {"xabc", "BC", "0001"}, {"Abc", "Abc", "1111"},
      {{"a\0b", 3}, {"a\0x", 3}, "1111"},  // stops at a shared NUL
  };
  // clang-format on
  using S = stdstring;
  for (const auto& [str, other, flags] : rows) {
    const std::string got{char('0' + S::startsWith(str, other, true)),
                          char('0' + S::startsWith(str, other, false)),
                          char('0' + S::endsWith(str, other, true)),
                          char('0' + S::endsWith(str, other, false))};
    EXPECT_EQ(got, flags) << str << " / " << other;
  }
  EXPECT_FALSE(S::startsWith("", '\0', false));
  EXPECT_FALSE(S::endsWith("", '\0', true));
  EXPECT_FALSE(S::startsWith("Abc", 'a', true));
  EXPECT_TRUE(S::startsWith("Abc", 'a', false));
  EXPECT_TRUE(S::endsWith("abC", 'c', false));
  EXPECT_FALSE(S::endsWith("ab\xC9", '\xE9', false));  // A-Z only
}

// Case is ignored here; the property below checks the case-sensitive form.
TEST(StdStringSearch, IndexOfAndLastIndexOfTables) {
  using Row = std::tuple<const char*, std::string, std::string, std::size_t,
                         std::size_t>;
  // clang-format off
  const Row forward[] = {
      {"first", "abcabc", "bc", 0, 1},       {"from 2", "abcabc", "bc", 2, 4},
      {"at from", "abcabc", "bc", 4, 4},     {"too late", "abcabc", "bc", 5, npos},
      {"empty sub at size", "abc", "", 3, 3}, {"empty sub past", "abc", "", 4, npos},
      {"empty both", "", "", 0, 0},          {"empty both from 1", "", "", 1, npos},
      {"from at size", "abc", "c", 3, npos},  {"case", "aBc", "bC", 0, 1},
      {"NUL is a byte", {"a\0b\0c", 5}, {"\0c", 2}, 0, 3},
  };
  const Row backward[] = {
      {"whole", "abcabc", "bc", npos, 4},    {"at from", "abcabc", "bc", 4, 4},
      {"from 3", "abcabc", "bc", 3, 1},      {"from 0", "abcabc", "bc", 0, npos},
      {"empty sub", "abc", "", 1, 1},        {"empty sub clamps", "abc", "", 9, 3},
      {"empty both", "", "", npos, 0},       {"sub longer", "a", "ab", 0, npos},
      {"case", "xABcab", "aB", npos, 4},
  };
  // clang-format on
  for (const auto& [name, str, sub, from, expected] : forward)
    EXPECT_EQ(stdstring::indexOf(str, sub, from, false), expected) << name;
  for (const auto& [name, str, sub, from, expected] : backward)
    EXPECT_EQ(stdstring::lastIndexOf(str, sub, from, false), expected) << name;
}

enum Splitter { kFree, kMember, kMemberChars, kRgx };

// Runs one splitter on a list holding a stale token (each must empty it and
// return the token count); shows tokens as "<a><><b>".
std::string split(Splitter which, const std::string& in, bool keepEmpty,
                  const std::string& sep = ",") {
  Tokens out{"stale"};
  const int count =
      which == kFree     ? TQBase::SplitString(out, in, sep[0], keepEmpty)
      : which == kMember ? stdstring::SplitString(out, in, sep[0], keepEmpty)
      : which == kMemberChars
          ? stdstring::SplitString(out, in.c_str(), sep[0], keepEmpty)
          : stdstring::SplitStringRgx(out, in, sep, !keepEmpty);
  EXPECT_EQ(count, static_cast<int>(out.size()));
  std::string shown;
  for (const std::string& t : out) shown += "<" + t + ">";
  return shown;
}

// The four splitters differ at their edges; each column is a contract.
TEST(StdStringSplit, ComparisonTable) {
  using Row = std::tuple<std::string, std::string, std::string, std::string,
                         std::string>;  // in, free, member, Rgx, all dropped
  // clang-format off
  const Row rows[] = {
      {"",     "<>",        "",          "<>",        ""},
      {"a",    "<a>",       "<a>",       "<a>",       "<a>"},
      {"a,b",  "<a><b>",    "<a><b>",    "<a><b>",    "<a><b>"},
      {",a",   "<><a>",     "<><a>",     "<><a>",     "<a>"},
      {"a,",   "<a><>",     "<a><>",     "<a><>",     "<a>"},
      {"a,,b", "<a><><b>",  "<a><><b>",  "<a><><b>",  "<a><b>"},
      {",",    "<><>",      "<><>",      "<><>",      ""},
  };
  // clang-format on
  for (const auto& [in, freeKeep, memberKeep, rgxKeep, allDrop] : rows) {
    SCOPED_TRACE("input '" + in + "'");
    EXPECT_EQ(split(kFree, in, true), freeKeep);
    EXPECT_EQ(split(kMember, in, true), memberKeep);
    EXPECT_EQ(split(kMemberChars, in, true), memberKeep);
    EXPECT_EQ(split(kRgx, in, true), rgxKeep);
    for (Splitter which : {kFree, kMember, kMemberChars, kRgx})
      EXPECT_EQ(split(which, in, false), allDrop) << which;
  }
}

TEST(StdStringSplit, NulAndSeparatorEdges) {
  const std::string nulInside("a\0,b", 4), nulFirst("\0a", 2);
  EXPECT_EQ(split(kFree, nulInside, true), "<a>");
  EXPECT_EQ(split(kMember, nulInside, true), "<a>");
  EXPECT_EQ(split(kRgx, nulInside, true), std::string("<a\0><b>", 7));
  EXPECT_EQ(split(kFree, nulFirst, true), "<>");
  EXPECT_EQ(split(kMember, nulFirst, true), "");
  EXPECT_EQ(split(kRgx, {"a\0b\0c", 5}, true, {"\0", 1}), "<a><b><c>");
  Tokens out{"stale"};
  EXPECT_EQ(stdstring::SplitString(out, nullptr, ','), 0);
  EXPECT_TRUE(out.empty());
  // A NUL separator cannot stand inside NUL-terminated text: one token.
  for (Splitter which : {kFree, kMember, kMemberChars})
    EXPECT_EQ(split(which, "a,b", true, {"\0", 1}), "<a,b>");
  // The Rgx separator is a plain byte string, matched without overlap.
  EXPECT_EQ(split(kRgx, "a:::b", true, "::"), "<a><:b>");
  EXPECT_EQ(split(kRgx, "aXbxc", true, "x"), "<aXb><c>");
  EXPECT_EQ(split(kRgx, "abc", true, ""), "<>");
  EXPECT_EQ(split(kRgx, "abc", false, ""), "");
  EXPECT_EQ(split(kRgx, "a1b2c", true, "[0-9]"), "<a1b2c>");
}

TEST(StdStringSplit, JoinAddsSeparatorOnlyBehindText) {
  using Row = std::tuple<Tokens, std::string, std::string>;
  // clang-format off
  const Row rows[] = {
      {{}, ",", ""}, {{"", ""}, ",", ""}, {{"a", "b"}, ",", "a,b"}, {{"", "", "a"}, ",", "a"},
      {{"a", ""}, ",", "a,"}, {{"a", "", "b"}, ",", "a,,b"}, {{"", "a", "", "b", ""}, ",", "a,,b,"},
      {{"a", "b"}, "", "ab"}, {{"a", "b", "c"}, "<->", "a<->b<->c"},
  };
  // clang-format on
  for (const auto& [items, sep, expected] : rows)
    EXPECT_EQ(stdstring::JoinString(items, sep), expected);
}

TEST(StdStringTransform, TrimmedRemovesOnlyAsciiSpace) {
  using Row = std::tuple<std::string, std::string>;
  // clang-format off
  const Row rows[] = {
      {"", ""}, {"a b", "a b"}, {"\t\n\v\f\r ", ""}, {std::string(40, ' '), ""},
      {" \t x y\r\n", "x y"},
      {{" \0a\0 ", 5}, {"\0a\0", 3}}, {{"\0 a", 3}, {"\0 a", 3}},  // NUL is not space
      {"\xA0" "a\xA0", "\xA0" "a\xA0"}, {"\x1F" "a\x1C", "\x1F" "a\x1C"},  // nor NBSP, controls
  };
  // clang-format on
  for (const auto& [in, out] : rows) {
    std::string s = in;
    stdstring::trimmed(s);
    EXPECT_EQ(s, out) << in;
  }
  std::string untouched(100, 'x');
  const char* buffer = untouched.data();
  stdstring::trimmed(untouched);
  EXPECT_EQ(untouched.data(), buffer);  // nothing to trim: no new buffer
}

TEST(StdStringTransform, SubstrNeverThrows) {
  const std::string h = "hello";
  EXPECT_EQ(stdstring::substr(h, 1, 3), "ell");
  EXPECT_EQ(stdstring::substr(h, 1, 100), "ello");
  EXPECT_EQ(stdstring::substr(h, 5, 1), "");
  EXPECT_EQ(stdstring::substr(h, 6, 1), "");
  EXPECT_EQ(stdstring::substr({"a\0b", 3}, 1), std::string("\0b", 2));
  const std::wstring w = L"hello";
  EXPECT_EQ(stdstring::substr(w, 1, 3), L"ell");
  EXPECT_EQ(stdstring::substr(w, 9), L"");
}

// Random texts are held to a model in SearchPropertyTest; here the wide
// form and an empty `before`, which replaces nothing.
TEST(StdStringTransform, ReplaceWideAndEmptyBefore) {
  std::wstring w = L"a--b--";
  EXPECT_EQ(stdstring::replace(w, std::wstring(L"--"), std::wstring(L"+")), 2);
  EXPECT_EQ(w, L"a+b+");
  std::string s = "abc";
  EXPECT_EQ(stdstring::replace(s, std::string(), std::string("x")), 0);
  EXPECT_EQ(s, "abc");
}

TEST(StdStringTransform, FormatStringKeepsExactLength) {
  EXPECT_EQ(stdstring::FormatString("%s", ""), "");
  EXPECT_EQ(stdstring::FormatString("a%cb", 0), std::string("a\0b", 3));
  const std::string big(100000, 'q');
  EXPECT_EQ(stdstring::FormatString("<%s>", big.c_str()), "<" + big + ">");
}

// A byte scan, not a parser: every row, the odd ones included, is behaviour.
TEST(StdStringJsonMask, MaskingTable) {
  using Row =
      std::tuple<std::string, std::list<std::string>, char, std::string>;
  // clang-format off
  const Row rows[] = {
      {R"({"user":"bob","password":"abc123","age":30})", {"password"}, '*', R"({"user":"bob","password":********,"age":30})"},
      {R"({"Token":"abc","x":1})", {"token"}, '#', R"({"Token":#####,"x":1})"},
      {R"({"pwd":"a","list":[{"pwd":"b"},{"pwd":12}]})", {"pwd"}, '*', R"({"pwd":***,"list":[{"pwd":***},{"pwd":**}]})"},
      {R"({"k":null,"k":true})", {"K"}, 'x', R"({"k":xxxx,"k":xxxx})"},
      {R"({"k":"a,b"})", {"k"}, '*', R"({"k":**,b"})"},
      {R"({"k":{"x":1,"y":2},"z":3})", {"k"}, '*', R"({"k":******,"y":2},"z":3})"},
      {R"({"k":[1,2,3],"z":3})", {"k"}, '*', R"({"k":**,2,3],"z":3})"},
      {R"({"a":"id","b":2})", {"id"}, '*', R"({"a":"id","b":*})"},
      {R"({"userid":7,"id":8})", {"id"}, '*', R"({"userid":*,"id":*})"},
      {R"({"a":1})", {R"("a")"}, '*', R"({"a":*})"},
      {R"({"aa":1})", {R"("a")"}, '*', R"({"aa":1})"},
      {R"({"a:b":1,"c":2})", {"a:b"}, '*', R"({"a:****,"c":2})"},
      {R"({"a" : "x" , "b" : 2})", {"a"}, '*', R"({"a" :*****, "b" : 2})"},
      {R"({"a":1 })", {"a"}, '*', R"({"a":**})"},
      {R"({"b":"a:1,","a":2})", {"b", "a"}, '*', R"({"b":****,","a":*})"},
      {"a:1,a:2,a:3", {"a"}, '*', "a:*,a:*,a:3"},
      {R"({"k":1)", {"k"}, '*', R"({"k":1)"},
      {R"({"a":1,"b":2)", {"b", "a"}, '*', R"({"a":*,"b":2)"},
      {R"({"k":)", {"k"}, '*', R"({"k":)"},
      {R"({"k")", {"k"}, '*', R"({"k")"},
      {R"({"k":,"z":3})", {"k"}, '*', R"({"k":,"z":3})"},
      {R"({"a":1,"b":2})", {""}, '*', R"({"a":*,"b":*})"},
      {R"({"a":12,"b":3})", {"a"}, ',', R"({"a":,,,"b":3})"},
      {"plain text", {"text"}, '*', "plain text"},
      {"", {"a", ""}, '*', ""},
      {R"({"a":1})", {}, '*', R"({"a":1})"},
  };
  // clang-format on
  for (const auto& [json, keys, mask, expected] : rows)
    EXPECT_EQ(stdstring::MaskJsonValue(json, keys, mask), expected) << json;
}

}  // namespace
