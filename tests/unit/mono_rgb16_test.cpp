// SPDX-License-Identifier: Apache-2.0
#include "support/unit.h"

namespace KivoTest {
namespace {

class MonoRgb16 : public testing::Test {
 protected:
  static void SetUpTestSuite() { PrepareLUT(); }
};

TEST_F(MonoRgb16, SamplesAreShiftedAndMasked) {
  ForEachTarget([] {
    EXPECT_EQ(Converted("ConvMono10ToBGR", Words16({0x03FF}), 1, 1), (Bytes{255, 255, 255}));
    EXPECT_EQ(Converted("ConvMono10ToBGRA", Words16({0x03FF, 0x0400}), 2, 1),
              Words32({0xFFFFFFFF, 0xFF000000}));
    EXPECT_EQ(Converted("ConvMonoNToBGR", Words16({0x0400}), 1, 1, 2), (Bytes{0, 0, 0}));
    EXPECT_EQ(Converted("ConvMono16ToBGR", Words16({0x1234}), 1, 1), (Bytes{0x12, 0x12, 0x12}));
    EXPECT_EQ(Converted("ConvMono16ToBGRA", Words16({0x1234}), 1, 1), Words32({0xFF121212}));
    EXPECT_EQ(Converted("ConvMono12ToBGRA", Words16({0x0FFF, 0x1000, 0x0ABC}), 3, 1),
              Words32({0xFFFFFFFF, 0xFF000000, 0xFFABABAB}));
  });
}

TEST_F(MonoRgb16, ChannelOrder) {
  ForEachTarget([] {
    EXPECT_EQ(Converted("ConvRGB12PToBGRA", Words16({0x0FFF, 0x0800, 0x0010}), 1, 1), Words32({0xFFFF8001}));
    EXPECT_EQ(Converted("ConvRGB12PToBGR", Words16({0x0FFF, 0x0800, 0x0010}), 1, 1),
              (Bytes{0x01, 0x80, 0xFF}));
    EXPECT_EQ(Converted("ConvBGR10PToBGR", Words16({4, 8, 1020}), 1, 1), (Bytes{1, 2, 255}));
    EXPECT_EQ(Converted("ConvBGR10PToBGRA", Words16({4, 8, 1020}), 1, 1), Words32({0xFFFF0201}));
    EXPECT_EQ(Converted("ConvRGB10PToBGR", Words16({4, 8, 1020}), 1, 1), (Bytes{255, 2, 1}));
    EXPECT_EQ(Converted("ConvBGRNToBGRA", Words16({0x1122, 0x3344, 0x5566}), 1, 1, 8), Words32({0xFF553311}));
    EXPECT_EQ(Converted("ConvRGBNToBGRA", Words16({0x1122, 0x3344, 0x5566}), 1, 1, 0), Words32({0xFF224466}));
  });
}

TEST_F(MonoRgb16, ShiftCounts) {
  ForEachTarget([] {
    const Bytes source = Words16({0x1234, 0xFFFF, 0x00AB});
    EXPECT_EQ(Converted("ConvMonoNToBGR", source, 3, 1, 0),
              (Bytes{0x34, 0x34, 0x34, 0xFF, 0xFF, 0xFF, 0xAB, 0xAB, 0xAB}));
    for (std::uint32_t shift = 16; shift < 32; ++shift)
      EXPECT_EQ(Converted("ConvMonoNToBGR", source, 3, 1, shift), Bytes(9, 0)) << shift;
    // 32 is 0 again, and only the low byte of the argument counts.
    const Bytes zero = Converted("ConvMonoNToBGRA", source, 3, 1, 0);
    for (const std::uint32_t shift : {32u, 64u, 224u, 0x100u, 0xFFFFFF00u, 0x12345620u})
      EXPECT_EQ(Converted("ConvMonoNToBGRA", source, 3, 1, shift), zero) << shift;
    EXPECT_EQ(Converted("ConvRGBNToBGR", source, 1, 1, 0x10A), Converted("ConvRGBNToBGR", source, 1, 1, 10));
  });
}

}  // namespace
}  // namespace KivoTest
