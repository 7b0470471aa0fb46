#include "TQBase/StdString.h"

#include <gtest/gtest.h>

#include <list>
#include <string>

using TQBase::stdstring;

namespace {

// A byte scan, not a parser: every row, the odd ones included, is behaviour.
TEST(StdStringJsonMask, MaskingTable) {
  struct Row {
    std::string json;
    std::list<std::string> keys;
    char mask;
    std::string expected;
  };
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
  for (const Row& row : rows) {
    EXPECT_EQ(stdstring::MaskJsonValue(row.json, row.keys, row.mask),
              row.expected)
        << row.json;
  }
}

// Long texts take the block search; the answer must not change with length.
TEST(StdStringJsonMask, LongTextMasksEveryOccurrence) {
  std::string json = "{", expected = "{";
  for (int i = 0; i < 200; ++i) {
    const std::string value = "\"v" + std::to_string(i) + "\"";
    json += R"("Secret":)" + value + R"(,"n":1,)";
    expected += R"("Secret":)" + std::string(value.size(), '*') + R"(,"n":1,)";
  }
  EXPECT_EQ(stdstring::MaskJsonValue(json + "}", {"sECRET"}, '*'),
            expected + "}");
}

}  // namespace
