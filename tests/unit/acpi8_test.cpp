// SPDX-License-Identifier: Apache-2.0
#include "support/unit.h"

namespace KivoTest {
namespace {

constexpr const char *kOrders[] = {"GR", "RG", "GB", "BG"};

Bytes ToBgr(const char *order, const Bytes &source, std::uint32_t width, std::uint32_t height) {
  return Converted(std::string("ConvByr") + order + "8ToBGRACPI", source, width, height);
}

Bytes ToBgra(const char *order, const Bytes &source, std::uint32_t width, std::uint32_t height) {
  return Converted(std::string("ConvByr") + order + "8ToBGRAACPI", source, width, height);
}

Bytes At(const Bytes &image, std::size_t width, std::size_t y, std::size_t x) {
  const std::uint8_t *const pixel = image.data() + 3 * (y * width + x);
  return {pixel, pixel + 3};
}

TEST(Acpi8, AFlatFrameStaysFlat) {
  ForEachTarget([] {
    for (const char *const order : kOrders) {
      for (const int value : {0, 1, 128, 254, 255}) {
        const std::uint8_t byte = static_cast<std::uint8_t>(value);
        for (const auto &[width, height] : {std::pair{4u, 4u}, {6u, 6u}, {70u, 8u}, {134u, 10u}}) {
          EXPECT_EQ(ToBgr(order, Bytes(width * height, byte), width, height),
                    Bytes(width * height * 3, byte));
          Bytes bgra = ToBgra(order, Bytes(width * height, byte), width, height);
          if (std::string(order) == "BG") bgra[4 * (2 * width - 1) + 2] = byte;  // the byte that stays
          for (std::size_t i = 0; i < bgra.size(); ++i) ASSERT_EQ(bgra[i], i % 4 == 3 ? 255 : byte) << i;
        }
      }
    }
  });
}

TEST(Acpi8, FourByFourIsAllBorder) {
  // GR: G R G R / B G B G / G R G R / B G B G.
  const Bytes s{1, 20, 3, 41, 50, 6, 71, 8, 9, 100, 11, 121, 130, 14, 150, 16};
  const Bytes expected{50,
                       1,
                       20,
                       (50 + 71) / 2,
                       (1 + 3) / 2,
                       20,
                       71,
                       3,
                       (20 + 41) / 2,
                       71,
                       (3 + 8) / 2,
                       41,  //
                       50,
                       (1 + 9) / 2,
                       (20 + 100) / 2,
                       (50 + 71) / 2,
                       6,
                       (20 + 100) / 2,
                       71,
                       (3 + 6 + 8 + 11) / 4,  //
                       (20 + 41 + 100 + 121) / 4,
                       71,
                       8,
                       (41 + 121) / 2,  //
                       (50 + 130) / 2,
                       9,
                       100,
                       (50 + 71 + 130 + 150) / 4,
                       (9 + 11 + 6 + 14) / 4,
                       100,
                       (71 + 150) / 2,
                       11,  //
                       (100 + 121) / 2,
                       (71 + 150) / 2,
                       (8 + 16) / 2,
                       121,  //
                       130,
                       (14 + 9) / 2,
                       100,
                       (130 + 150) / 2,
                       14,
                       100,
                       150,
                       (14 + 16) / 2,
                       (100 + 121) / 2,
                       150,
                       16,
                       121};
  ForEachTarget([&] { EXPECT_EQ(ToBgr("GR", s, 4, 4), expected); });
}

// 8 x 8 GR frame: row 2 has red at odd columns, row 3 blue at even columns.
class Frame {
 public:
  explicit Frame(std::uint8_t value) : bytes_(64, value) {}
  std::uint8_t &operator()(std::size_t y, std::size_t x) { return bytes_[8 * y + x]; }
  const Bytes &bytes() const { return bytes_; }

