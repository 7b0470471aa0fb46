#include "TQBase/System.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace TQBase {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

TEST(TempPath, UsesTmpDirOnlyWhenUsable) {
  char scratch[] = "/tmp/tqbase-temppath-XXXXXX";
  ASSERT_NE(mkdtemp(scratch), nullptr);
  const std::string s = scratch;
  const std::string utf8 = s + "/\xE4\xB8\xAD\xE6\x96\x87-\xC3\xA9";
  // The limit counts characters, not bytes: each "中" is one of them.
  std::string fits = s;  // 258 characters, 259 with the "/"
  for (std::size_t n = fits.size(); n < 258; ++n)
    fits += (n - s.size()) % 80 ? "\xE4\xB8\xAD" : "/";
  const std::string tooLong = fits + "\xE4\xB8\xAD";
  for (const std::string& dir : {utf8, s + "/bad\xFF", fits, tooLong})
    fs::create_directories(dir);
  auto tempPathFor = [](const std::string& tmpdir) {
    setenv("TMPDIR", tmpdir.c_str(), 1);
    return GetTempPathW();
  };
  EXPECT_EQ(tempPathFor(utf8), utf8 + "/");
  EXPECT_EQ(tempPathFor(utf8 + "/"), utf8 + "/");
  EXPECT_EQ(tempPathFor(fits), fits + "/");
  // Too long, missing, not a directory, not UTF-8, empty.
  for (const std::string& bad :
       {tooLong, s + "/none", "/dev/null"s, s + "/bad\xFF", ""s})
    EXPECT_EQ(tempPathFor(bad), "/tmp/") << bad;
  unsetenv("TMPDIR");
  EXPECT_EQ(GetTempPathW(), "/tmp/");
  fs::remove_all(s);
}

}  // namespace
}  // namespace TQBase
