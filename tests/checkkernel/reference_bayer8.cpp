// SPDX-License-Identifier: Apache-2.0
#include "checkkernel/reference_bayer.h"

namespace KivoTest::Reference {

Colour FilterColour(Order order, std::size_t y, std::size_t x) {
  constexpr Colour R = Colour::kRed, G = Colour::kGreen, B = Colour::kBlue;
  constexpr Colour kGr[2][2] = {{G, R}, {B, G}};
  constexpr Colour kRg[2][2] = {{R, G}, {G, B}};
  constexpr Colour kGb[2][2] = {{G, B}, {R, G}};
  constexpr Colour kBg[2][2] = {{B, G}, {G, R}};
  switch (order) {
    case Order::kGR:
      return kGr[y % 2][x % 2];
    case Order::kRG:
      return kRg[y % 2][x % 2];
    case Order::kGB:
      return kGb[y % 2][x % 2];
    case Order::kBG:
      break;
  }
  return kBg[y % 2][x % 2];
}

void Bayer8(Order order, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t width,
            std::size_t height) {
  Demosaic(order, output, dst, Mosaic(src, width, height, 1), [](Members members) {
    return static_cast<std::uint8_t>(members.total / members.count);  // rounded down
  });
}

}  // namespace KivoTest::Reference
