// SPDX-License-Identifier: Apache-2.0
// Adaptive colour plane interpolation in two passes over whole planes: green first, then red and blue from
// the samples and the finished green plane. The frame of two pixels along every edge holds plain means.
#include <cstdlib>
#include <vector>

#include "checkkernel/reference_bayer.h"

namespace KivoTest::Reference {
namespace {

std::int32_t Clamp(std::int32_t value) {
  if (value > 254) return 255;
  if (value <= 0) return 0;
  return value;
}

class Acpi {
 public:
  Acpi(Order order, const std::uint8_t *src, std::size_t width, std::size_t height)
      : order_(order), mosaic_(src, width, height, 1), w_(width), h_(height), green_(width * height) {}

  void Run(Output output, std::uint8_t *dst) {
    for (std::size_t r = 0; r < h_; ++r)
      for (std::size_t c = 0; c < w_; ++c) green_[r * w_ + c] = GreenAt(r, c);
    for (std::size_t r = 0; r < h_; ++r) {
      for (std::size_t c = 0; c < w_; ++c) {
        std::uint8_t *const out = dst + (r * w_ + c) * (output == Output::kBgra ? 4 : 3);
        const std::uint8_t red_before = out[2];
        Store(output, dst, r * w_ + c, PixelAt(r, c));
        // The one byte that no BGRA conversion of this order writes.
        if (order_ == Order::kBG && output == Output::kBgra && r == 1 && c == w_ - 1) out[2] = red_before;
      }
    }
  }

 private:
  std::int32_t S(std::size_t r, std::size_t c) const { return mosaic_.At(r, c); }
  std::int32_t G(std::size_t r, std::size_t c) const { return green_[r * w_ + c]; }
  Colour Filter(std::size_t r, std::size_t c) const { return FilterColour(order_, r, c); }
  bool InteriorRow(std::size_t r) const { return r >= 2 && r + 3 <= h_; }
  bool InteriorColumn(std::size_t c) const { return c >= 2 && c + 3 <= w_; }
  bool Interior(std::size_t r, std::size_t c) const { return InteriorRow(r) && InteriorColumn(c); }
  static std::int32_t Mean(Members members) { return members.total / members.count; }

  std::int32_t GreenAt(std::size_t r, std::size_t c) const {
    if (Filter(r, c) == Colour::kGreen) return S(r, c);
    return Interior(r, c) ? InteriorGreen(r, c) : BorderGreen(r, c);
  }

  std::int32_t InteriorGreen(std::size_t r, std::size_t c) const {
    const std::int32_t up = S(r - 1, c), down = S(r + 1, c), left = S(r, c - 1), right = S(r, c + 1);
    const std::int32_t lv = 2 * S(r, c) - S(r - 2, c) - S(r + 2, c);
    const std::int32_t lh = 2 * S(r, c) - S(r, c - 2) - S(r, c + 2);
    const std::int32_t dv = std::abs(lv) + std::abs(up - down);
    const std::int32_t dh = std::abs(left - right) + std::abs(lh);
    if (dv < dh) return Clamp((2 * (up + down) + lv) >> 2);
    if (dv > dh) return Clamp((2 * (left + right) + lh) >> 2);
    return Clamp((lh + 2 * (up + down + left + right) + lv) >> 3);
  }

  std::int32_t BorderGreen(std::size_t r, std::size_t c) const {
    const bool edge_row = r == 0 || r == h_ - 1;
    const bool edge_column = c == 0 || c == w_ - 1;
    // In a corner the cross has one horizontal and one vertical member.
    if (edge_row) return Mean(edge_column ? mosaic_.Cross(r, c) : mosaic_.Horizontal(r, c));
    if (edge_column) {
      if (order_ == Order::kBG && c == w_ - 1 && InteriorRow(r) && Filter(r, c) == Colour::kRed)
        return (S(r - 1, c) + S(r + 1, c) + S(r, c - 1)) / 3;
      return Mean(mosaic_.Vertical(r, c));
    }
    return Mean(mosaic_.Cross(r, c));
  }

