// SPDX-License-Identifier: Apache-2.0
// Frames of more than 2^32 bytes. Only the pixels behind that mark are looked at, so the memory in front of
// it is one small block, mapped again and again.
#include <KivoCamUtl.hpp>
#include <cstring>

#include "support/repeated.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

constexpr std::uint32_t kWidth = 32768, kHeight = 32784;  // 2^30 + 2^19 pixels

void ExpectLastRows(const Converter &converter, std::size_t sample_bytes) {
  SCOPED_TRACE(converter.name);
  const std::size_t row = std::size_t{kWidth} * sample_bytes;
  Repeated src(row * kHeight), dst(DestinationBytes(converter, kWidth, kHeight));
  if (!src.ok() || !dst.ok()) GTEST_SKIP() << "not enough address space";
  std::memset(src.data(), 0x33, kBlock);
  Random random(29);
  // The last 16 rows hold noise.
  constexpr std::uint32_t kRows = 16;
  std::uint8_t *const tail = src.data() + row * (kHeight - kRows);
  for (std::size_t i = 0; i < row * kRows; ++i) tail[i] = static_cast<std::uint8_t>(random.Next());
  ASSERT_EQ(converter(dst.data(), src.data(), kWidth, kHeight, 4), CAMUTL_STS_SUCCESS);

  // The tail alone gives the same pixels but for its first rows, whose neighbours above are missing.
  Bytes expected(DestinationBytes(converter, kWidth, kRows));
  Reference::Convert(converter, expected.data(), tail, kWidth, kRows, 4);
  const std::size_t skip = DestinationBytes(converter, kWidth, 4);
  const std::uint8_t *const result = dst.data() + DestinationBytes(converter, kWidth, kHeight - kRows);
  EXPECT_GE(result + skip - dst.data(), std::ptrdiff_t{1} << 32);
  EXPECT_EQ(std::memcmp(result + skip, expected.data() + skip, expected.size() - skip), 0);
}

TEST(LargeFrames, Mono8) {
  PrepareLUT();
  ExpectLastRows(Find("ConvMono8ToBGRA"), 1);
}
TEST(LargeFrames, Bayer8) {
  ExpectLastRows(Find("ConvByrGR8ToBGRA"), 1);
}
TEST(LargeFrames, Acpi8) {
  ExpectLastRows(Find("ConvByrGB8ToBGRAACPI"), 1);
}
TEST(LargeFrames, Bayer16) {
  ExpectLastRows(Find("ConvByrRGNToBGRA"), 2);
}

// A row of more colours than 32 bits can count.
TEST(LargeFrames, ARowOfTheCppLayer) {
  constexpr std::uint32_t width = 0xFFFFFFFFU / 3 + 1000;
  Repeated src(std::size_t{width} * 3), dst(std::size_t{width} * 4);
  if (!src.ok() || !dst.ok()) GTEST_SKIP() << "not enough address space";
  std::memset(src.data(), 0x33, kBlock);
  const std::uint8_t last[] = {4, 5, 6, 1, 2, 3};
  std::memcpy(src.data() + 3 * (std::size_t{width} - 2), last, sizeof last);
  const kivo::FrameView view = {src.data(), std::size_t{width} * 3, CAMUTL_PFNC_RGB8, width, 1};
  const std::uint32_t *const pixels = static_cast<std::uint32_t *>(static_cast<void *>(dst.data()));
  ASSERT_EQ(kivo::convertTo({dst.data(), std::size_t{width} * 4, 0}, view), kivo::Errc::Ok);
  EXPECT_EQ(pixels[width - 1], 0xFF010203U);
  EXPECT_EQ(pixels[width - 2], 0xFF040506U);
}

}  // namespace
}  // namespace KivoTest
