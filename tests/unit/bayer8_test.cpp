// SPDX-License-Identifier: Apache-2.0
#include "support/unit.h"

namespace KivoTest {
namespace {

constexpr const char *kOrders[] = {"GR", "RG", "GB", "BG"};

// A pixel of a BGR image.
Bytes At(const Bytes &image, std::size_t width, std::size_t y, std::size_t x) {
  const std::uint8_t *const pixel = image.data() + 3 * (y * width + x);
  return {pixel, pixel + 3};
}

Bytes ToBgr(const char *order, const Bytes &source, std::uint32_t width, std::uint32_t height) {
  const Bytes bgr = Converted(std::string("ConvByr") + order + "8ToBGR", source, width, height);
  const Bytes bgra = Converted(std::string("ConvByr") + order + "8ToBGRA", source, width, height);
  for (std::size_t i = 0; i < bgr.size() / 3; ++i) {
    EXPECT_EQ(At(bgr, width, 0, i), Bytes(&bgra[4 * i], &bgra[4 * i] + 3));
    EXPECT_EQ(bgra[4 * i + 3], 255);
  }
  return bgr;
}

TEST(Bayer8, TwoByTwoOfEveryOrder) {
  const Bytes source{10, 20, 30, 40};
  ForEachTarget([&] {
    EXPECT_EQ(ToBgr("GR", source, 2, 2), (Bytes{30, 10, 20, 30, 25, 20, 30, 25, 20, 30, 40, 20}));
    EXPECT_EQ(ToBgr("RG", source, 2, 2), (Bytes{40, 25, 10, 40, 20, 10, 40, 30, 10, 40, 25, 10}));
    EXPECT_EQ(ToBgr("GB", source, 2, 2), (Bytes{20, 10, 30, 20, 25, 30, 20, 25, 30, 20, 40, 30}));
    EXPECT_EQ(ToBgr("BG", source, 2, 2), (Bytes{10, 25, 40, 10, 20, 40, 10, 30, 40, 10, 25, 40}));
  });
}

TEST(Bayer8, AFlatFrameStaysFlat) {
  ForEachTarget([] {
    for (const char *const order : kOrders)
      for (const int value : {0, 1, 127, 254, 255})
        for (const auto &[width, height] : {std::pair{2u, 2u}, {40u, 6u}, {130u, 4u}, {7u, 5u}}) {
          const std::uint8_t byte = static_cast<std::uint8_t>(value);
          EXPECT_EQ(ToBgr(order, Bytes(width * height, byte), width, height),
                    Bytes(width * height * 3, byte));
        }
  });
}

TEST(Bayer8, MeansAreTruncated) {
  ForEachTarget([] {
    // GR: pixel (0, 1) is red with greens 1, 1 beside it and 0 below.
    Bytes edge(8, 0);
    edge[0] = 1;
    edge[2] = 1;
    EXPECT_EQ(At(ToBgr("GR", edge, 4, 2), 4, 0, 1)[1], 0);
    // A cross of three that sums to 8 gives 2.
    edge = {4, 0, 2, 0, 0, 2, 0, 0};
    EXPECT_EQ(At(ToBgr("GR", edge, 4, 2), 4, 0, 1)[1], 2);
    // RG: pixel (2, 2) is red with diagonal blues 1, 1, 1, 0.
    Bytes inner(36, 0);
    inner[1 * 6 + 1] = inner[1 * 6 + 3] = inner[3 * 6 + 1] = 1;
    EXPECT_EQ(At(ToBgr("RG", inner, 6, 6), 6, 2, 2)[0], 0);
    inner[3 * 6 + 3] = 1;
    EXPECT_EQ(At(ToBgr("RG", inner, 6, 6), 6, 2, 2)[0], 1);
  });
}

TEST(Bayer8, LastColumnAndRow) {
  ForEachTarget([] {
    Bytes source(24);
    for (std::size_t i = 0; i < 24; ++i) source[i] = static_cast<std::uint8_t>(i * i % 251);
    const auto s = [&](std::size_t y, std::size_t x) -> int { return source[y * 6 + x]; };
    const auto bytes = [](int b, int g, int r) {
      return Bytes{static_cast<std::uint8_t>(b), static_cast<std::uint8_t>(g), static_cast<std::uint8_t>(r)};
    };
    const Bytes image = ToBgr("GR", source, 6, 4);
    // A green site of a blue row takes blue from its left neighbour alone.
    EXPECT_EQ(At(image, 6, 1, 5), bytes(s(1, 4), s(1, 5), (s(0, 5) + s(2, 5)) / 2));
    // A red site takes blue from column W-2 above and below, in the corner from the only one.
    EXPECT_EQ(At(image, 6, 2, 5), bytes((s(1, 4) + s(3, 4)) / 2, (s(1, 5) + s(2, 4) + s(3, 5)) / 3, s(2, 5)));
    EXPECT_EQ(At(image, 6, 0, 5), bytes(s(1, 4), (s(0, 4) + s(1, 5)) / 2, s(0, 5)));
    EXPECT_EQ(At(image, 6, 3, 0), bytes(s(3, 0), (s(2, 0) + s(3, 1)) / 2, s(2, 1)));
    EXPECT_EQ(At(image, 6, 3, 5), bytes(s(3, 4), s(3, 5), s(2, 5)));
  });
}

TEST(Bayer8, MissingColoursTakeTheOwnSample) {
  ForEachTarget([] {
    for (const char *const order : kOrders) EXPECT_EQ(ToBgr(order, {99}, 1, 1), (Bytes{99, 99, 99}));
    // One row G R G: no blue anywhere, red beside the greens.
    EXPECT_EQ(ToBgr("GR", {10, 20, 30}, 3, 1), (Bytes{10, 10, 20, 20, 20, 20, 30, 30, 20}));
    // One column G B G: no red anywhere.
    EXPECT_EQ(ToBgr("GR", {10, 20, 30}, 1, 3), (Bytes{20, 10, 10, 20, 20, 20, 20, 30, 30}));
    EXPECT_EQ(ToBgr("BG", {10, 20}, 2, 1), (Bytes{10, 20, 10, 10, 20, 20}));
  });
}

TEST(Bayer8, OddSizesFollowTheNeighbourhoodRule) {
  ForEachTarget([] {
    // 3 x 3 RG: R G R / G B G / R G R.
    const Bytes image = ToBgr("RG", {10, 20, 30, 40, 50, 60, 70, 80, 90}, 3, 3);
    EXPECT_EQ(At(image, 3, 1, 1), (Bytes{50, 50, 50}));
    EXPECT_EQ(At(image, 3, 0, 2), (Bytes{50, 40, 30}));
    EXPECT_EQ(At(image, 3, 2, 2), (Bytes{50, 70, 90}));
    EXPECT_EQ(At(image, 3, 2, 1), (Bytes{50, 80, 80}));
  });
}

}  // namespace
}  // namespace KivoTest
