#include "TQBase/StdString.h"

#include <gtest/gtest.h>

#include <list>
#include <string>

using TQBase::stdstring;
using Tokens = std::list<std::string>;

namespace {

// Tokens as "<a><><b>" so a table row fits on a line; no token is "".
std::string show(const Tokens& tokens) {
  std::string shown;
  for (const std::string& t : tokens) shown += "<" + t + ">";
  return shown;
}

enum Splitter { kFree, kMember, kMemberChars, kRgx };

// Runs one splitter on a list that held a stale token; each must empty it
// and return the number of tokens.
std::string split(Splitter which, const std::string& in, bool keepEmpty,
                  const std::string& sep = ",") {
  Tokens out{"stale"};
  int count = 0;
  switch (which) {
    case kFree:
      count = TQBase::SplitString(out, in, sep[0], keepEmpty);
      break;
    case kMember:
      count = stdstring::SplitString(out, in, sep[0], keepEmpty);
      break;
    case kMemberChars:
      count = stdstring::SplitString(out, in.c_str(), sep[0], keepEmpty);
      break;
    case kRgx:
      count = stdstring::SplitStringRgx(out, in, sep, !keepEmpty);
      break;
  }
  EXPECT_EQ(count, static_cast<int>(out.size()));
  return show(out);
}

// The four splitters differ at their edges; each column is a contract.
TEST(StdStringSplit, ComparisonTable) {
  struct Row {
    std::string in, freeKeep, memberKeep, rgxKeep, allDrop;
  };
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
  for (const Row& r : rows) {
    SCOPED_TRACE("input '" + r.in + "'");
    EXPECT_EQ(split(kFree, r.in, true), r.freeKeep);
    EXPECT_EQ(split(kMember, r.in, true), r.memberKeep);
    EXPECT_EQ(split(kMemberChars, r.in, true), r.memberKeep);
    EXPECT_EQ(split(kRgx, r.in, true), r.rgxKeep);
    for (Splitter which : {kFree, kMember, kMemberChars, kRgx}) {
      EXPECT_EQ(split(which, r.in, false), r.allDrop) << which;
    }
  }
}

TEST(StdStringSplit, NulEdges) {
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
  for (Splitter which : {kFree, kMember, kMemberChars}) {
    EXPECT_EQ(split(which, "a,b", true, {"\0", 1}), "<a,b>");
  }
}

TEST(StdStringSplit, RgxMatchesPlainBytes) {
  EXPECT_EQ(split(kRgx, "a::b", true, "::"), "<a><b>");
  EXPECT_EQ(split(kRgx, "a:::b", true, "::"), "<a><:b>");
  EXPECT_EQ(split(kRgx, "aXbxc", true, "x"), "<aXb><c>");
  EXPECT_EQ(split(kRgx, "abc", true, ""), "<>");
  EXPECT_EQ(split(kRgx, "abc", false, ""), "");
  EXPECT_EQ(split(kRgx, "a1b2c", true, "[0-9]"), "<a1b2c>");
}

TEST(StdStringSplit, JoinAddsSeparatorOnlyBehindText) {
  struct Row {
    Tokens items;
    std::string sep, expected;
  };
  // clang-format off
  const Row rows[] = {
      {{}, ",", ""}, {{"", ""}, ",", ""}, {{"a", "b"}, ",", "a,b"}, {{"", "", "a"}, ",", "a"},
      {{"a", ""}, ",", "a,"}, {{"a", "", "b"}, ",", "a,,b"}, {{"", "a", "", "b", ""}, ",", "a,,b,"},
      {{"a", "b"}, "", "ab"}, {{"a", "b", "c"}, "<->", "a<->b<->c"},
  };
  // clang-format on
  for (const Row& row : rows) {
    EXPECT_EQ(stdstring::JoinString(row.items, row.sep), row.expected)
        << show(row.items);
  }
}

}  // namespace
