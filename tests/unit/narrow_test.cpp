// SPDX-License-Identifier: Apache-2.0
// Sizes that 32-bit pointers still reach, and 32-bit counts of something else do not.
#include <cstring>
#include <string>

#include "camutl/bmp_file.h"
#include "camutl/rwh_file.h"
#include "support/repeated.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

// What the last file was asked to write or read: how many bytes, and whether any count was negative.
struct Counts {
  std::uint64_t bytes = 0;
  std::uint64_t calls = 0;
  bool negative = false;
};
Counts g_counts;

// A file that moves no byte, but for a header that is there to be read.
class CountingFile {
 public:
  CountingFile(const char *, std::ios::openmode) { g_counts = {}; }
  bool is_open() const { return true; }
  void close() {}
  void write(const char *, std::streamsize count) { Count(count); }
  void read(char *bytes, std::streamsize count) {
    const std::uint32_t header[4] = {0x01080001, 65535, 40000, 65535};
    if (g_counts.calls == 0) std::memcpy(bytes, header, sizeof header);
    Count(count);
  }
  std::streamsize gcount() const { return 16; }

 private:
  static void Count(std::streamsize count) {
    ++g_counts.calls;
    g_counts.negative = g_counts.negative || count < 0;
    g_counts.bytes += static_cast<std::uint64_t>(count);
  }
};

constexpr std::uint64_t kFrame = std::uint64_t{65535} * 40000;  // more than 2^31, less than 2^32

TEST(Narrow, FilesOfMoreThanASignedCountAreWrittenWhole) {
  const std::uint8_t byte = 0;
  EXPECT_EQ(Kivo::SaveRwh<CountingFile>(&byte, {0x01080001, 65535, 40000, 65535}, ""), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(g_counts.bytes, 16 + kFrame);
  EXPECT_FALSE(g_counts.negative);
  // One row of so many bytes, and the padding behind it.
  EXPECT_EQ(Kivo::SaveBmp<CountingFile>(Kivo::c_sBmpMono, &byte, 0x9C3F63C1, 1, 0, ""), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(g_counts.bytes, 14 + 40 + 1024 + std::uint64_t{0x9C3F63C4});
  EXPECT_FALSE(g_counts.negative);
}

TEST(Narrow, FilesOfMoreThanASignedCountAreReadWhole) {
  std::uint8_t header[16] = {};
  std::uint8_t *frame = header;
  Kivo::RwhHeader read{};
  EXPECT_EQ(Kivo::LoadRwh<CountingFile>("", &frame, read), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(read.uiWidth, 65535u);
  EXPECT_EQ(g_counts.bytes, 16 + kFrame);
  EXPECT_FALSE(g_counts.negative);
}

TEST(Narrow, AnEmptyFrameIsABlockOfNothing) {
  const std::uint8_t byte = 0;
  EXPECT_EQ(Kivo::SaveRwh<CountingFile>(&byte, {0x01080001, 0, 7, 0}, ""), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(g_counts.bytes, 16u);
}

// A frame of 4:1:1 has a byte and a half for each pixel, and six for each four of them.
TEST(Narrow, FramesOfFewerBytesThanSixTimesTheirPixelsAreReversedWhole) {
  if (sizeof(void *) != 4) GTEST_SKIP() << "a pointer has more than 32 bits";
  constexpr std::uint32_t kPixels = 720896000;
  constexpr std::size_t kBytes = std::size_t{kPixels} / 4 * 6;
  Repeated src(kBytes), dst(kBytes);
  ASSERT_TRUE(src.ok() && dst.ok());
  const std::uint8_t last[6] = {1, 2, 3, 4, 5, 6};
  const struct {
    std::uint32_t width, height;
    bool vertical;
  } cases[] = {{32768, 22000, false}, {kPixels, 1, true}};  // a frame of so many bytes, and a row
  for (const auto &c : cases) {
    SCOPED_TRACE(c.width);
    std::memset(dst.last_block(), 0x77, kBlock);
    std::memcpy(src.data() + kBytes - sizeof last, last, sizeof last);
    ASSERT_EQ(
        ReverseImg(dst.data(), src.data(), CAMUTL_PFNC_YUV411_8_UYYVYY, c.width, c.height, false, c.vertical),
        CAMUTL_STS_SUCCESS);
    EXPECT_EQ(std::memcmp(dst.data() + kBytes - sizeof last, last, sizeof last), 0);
  }
}

}  // namespace
}  // namespace KivoTest
