// SPDX-License-Identifier: Apache-2.0
#include "support/unit.h"

namespace KivoTest {
namespace {

class MonoRgb8 : public testing::Test {
 protected:
  static void SetUpTestSuite() { PrepareLUT(); }
};

TEST_F(MonoRgb8, OnePixel) {
  ForEachTarget([] {
    EXPECT_EQ(Converted("ConvMono8ToBGRA", {0x7F}, 1, 1), Words32({0xFF7F7F7F}));
    EXPECT_EQ(Converted("ConvMono8ToBGR", {0x7F}, 1, 1), (Bytes{0x7F, 0x7F, 0x7F}));
    EXPECT_EQ(Converted("ConvRGB8PToBGRA", {0x10, 0x20, 0x30}, 1, 1), Words32({0xFF102030}));
    EXPECT_EQ(Converted("ConvRGB8PToBGR", {0x10, 0x20, 0x30}, 1, 1), (Bytes{0x30, 0x20, 0x10}));
    EXPECT_EQ(Converted("ConvBGR8PToBGRA", {0x10, 0x20, 0x30}, 1, 1), Words32({0xFF302010}));
    EXPECT_EQ(Converted("ConvBGR8PToBGR", {0x10, 0x20, 0x30}, 1, 1), (Bytes{0x10, 0x20, 0x30}));
  });
}

TEST_F(MonoRgb8, EveryByteInEveryChannel) {
  ForEachTarget([] {
    Bytes source;
    for (unsigned i = 0; i < 768; ++i)
      source.push_back(static_cast<std::uint8_t>(i % 3 == 0 ? i : i * 85 + 7));
    for (const char *const name : {"ConvMono8ToBGRA", "ConvMono8ToBGR"}) Converted(name, source, 256, 3);
    for (const char *const name : {"ConvRGB8PToBGRA", "ConvRGB8PToBGR", "ConvBGR8PToBGRA", "ConvBGR8PToBGR"})
      Converted(name, source, 16, 16);
  });
}

}  // namespace
}  // namespace KivoTest