  Pixel PixelAt(std::size_t r, std::size_t c) const {
    const auto byte = [](std::int32_t value) { return static_cast<std::uint8_t>(value); };
    const std::uint8_t own = byte(S(r, c));
    const std::uint8_t green = byte(G(r, c));
    if (Filter(r, c) == Colour::kGreen) {
      const std::uint8_t horizontal =
          byte(Interior(r, c) ? InteriorHorizontal(r, c) : Mean(mosaic_.Horizontal(r, c)));
      const std::uint8_t vertical =
          byte(Interior(r, c) ? InteriorVertical(r, c) : Mean(mosaic_.Vertical(r, c)));
      // The same filters stand left and right of a pixel; one of the two columns always exists.
      if (Filter(r, c + 1) == Colour::kRed) return {vertical, green, horizontal};
      return {horizontal, green, vertical};
    }
    const std::uint8_t other = byte(Interior(r, c) ? InteriorDiagonal(r, c) : BorderDiagonal(r, c));
    if (Filter(r, c) == Colour::kRed) return {other, green, own};
    return {own, green, other};
  }

  std::int32_t InteriorHorizontal(std::size_t r, std::size_t c) const {
    return Clamp((2 * (S(r, c - 1) + S(r, c + 1)) + 2 * G(r, c) - G(r, c - 1) - G(r, c + 1)) >> 2);
  }

  std::int32_t InteriorVertical(std::size_t r, std::size_t c) const {
    return Clamp((2 * (S(r - 1, c) + S(r + 1, c)) + 2 * G(r, c) - G(r - 1, c) - G(r + 1, c)) >> 2);
  }

  std::int32_t InteriorDiagonal(std::size_t r, std::size_t c) const {
    const std::int32_t ne = S(r - 1, c + 1), sw = S(r + 1, c - 1), nw = S(r - 1, c - 1), se = S(r + 1, c + 1);
    const std::int32_t lne = 2 * G(r, c) - G(r - 1, c + 1) - G(r + 1, c - 1);
    const std::int32_t lnw = 2 * G(r, c) - G(r - 1, c - 1) - G(r + 1, c + 1);
    const std::int32_t dne = std::abs(lne) + std::abs(ne - sw);
    const std::int32_t dnw = std::abs(nw - se) + std::abs(lnw);
    if (dne < dnw) return Clamp((2 * (ne + sw) + lne) >> 2);
    if (dne > dnw) return Clamp((2 * (nw + se) + lnw) >> 2);
    if (order_ == Order::kRG && Filter(r, c) == Colour::kRed) {
      // Rounded half up, not clamped: the low byte of a 16-bit integer.
      const double sum = (ne + sw + nw + se) * 0.25 + (lne + lnw) * 0.125 + 0.5;
      return static_cast<std::int16_t>(sum) & 0xFF;
    }
    return Clamp((lnw + 2 * (ne + sw + nw + se) + lne) >> 3);
  }

  std::int32_t BorderDiagonal(std::size_t r, std::size_t c) const {
    // Two orders take the green samples above and below at one end of an interior row, where blue is missing.
    const bool last_of_gr = order_ == Order::kGR && c == w_ - 1;
    const bool first_of_rg = order_ == Order::kRG && c == 0;
    if ((last_of_gr || first_of_rg) && InteriorRow(r) && Filter(r, c) == Colour::kRed)
      return Mean(mosaic_.Vertical(r, c));
    return Mean(mosaic_.Diagonal(r, c));
  }

  Order order_;
  Mosaic mosaic_;
  std::size_t w_;
  std::size_t h_;
  std::vector<std::int32_t> green_;
};

}  // namespace

void Acpi8(Order order, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t width,
           std::size_t height) {
  if (width < 4 || height < 4 || width % 2 != 0 || height % 2 != 0)
    return Bayer8(order, output, dst, src, width, height);
  Acpi(order, src, width, height).Run(output, dst);
}

}  // namespace KivoTest::Reference
