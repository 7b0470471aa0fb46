#include "TQBase/StdString.h"

#include <gtest/gtest.h>

#include <list>
#include <string>

using TQBase::stdstring;
using Tokens = std::list<std::string>;

namespace {

// The four splitters differ at their edges; each column is their contract.
TEST(StdStringSplit, ComparisonTable) {
  struct Row {
    std::string input;
    Tokens freeKeep, memberKeep, rgxKeep, allDrop;
  } rows[] = {
      {"", {""}, {}, {""}, {}},
      {"a", {"a"}, {"a"}, {"a"}, {"a"}},
      {"a,b", {"a", "b"}, {"a", "b"}, {"a", "b"}, {"a", "b"}},
      {",a", {"", "a"}, {"", "a"}, {"", "a"}, {"a"}},
      {"a,", {"a", ""}, {"a", ""}, {"a", ""}, {"a"}},
      {"a,,b", {"a", "", "b"}, {"a", "", "b"}, {"a", "", "b"}, {"a", "b"}},
      {",", {"", ""}, {"", ""}, {"", ""}, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE("input '" + row.input + "'");
    Tokens out{"stale"};
    EXPECT_EQ(TQBase::SplitString(out, row.input, ',', true),
              int(row.freeKeep.size()));
    EXPECT_EQ(out, row.freeKeep);
    out = {"stale"};
    EXPECT_EQ(stdstring::SplitString(out, row.input, ',', true),
              int(row.memberKeep.size()));
    EXPECT_EQ(out, row.memberKeep);
    out = {"stale"};
    EXPECT_EQ(stdstring::SplitStringRgx(out, row.input, ",", false),
              int(row.rgxKeep.size()));
    EXPECT_EQ(out, row.rgxKeep);
    out = {"stale"};
    EXPECT_EQ(TQBase::SplitString(out, row.input, ',', false),
              int(row.allDrop.size()));
    EXPECT_EQ(out, row.allDrop);
    out = {"stale"};
    EXPECT_EQ(stdstring::SplitString(out, row.input.c_str(), ',', false),
              int(row.allDrop.size()));
    EXPECT_EQ(out, row.allDrop);
    out = {"stale"};
    EXPECT_EQ(stdstring::SplitStringRgx(out, row.input, ",", true),
              int(row.allDrop.size()));
    EXPECT_EQ(out, row.allDrop);
  }
}

TEST(StdStringSplit, NulEndsCharFormsButNotRgx) {
  Tokens out;
  const std::string text("a\0,b", 4);
  EXPECT_EQ(TQBase::SplitString(out, text, ','), 1);
  EXPECT_EQ(out, Tokens{"a"});
  EXPECT_EQ(stdstring::SplitString(out, text, ','), 1);
  EXPECT_EQ(out, Tokens{"a"});
  EXPECT_EQ(stdstring::SplitStringRgx(out, text, ","), 2);
  EXPECT_EQ(out, (Tokens{std::string("a\0", 2), "b"}));

  const std::string leadingNul("\0a", 2);
  EXPECT_EQ(TQBase::SplitString(out, leadingNul, ',', true), 1);
  EXPECT_EQ(out, Tokens{""});
  EXPECT_EQ(stdstring::SplitString(out, leadingNul, ',', true), 0);
  EXPECT_TRUE(out.empty());
  out = {"stale"};
  EXPECT_EQ(stdstring::SplitString(out, static_cast<const char*>(nullptr), ','),
            0);
  EXPECT_TRUE(out.empty());

  EXPECT_EQ(stdstring::SplitStringRgx(out, std::string("a\0b\0c", 5),
                                      std::string(1, '\0')),
            3);
  EXPECT_EQ(out, (Tokens{"a", "b", "c"}));
}

// A NUL separator cannot stand inside NUL-terminated text: the text is one
// token.
TEST(StdStringSplit, NulSeparatorGivesWholeText) {
  Tokens out;
  EXPECT_EQ(TQBase::SplitString(out, "a,b", '\0'), 1);
  EXPECT_EQ(out, Tokens{"a,b"});
  EXPECT_EQ(stdstring::SplitString(out, "a,b", '\0'), 1);
  EXPECT_EQ(out, Tokens{"a,b"});
  EXPECT_EQ(TQBase::SplitString(out, "", '\0', false), 0);
}

TEST(StdStringSplit, RgxMatchesPlainBytes) {
  Tokens out;
  EXPECT_EQ(stdstring::SplitStringRgx(out, "a::b", "::"), 2);
  EXPECT_EQ(out, (Tokens{"a", "b"}));
  EXPECT_EQ(stdstring::SplitStringRgx(out, "a:::b", "::"), 2);
  EXPECT_EQ(out, (Tokens{"a", ":b"}));
  EXPECT_EQ(stdstring::SplitStringRgx(out, "aXbxc", "x"), 2);
  EXPECT_EQ(out, (Tokens{"aXb", "c"}));
  EXPECT_EQ(stdstring::SplitStringRgx(out, "abc", "", false), 1);
  EXPECT_EQ(out, Tokens{""});
  EXPECT_EQ(stdstring::SplitStringRgx(out, "abc", "", true), 0);
  EXPECT_EQ(stdstring::SplitStringRgx(out, "a1b2c", "[0-9]"), 1);
  EXPECT_EQ(out, Tokens{"a1b2c"});
}

TEST(StdStringSplit, JoinSkipsSeparatorWhileResultEmpty) {
  struct Row {
    Tokens items;
    std::string sep, expected;
  } rows[] = {
      {{}, ",", ""},
      {{"", ""}, ",", ""},
      {{"a", "b"}, ",", "a,b"},
      {{"a"}, ",", "a"},
      {{"", "a"}, ",", "a"},
      {{"", "", "a"}, ",", "a"},
      {{"a", ""}, ",", "a,"},
      {{"a", "", "b"}, ",", "a,,b"},
      {{"", "a", "", "b", ""}, ",", "a,,b,"},
      {{"a", "b"}, "", "ab"},
      {{"a", "b", "c"}, "<->", "a<->b<->c"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.expected);
    EXPECT_EQ(stdstring::JoinString(row.items, row.sep), row.expected);
  }
  const Tokens items{"x", "y"};
  EXPECT_EQ(stdstring::JoinString(items, items.front()), "xxy");
}

}  // namespace
