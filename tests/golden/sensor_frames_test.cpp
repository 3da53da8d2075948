// SPDX-License-Identifier: Apache-2.0
// Real sensor frames, where a directory of them was named at configure time.
#include <filesystem>
#include <string>

#include "support/temp_dir.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

struct Frame {
  const char *file;
  std::uint32_t width, height;
  int phase;  // of its first pixel in an RG mosaic: bit 0 column, bit 1 row
  std::uint32_t depth;
};

constexpr Frame kFrames[] = {{"chart_1920x1080_rggb_10in16le.raw", 1920, 1080, 0, 10},
                             {"colorchecker_1920x1080_bggr_12in16le.raw", 1920, 1080, 3, 12},
                             {"rose_768x512_rggb_14in16le.raw", 768, 512, 0, 14}};

// Orders by the phase of the first pixel: a mosaic that lost its first column, row or both has another order.
constexpr Order kOrders[] = {Order::kRG, Order::kGR, Order::kGB, Order::kBG};

// The samples from (y, x) on, cut to even sizes.
Bytes Crop(const Bytes &raw, const Frame &frame, std::uint32_t y0, std::uint32_t x0) {
  const std::uint32_t width = (frame.width - x0) / 2 * 2, height = (frame.height - y0) / 2 * 2;
  Bytes out;
  out.reserve(std::size_t{width} * height * 2);
  for (std::uint32_t y = 0; y < height; ++y) {
    const auto row = raw.begin() + static_cast<std::ptrdiff_t>((std::size_t{y0 + y} * frame.width + x0) * 2);
    out.insert(out.end(), row, row + static_cast<std::ptrdiff_t>(width) * 2);
  }
  return out;
}

void ExpectSame(const Converter &converter, const Bytes &source, std::uint32_t width, std::uint32_t height,
                std::uint32_t shift) {
  Bytes expected(DestinationBytes(converter, width, height), kUntouched);
  Reference::Convert(converter, expected.data(), source.data(), width, height, shift);
  ForEachTarget([&] {
    Bytes dst(expected.size(), kUntouched);
    EXPECT_EQ(converter(dst.data(), source.data(), width, height, shift), CAMUTL_STS_SUCCESS);
    EXPECT_TRUE(dst == expected) << converter.name << " " << width << "x" << height;
  });
}

void CheckFrame(const Frame &frame, const Bytes &raw) {
  for (int crop = 0; crop < 4; ++crop) {
    const std::uint32_t x0 = crop & 1, y0 = static_cast<std::uint32_t>(crop) >> 1;
    const std::uint32_t width = (frame.width - x0) / 2 * 2, height = (frame.height - y0) / 2 * 2;
    const Bytes wide = Crop(raw, frame, y0, x0);
    const std::uint32_t shift = frame.depth - 8;
    Bytes narrow;
    for (std::size_t i = 0; i < wide.size(); i += 2)
      narrow.push_back(static_cast<std::uint8_t>((wide[i] | wide[i + 1] << 8) >> shift));
    const Order order = kOrders[frame.phase ^ crop];
    for (const Converter &converter : AllConverters()) {
      const bool grey = converter.layout == Layout::kMono && crop == 0;
      const bool mosaic = converter.layout == Layout::kBayer && converter.order == order;
      if ((grey || mosaic) && (!converter.is_wide() || converter.is_worker()))
        ExpectSame(converter, converter.is_wide() ? wide : narrow, width, height, shift);
    }
  }
}

TEST(SensorFrames, EveryTargetAgreesWithTheReference) {
  const std::string directory = KIVO_TEST_DATA;
  if (directory.empty()) GTEST_SKIP() << "no directory of sensor frames was configured";
  PrepareLUT();
  unsigned found = 0;
  for (const Frame &frame : kFrames) {
    const std::string path = directory + "/" + frame.file;
    if (!std::filesystem::exists(path)) continue;
    SCOPED_TRACE(frame.file);
    const Bytes raw = ReadFile(path);
    ASSERT_EQ(raw.size(), std::size_t{frame.width} * frame.height * 2);
    CheckFrame(frame, raw);
    ++found;
  }
  EXPECT_GT(found, 0u) << "no frame in " << directory;
}

}  // namespace
}  // namespace KivoTest
