// GetTempPathW when TMPDIR cannot be used: every kind of byte string that is
// no well-formed UTF-8 falls back to /tmp, and with no usable directory at
// all the result is empty. The last case needs /tmp to vanish, so this
// program puts its own stat() in front of the C library's.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

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

namespace fs = std::filesystem;

TEST(TempDirFallback, NamesThatAreNoUtf8FallBackToTmp) {
  char scratch[] = "/tmp/tqbase-tempdir-XXXXXX";
  ASSERT_NE(mkdtemp(scratch), nullptr);
  const std::string base = std::string(scratch) + "/";
  const char* const names[] = {
      "\xC0\xAF",          // overlong '/'
      "\xE0\x80\xAF",      // overlong, three bytes
      "\xF0\x80\x80\xAF",  // overlong, four bytes
      "\xED\xA0\x80",      // a surrogate
      "\xF4\x90\x80\x80",  // above U+10FFFF
      "\xF5\x80\x80\x80",  // no lead byte
      "\xE4\xB8",          // cut off
      "\xC3\x41",          // no continuation byte
      "\x80",              // continuation without lead
  };
  for (const char* name : names) {
    const std::string dir = base + name;
    ASSERT_TRUE(fs::create_directory(dir)) << dir;
    ASSERT_EQ(setenv("TMPDIR", dir.c_str(), 1), 0);
    EXPECT_EQ(GetTempPathW(), "/tmp/") << dir;
  }
  // Good UTF-8 next to them is taken as it stands.
  const std::string good = base + "\xC3\xA9\xE4\xB8\xAD";
  ASSERT_TRUE(fs::create_directory(good));
  ASSERT_EQ(setenv("TMPDIR", good.c_str(), 1), 0);
  EXPECT_EQ(GetTempPathW(), good + "/");
  unsetenv("TMPDIR");
  fs::remove_all(scratch);
}

TEST(TempDirFallback, NoUsableDirectoryGivesTheEmptyString) {
  ASSERT_EQ(setenv("TMPDIR", "/tmp", 1), 0);
  EXPECT_EQ(GetTempPathW(), "/tmp/");
  gNothingExists = true;
  const std::string none = GetTempPathW();
  gNothingExists = false;
  EXPECT_EQ(none, "");
  unsetenv("TMPDIR");
  EXPECT_EQ(GetTempPathW(), "/tmp/");
}

}  // namespace
}  // namespace TQBase
