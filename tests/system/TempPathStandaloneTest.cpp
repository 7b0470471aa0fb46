// GetTempPathW takes TMPDIR when it names a directory whose path, with its
// "/", is well-formed UTF-8 of at most 259 characters; else /tmp; with no
// usable directory at all, the empty string. The last case needs /tmp to
// vanish, so this program puts its own stat() in front of the C library's.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "TQBase/System.h"

namespace {

bool gNothingExists = false;

}  // namespace

// Seen by the library through its dynamic symbol lookup, before libc's.
extern "C" int stat(const char* path, struct stat* buf) noexcept {
  if (gNothingExists) {
    errno = ENOENT;
    return -1;
  }
  return fstatat(AT_FDCWD, path, buf, 0);
}

namespace TQBase {
namespace {

std::string tempPathFor(const std::string& tmpdir) {
  setenv("TMPDIR", tmpdir.c_str(), 1);
  return GetTempPathW();
}

TEST(TempPath, UsesTmpDirOnlyWhenUsable) {
  char scratch[] = "/tmp/tqbase-temppath-XXXXXX";
  ASSERT_NE(mkdtemp(scratch), nullptr);
  const std::string s = scratch;
  const std::string utf8 = s + "/\xE4\xB8\xAD\xE6\x96\x87-\xC3\xA9";
  // The limit counts characters, not bytes: each "中" is one of them.
  std::string fits = s;  // 258 characters, 259 with the "/"
  for (std::size_t n = fits.size(); n < 258; ++n)
    fits += (n - s.size()) % 80 ? "\xE4\xB8\xAD" : "/";
  // Directories one character too long, or named by no well-formed UTF-8:
  // overlong forms of '/' in two, three and four bytes, a surrogate, above
  // U+10FFFF, no lead byte, cut off, no continuation byte, continuation
  // without lead.
  std::vector<std::string> bad{fits + "\xE4\xB8\xAD"};
  for (const char* name :
       {"\xC0\xAF", "\xE0\x80\xAF", "\xF0\x80\x80\xAF", "\xED\xA0\x80",
        "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xE4\xB8", "\xC3\x41", "\x80"})
    bad.push_back(s + "/" + name);
  // Usable ones, then missing, no directory and empty.
  std::vector<std::pair<std::string, std::string>> rows{
      {utf8, utf8 + "/"},     {utf8 + "/", utf8 + "/"}, {fits, fits + "/"},
      {s + "/none", "/tmp/"}, {"/dev/null", "/tmp/"},   {"", "/tmp/"}};
  std::filesystem::create_directories(utf8);
  std::filesystem::create_directories(fits);
  for (const std::string& dir : bad) {
    ASSERT_TRUE(std::filesystem::create_directories(dir)) << dir;
    rows.emplace_back(dir, "/tmp/");
  }
  for (const auto& [dir, want] : rows) EXPECT_EQ(tempPathFor(dir), want) << dir;
  unsetenv("TMPDIR");
  EXPECT_EQ(GetTempPathW(), "/tmp/");
  gNothingExists = true;
  const std::string none = GetTempPathW();
  gNothingExists = false;
  EXPECT_EQ(none, "");
  std::filesystem::remove_all(s);
}

}  // namespace
}  // namespace TQBase
