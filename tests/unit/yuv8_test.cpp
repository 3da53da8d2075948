// SPDX-License-Identifier: Apache-2.0
#include "support/unit.h"

namespace KivoTest {
namespace {

class Yuv8 : public testing::Test {
 protected:
  static void SetUpTestSuite() { PrepareLUT(); }
};

TEST_F(Yuv8, GroupOf411) {
  const Bytes group{128, 0, 255, 128, 100, 200};
  ForEachTarget([&] {
    EXPECT_EQ(Converted("ConvYUV411PToBGRA", group, 4, 1),
              Words32({0xFF000000, 0xFFFFFFFF, 0xFF646464, 0xFFC8C8C8}));
    EXPECT_EQ(Converted("ConvYUV411PToBGR", group, 2, 2),
              (Bytes{0, 0, 0, 255, 255, 255, 100, 100, 100, 200, 200, 200}));
  });
}

TEST_F(Yuv8, PixelOf444) {
  ForEachTarget([] {
    // Three bytes are enough for one pixel: the fourth is skipped, not read.
    EXPECT_EQ(Converted("ConvYUV444PToBGRA", {100, 200, 150}, 1, 1), Words32({0xFFE7C296}));
    EXPECT_EQ(Converted("ConvYUV444PToBGR", {100, 200, 150}, 1, 1), (Bytes{0x96, 0xC2, 0xE7}));
    EXPECT_EQ(Converted("ConvYUV444PToBGRA", {0, 128, 255}, 1, 1), Words32({0xFFFF5100}));
    EXPECT_EQ(Converted("ConvYUV444PToBGR", {0, 128, 255}, 1, 1), (Bytes{0x00, 0x51, 0xFF}));
    EXPECT_EQ(Converted("ConvYUV444PToBGRA", {128, 100, 128}, 1, 1), Words32({0xFF646464}));
  });
}

TEST_F(Yuv8, PixelsOf444AreFourBytesApart) {
  const Bytes two{100, 200, 150, 0xEE, 0, 128, 255};
  ForEachTarget([&] {
    EXPECT_EQ(Converted("ConvYUV444PToBGRA", two, 2, 1), Words32({0xFFE7C296, 0xFFFF5100}));
    EXPECT_EQ(Converted("ConvYUV444PToBGR", two, 1, 2), (Bytes{0x96, 0xC2, 0xE7, 0x00, 0x51, 0xFF}));
  });
}

TEST_F(Yuv8, GroupsOf422AreFourBytesApartToBgraAndFiveToBgr) {
  ForEachTarget([] {
    const Bytes four{128, 10, 128, 20, 128, 30, 128, 40};
    EXPECT_EQ(Converted("ConvYUV422PToBGRA", four, 4, 1),
              Words32({0xFF0A0A0A, 0xFF141414, 0xFF1E1E1E, 0xFF282828}));
    const Bytes five{128, 10, 128, 20, 0xEE, 128, 30, 128, 40};  // the ninth byte is the last one read
    EXPECT_EQ(Converted("ConvYUV422PToBGR", five, 4, 1),
              (Bytes{10, 10, 10, 20, 20, 20, 30, 30, 30, 40, 40, 40}));
  });
}

TEST_F(Yuv8, LeftoverPixelsStayAsTheyWere) {
  ForEachTarget([] {
    const std::uint8_t k = kUntouched;
    // No whole group: the source is not read at all.
    for (const std::uint32_t n : {1u, 2u, 3u}) {
      EXPECT_EQ(Converted("ConvYUV411PToBGRA", {}, n, 1), Bytes(4 * n, k));
      EXPECT_EQ(Converted("ConvYUV411PToBGR", {}, 1, n), Bytes(3 * n, k));
    }
    EXPECT_EQ(Converted("ConvYUV422PToBGRA", {}, 1, 1), Bytes(4, k));
    EXPECT_EQ(Converted("ConvYUV422PToBGR", {}, 1, 1), Bytes(3, k));

    Bytes expected = Words32({0xFF000000, 0xFFFFFFFF, 0xFF646464, 0xFFC8C8C8});
    expected.insert(expected.end(), 4, k);
    EXPECT_EQ(Converted("ConvYUV411PToBGRA", {128, 0, 255, 128, 100, 200}, 5, 1), expected);

    EXPECT_EQ(Converted("ConvYUV422PToBGRA", {128, 1, 128, 2}, 3, 1),
              (Bytes{1, 1, 1, 255, 2, 2, 2, 255, k, k, k, k}));
    EXPECT_EQ(Converted("ConvYUV422PToBGR", {128, 1, 128, 2}, 3, 1), (Bytes{1, 1, 1, 2, 2, 2, k, k, k}));
  });
}

TEST_F(Yuv8, GroupsIgnoreRows) {
  ForEachTarget([] {
    // Three rows of three pixels hold two groups of four; the ninth pixel is left over.
    const Bytes groups{128, 1, 2, 128, 3, 4, 128, 5, 6, 128, 7, 8};
    Bytes expected = Words32(
        {0xFF010101, 0xFF020202, 0xFF030303, 0xFF040404, 0xFF050505, 0xFF060606, 0xFF070707, 0xFF080808});
    expected.insert(expected.end(), 4, kUntouched);
    EXPECT_EQ(Converted("ConvYUV411PToBGRA", groups, 3, 3), expected);
  });
}

}  // namespace
}  // namespace KivoTest
