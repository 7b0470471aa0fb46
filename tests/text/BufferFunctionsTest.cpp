// What fuzz/BufferFunctions does not reach: null buffers, sizes below one
// for NStrCpy, overlapping copies, and texts longer than its inputs.
#include "TQBase/BufferFunctions.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace TQBase;

TEST(BufferHex, NullBuffersWithNothingToDo) {
  EXPECT_EQ(BufToHex(nullptr, 0, nullptr), 0);
  EXPECT_EQ(HexToBuf(nullptr, 1, nullptr), 0);  // half a pair is ignored
}

// A text long enough for the filter and its budget: FindStr measures it in
// growing chunks (the first of 6000 bytes for this needle), and a match
// across a chunk's end is still found.
TEST(BufferSearch, FindStrAcrossMeasuredChunks) {
  std::string text(20000, 'a');
  std::string needle(3000, 'a');
  needle[1500] = 'b';
  text.replace(4000, needle.size(), needle);
  EXPECT_EQ(FindStr(&text[0], &needle[0], -1), &text[4000]);
  EXPECT_EQ(FindStr(&text[0], &needle[0], 6999), nullptr);
  EXPECT_EQ(FindStr(&text[0], &needle[0], 7000), &text[4000]);
  char small[] = "b";
  EXPECT_EQ(FindStr(&text[0], small, 4096), nullptr);
}

// NStrCpy writes the NUL even for a size below one; it copies forward, so
// the destination may be the source. StringReplace accepts a null text.
TEST(BufferCopy, NStrCpyEdgesAndNullReplace) {
  for (int size : {0, -1}) {
    char copied[] = "###";
    EXPECT_EQ(NStrCpy(copied, "hello", size), 0);
    EXPECT_EQ(std::memcmp(copied, "\0##", 4), 0);
  }
  char same[] = "hello";
  EXPECT_EQ(NStrCpy(same, same, 4), 3);
  EXPECT_EQ(std::memcmp(same, "hel\0o", 6), 0);
  StringReplace(nullptr, 'a', 'b');
}

}  // namespace