 private:
  Bytes bytes_;
};

TEST(Acpi8, GreenFollowsTheDirectionOfLeastChange) {
  ForEachTarget([] {
    // Columns differ, rows are constant: green comes from above and below.
    Frame vertical(0);
    for (std::size_t y = 0; y < 8; ++y)
      for (std::size_t x = 0; x < 8; ++x) vertical(y, x) = x < 4 ? 20 : 220;
    EXPECT_EQ(At(ToBgr("GR", vertical.bytes(), 8, 8), 8, 2, 3)[1], 20);
    EXPECT_EQ(At(ToBgr("GR", vertical.bytes(), 8, 8), 8, 3, 4)[1], 220);
    // Rows differ, columns are constant: green comes from left and right.
    Frame horizontal(0);
    for (std::size_t y = 0; y < 8; ++y)
      for (std::size_t x = 0; x < 8; ++x) horizontal(y, x) = y < 4 ? 20 : 220;
    EXPECT_EQ(At(ToBgr("GR", horizontal.bytes(), 8, 8), 8, 3, 4)[1], 20);
    EXPECT_EQ(At(ToBgr("GR", horizontal.bytes(), 8, 8), 8, 4, 3)[1], 220);
  });
}

TEST(Acpi8, ATieAveragesBothDirections) {
  ForEachTarget([] {
    // Red site (2, 3): greens above and below 10 and 30, left and right 50 and 70; flat reds. Both
    // gradients 20.
    Frame frame(100);
    frame(1, 3) = 10;
    frame(3, 3) = 30;
    frame(2, 2) = 50;
    frame(2, 4) = 70;
    EXPECT_EQ(At(ToBgr("GR", frame.bytes(), 8, 8), 8, 2, 3)[1], 2 * (10 + 30 + 50 + 70) / 8);
  });
}

TEST(Acpi8, ResultsAreClamped) {
  ForEachTarget([] {
    // Red site (2, 3): vertical gradient |2*255 - 255 - 0| + 0, horizontal larger; 2 * 400 + 255 over 4 is
    // 263.
    Frame high(0);
    high(1, 3) = high(3, 3) = 200;
    high(2, 3) = 255;
    high(0, 3) = 255;
    high(4, 3) = 0;
    EXPECT_EQ(At(ToBgr("GR", high.bytes(), 8, 8), 8, 2, 3)[1], 255);
    // The other way round: no green and a negative second derivative.
    Frame low(0);
    low(0, 3) = 200;
    low(2, 1) = 255;
    low(2, 5) = 255;
    EXPECT_EQ(At(ToBgr("GR", low.bytes(), 8, 8), 8, 2, 3)[1], 0);
  });
}

TEST(Acpi8, OneColumnOfTwoOrdersTakesBlueFromGreenSamples) {
  ForEachTarget([] {
    Bytes source(64);
    for (std::size_t i = 0; i < 64; ++i) source[i] = static_cast<std::uint8_t>(i * 37 % 256);
    const auto s = [&](std::size_t y, std::size_t x) -> int { return source[8 * y + x]; };
    for (const std::size_t y : {2u, 4u}) {
      EXPECT_EQ(At(ToBgr("GR", source, 8, 8), 8, y, 7)[0], (s(y - 1, 7) + s(y + 1, 7)) / 2);
      EXPECT_EQ(At(ToBgr("RG", source, 8, 8), 8, y, 0)[0], (s(y - 1, 0) + s(y + 1, 0)) / 2);
    }
    // The row above the interior follows the shared rule in both.
    EXPECT_EQ(At(ToBgr("GR", source, 8, 8), 8, 6, 7)[0], (s(5, 6) + s(7, 6)) / 2);
    EXPECT_EQ(At(ToBgr("RG", source, 8, 8), 8, 6, 0)[0], (s(5, 1) + s(7, 1)) / 2);
    // The other two orders have red on odd rows and take blue from the diagonals.
    for (const std::size_t y : {3u, 5u}) {
      EXPECT_EQ(At(ToBgr("GB", source, 8, 8), 8, y, 0)[0], (s(y - 1, 1) + s(y + 1, 1)) / 2);
      EXPECT_EQ(At(ToBgr("BG", source, 8, 8), 8, y, 7)[0], (s(y - 1, 6) + s(y + 1, 6)) / 2);
      EXPECT_EQ(At(ToBgr("BG", source, 8, 8), 8, y, 7)[1], (s(y - 1, 7) + s(y + 1, 7) + s(y, 6)) / 3);
    }
  });
}

TEST(Acpi8, OneByteStaysAsTheCallerLeftIt) {
  ForEachTarget([] {
    Bytes source(4 * 6);
    for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<std::uint8_t>(200 - i);
    EXPECT_EQ(ToBgra("BG", source, 6, 4)[4 * (6 + 5) + 2], 0x77);
    EXPECT_EQ(ToBgr("BG", source, 6, 4)[3 * (6 + 5) + 2], source[6 + 5]);
    for (const char *const order : {"GR", "RG", "GB"}) {
      const Bytes bgra = ToBgra(order, source, 6, 4), bgr = ToBgr(order, source, 6, 4);
      EXPECT_EQ(bgra[4 * (6 + 5) + 2], bgr[3 * (6 + 5) + 2]) << order;
    }
  });
}

TEST(Acpi8, ATiedDiagonalOfOneOrderWrapsInsteadOfClamping) {
  // RG: red site (2, 2). All samples 0 but reds far away that pull the greens of the diagonals apart from the
  // centre green, so that both diagonal Laplacians are negative and equal while the diagonal samples are
  // equal.
  ForEachTarget([] {
    int wrapped = 0;
    Random random(11);
    for (int attempt = 0; attempt < 400; ++attempt) {
      Bytes source(64);
      for (std::uint8_t &byte : source) byte = random.Below(3) == 0 ? 8 : 0;
      // Converted() compares with the reference; count the frames where the wrap shows.
      const Bytes image = ToBgr("RG", source, 8, 8);
      for (const std::size_t y : {2u, 4u})
        for (const std::size_t x : {2u, 4u}) wrapped += At(image, 8, y, x)[0] >= 250;
    }
    EXPECT_GT(wrapped, 0);
  });
}

TEST(Acpi8, SizesWithoutAnAdaptiveFormAreDemosaicedTheStandardWay) {
  ForEachTarget([] {
    Random random(5);
    for (const char *const order : kOrders) {
      for (std::uint32_t height = 1; height <= 8; ++height) {
        for (std::uint32_t width = 1; width <= 8; ++width) {
          if (width >= 4 && height >= 4 && width % 2 == 0 && height % 2 == 0) continue;
          Bytes source(std::size_t{width} * height);
          for (std::uint8_t &byte : source) byte = static_cast<std::uint8_t>(random.Next());
          EXPECT_EQ(ToBgr(order, source, width, height),
                    Converted(std::string("ConvByr") + order + "8ToBGR", source, width, height));
          EXPECT_EQ(ToBgra(order, source, width, height),
                    Converted(std::string("ConvByr") + order + "8ToBGRA", source, width, height));
        }
      }
    }
  });
}

}  // namespace
}  // namespace KivoTest
