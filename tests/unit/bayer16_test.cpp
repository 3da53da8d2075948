// SPDX-License-Identifier: Apache-2.0
#include "support/unit.h"

namespace KivoTest {
namespace {

constexpr const char *kOrders[] = {"GR", "RG", "GB", "BG"};

std::string Name(const char *order, const char *depth, const char *output) {
  return std::string("ConvByr") + order + depth + "To" + output;
}

Bytes Flat(std::uint32_t value, std::size_t count) {
  return Words16(std::vector<std::uint32_t>(count, value));
}

TEST(Bayer16, FlatFrames) {
  ForEachTarget([] {
    for (const char *const order : kOrders) {
      for (const auto &[width, height] : {std::pair{2u, 2u}, {46u, 6u}}) {
        const std::size_t n = width * height;
        const auto expect = [&, w = width, h = height](const char *depth, std::uint32_t value,
                                                       std::uint8_t byte) {
          EXPECT_EQ(Converted(Name(order, depth, "BGR"), Flat(value, n), w, h), Bytes(3 * n, byte));
          EXPECT_EQ(Converted(Name(order, depth, "BGRA"), Flat(value, n), w, h),
                    Words32(std::vector<std::uint32_t>(n, 0xFF000000u + byte * 0x010101u)));
        };
        expect("10", 1023, 255);
        expect("10", 1024, 0);
        expect("12", 4095, 255);
        expect("10", 4095, 255);  // 1023 modulo 256, not a clamp
        expect("12", 4096, 0);
        expect("12", 65535, 255);
        EXPECT_EQ(Converted(Name(order, "N", "BGR"), Flat(300, n), width, height, 0), Bytes(3 * n, 44));
      }
    }
  });
}

TEST(Bayer16, SumsAreDividedOnce) {
  ForEachTarget([] {
    // RG, red site (2, 2) with greens 1, 2, 3 and 5: 11 / 16 is 0. With 16 in all it is 1.
    std::vector<std::uint32_t> frame(36, 0);
    frame[1 * 6 + 2] = 1;
    frame[2 * 6 + 1] = 2;
    frame[2 * 6 + 3] = 3;
    frame[3 * 6 + 2] = 5;
    const auto green = [&](std::uint32_t shift) {
      return Converted("ConvByrRGNToBGR", Words16(frame), 6, 6, shift)[3 * (2 * 6 + 2) + 1];
    };
    EXPECT_EQ(green(2), 0);
    EXPECT_EQ(green(0), 2);
    frame[3 * 6 + 2] = 10;
    EXPECT_EQ(green(2), 1);

    // GR, red site (0, 1) with three greens that sum to 767: 767 / 48 is 15.
    std::vector<std::uint32_t> edge(8, 0);
    edge[0] = 255;
    edge[2] = 256;
    edge[5] = 256;
    EXPECT_EQ(Converted("ConvByrGRNToBGR", Words16(edge), 4, 2, 4)[3 * 1 + 1], 15);
    edge[5] = 257;
    EXPECT_EQ(Converted("ConvByrGRNToBGR", Words16(edge), 4, 2, 4)[3 * 1 + 1], 16);

    // GR, green site (0, 2) between reds 3 and 1 with shift 1: 4 / 4, not 1 + 0 over 2.
    EXPECT_EQ(Converted("ConvByrGRNToBGR", Words16({0, 3, 0, 1, 0, 0, 0, 0}), 4, 2, 1)[3 * 2 + 2], 1);
  });
}

TEST(Bayer16, TwoByTwoIsTheEightBitFrameTimesFour) {
  ForEachTarget([] {
    EXPECT_EQ(Converted("ConvByrGRNToBGR", Words16({40, 80, 120, 160}), 2, 2, 2),
              (Bytes{30, 10, 20, 30, 25, 20, 30, 25, 20, 30, 40, 20}));
    EXPECT_EQ(Converted("ConvByrGR10ToBGRA", Words16({40, 80, 120, 160}), 2, 2),
              Words32({0xFF140A1E, 0xFF14191E, 0xFF14191E, 0xFF14281E}));
  });
}

TEST(Bayer16, ShiftsBeyondTheSamples) {
  ForEachTarget([] {
    const Bytes source = Flat(0xABCD, 36);
    for (std::uint32_t shift = 16; shift < 30; ++shift)
      EXPECT_EQ(Converted("ConvByrGBNToBGR", source, 6, 6, shift), Bytes(108, 0)) << shift;
    // Counts are taken modulo 32, each by itself: at 31 a pair is not shifted at all, at 30 four are not.
    EXPECT_EQ(Converted("ConvByrGRNToBGR", Words16({1, 2, 3, 4, 5, 6, 7, 8}), 4, 2, 31),
              (Bytes{0, 0,     0, 5 + 7, 0, 0, 0, 0, 2 + 4, 0, 3 + 8, 0,  //
                     0, 1 + 6, 0, 5 + 7, 0, 0, 0, 0, 2 + 4, 0, 0,     0}));
    EXPECT_EQ(Converted("ConvByrBGNToBGR", source, 6, 6, 0x104),
              Converted("ConvByrBGNToBGR", source, 6, 6, 4));
    EXPECT_EQ(Converted("ConvByrBGNToBGR", source, 6, 6, 36), Converted("ConvByrBGNToBGR", source, 6, 6, 4));
  });
}

TEST(Bayer16, EightBitFramesAgreeWithTheEightBitConverters) {
  ForEachTarget([] {
    Random random(9);
    for (const char *const order : kOrders) {
      std::vector<std::uint32_t> words(50 * 7);
      Bytes bytes;
      for (std::uint32_t &word : words) {
        word = random.Below(256);
        bytes.push_back(static_cast<std::uint8_t>(word));
      }
      EXPECT_EQ(Converted(Name(order, "N", "BGR"), Words16(words), 50, 7, 0),
                Converted(Name(order, "8", "BGR"), bytes, 50, 7));
    }
  });
}

}  // namespace
}  // namespace KivoTest
