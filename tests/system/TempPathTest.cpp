#include "TQBase/System.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace TQBase {
namespace {

namespace fs = std::filesystem;

// Each test points TMPDIR at directories under a scratch directory of its
// own and puts the variable back afterwards.
class TempPath : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const char* saved = std::getenv("TMPDIR")) saved_ = saved;
    hadTmpDir_ = std::getenv("TMPDIR") != nullptr;
    std::random_device entropy;
    scratch_ = "/tmp/tqbase-temppath-" + std::to_string(entropy());
    fs::create_directory(scratch_);
  }
  void TearDown() override {
    if (hadTmpDir_)
      setenv("TMPDIR", saved_.c_str(), 1);
    else
      unsetenv("TMPDIR");
    fs::remove_all(scratch_);
  }

  std::string makeDirectory(const std::string& name) {
    const std::string path = scratch_ + "/" + name;
    fs::create_directory(path);
    return path;
  }

  std::string scratch_;
  std::string saved_;
  bool hadTmpDir_ = false;
};

TEST_F(TempPath, UsesExistingTmpDirWithUtf8Name) {
  // "中文" and "é" keep their bytes through the wide form.
  const std::string dir = makeDirectory("\xE4\xB8\xAD\xE6\x96\x87-\xC3\xA9");
  setenv("TMPDIR", dir.c_str(), 1);
  EXPECT_EQ(GetTempPathW(), dir + "/");
  setenv("TMPDIR", (dir + "/").c_str(), 1);
  EXPECT_EQ(GetTempPathW(), dir + "/");
}

TEST_F(TempPath, FallsBackToTmpForUnusableTmpDir) {
  std::ofstream(scratch_ + "/file") << "x";
  const std::string invalidUtf8 = makeDirectory("bad\xFF");
  const std::string candidates[] = {"", scratch_ + "/missing",
                                    scratch_ + "/file", invalidUtf8};
  for (const std::string& candidate : candidates) {
    SCOPED_TRACE(candidate);
    setenv("TMPDIR", candidate.c_str(), 1);
    EXPECT_EQ(GetTempPathW(), "/tmp/");
  }
  unsetenv("TMPDIR");
  EXPECT_EQ(GetTempPathW(), "/tmp/");
}

TEST_F(TempPath, LimitCountsCharactersNotBytes) {
  // The path with its "/" may take 259 characters; each "中" is one of them
  // (and three bytes, so components stay short of the 255-byte name limit).
  std::string fits = scratch_;
  for (std::size_t length = scratch_.size(); length < 258;) {
    fits += '/';
    ++length;
    std::string component;
    for (int i = 0; i < 80 && length < 258; ++i, ++length)
      component += "\xE4\xB8\xAD";
    fits += component;
  }
  fs::create_directories(fits);
  setenv("TMPDIR", fits.c_str(), 1);
  EXPECT_EQ(GetTempPathW(), fits + "/");

  const std::string tooLong = fits + "\xE4\xB8\xAD";
  fs::create_directory(tooLong);
  setenv("TMPDIR", tooLong.c_str(), 1);
  EXPECT_EQ(GetTempPathW(), "/tmp/");
}

}  // namespace
}  // namespace TQBase
