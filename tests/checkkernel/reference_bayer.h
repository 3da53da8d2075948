// SPDX-License-Identifier: Apache-2.0
// Neighbourhood mean of a mosaic of any size, for 8-bit and for wider samples.
#ifndef KIVO_TESTS_CHECKKERNEL_REFERENCE_BAYER_H
#define KIVO_TESTS_CHECKKERNEL_REFERENCE_BAYER_H

#include <initializer_list>
#include <utility>

#include "checkkernel/reference.h"

namespace KivoTest::Reference {

enum class Colour { kRed, kGreen, kBlue };

// Colour of the filter over pixel (y, x).
Colour FilterColour(Order order, std::size_t y, std::size_t x);

// Samples of a neighbour set that lie inside the image.
struct Members {
  std::int32_t total = 0;
  int count = 0;
};

class Mosaic {
 public:
  Mosaic(const std::uint8_t *src, std::size_t width, std::size_t height, std::size_t sample_bytes)
      : src_(src), width_(width), height_(height), sample_bytes_(sample_bytes) {}

  std::size_t width() const { return width_; }
  std::size_t height() const { return height_; }

  std::int32_t At(std::size_t y, std::size_t x) const {
    const std::uint8_t *const in = src_ + (y * width_ + x) * sample_bytes_;
    return sample_bytes_ == 1 ? in[0] : in[0] + 256 * in[1];
  }

  Members Own(std::size_t y, std::size_t x) const { return {At(y, x), 1}; }
  Members Cross(std::size_t y, std::size_t x) const {
    return Gather(y, x, {{-1, 0}, {0, -1}, {0, 1}, {1, 0}});
  }
  Members Diagonal(std::size_t y, std::size_t x) const {
    return Gather(y, x, {{-1, -1}, {-1, 1}, {1, -1}, {1, 1}});
  }
  Members Horizontal(std::size_t y, std::size_t x) const { return Gather(y, x, {{0, -1}, {0, 1}}); }
  Members Vertical(std::size_t y, std::size_t x) const { return Gather(y, x, {{-1, 0}, {1, 0}}); }

 private:
  Members Gather(std::size_t y, std::size_t x, std::initializer_list<std::pair<int, int>> steps) const {
    Members members;
    for (const auto &[dy, dx] : steps) {
      const long long row = static_cast<long long>(y) + dy;
      const long long column = static_cast<long long>(x) + dx;
      if (row < 0 || column < 0 || row >= static_cast<long long>(height_) ||
          column >= static_cast<long long>(width_))
        continue;
      members.total += At(static_cast<std::size_t>(row), static_cast<std::size_t>(column));
      ++members.count;
    }
    return members;
  }

  const std::uint8_t *src_;
  std::size_t width_;
  std::size_t height_;
  std::size_t sample_bytes_;
};

// mean(members) is the output byte of a neighbour set that is not empty.
template <typename Mean>
void Demosaic(Order order, Output output, std::uint8_t *dst, const Mosaic &mosaic, Mean mean) {
  for (std::size_t y = 0; y < mosaic.height(); ++y) {
    for (std::size_t x = 0; x < mosaic.width(); ++x) {
      const std::uint8_t own = mean(mosaic.Own(y, x));
      // Without a neighbour of the wanted colour the pixel's own sample stands in for it.
      const auto of = [&](Members members) { return members.count == 0 ? own : mean(members); };
      const std::uint8_t cross = of(mosaic.Cross(y, x));
      const std::uint8_t diagonal = of(mosaic.Diagonal(y, x));
      const std::uint8_t horizontal = of(mosaic.Horizontal(y, x));
      const std::uint8_t vertical = of(mosaic.Vertical(y, x));
      Pixel pixel{};
      switch (FilterColour(order, y, x)) {
        case Colour::kRed:
          pixel = {diagonal, cross, own};
          break;
        case Colour::kBlue:
          pixel = {own, cross, diagonal};
          break;
        case Colour::kGreen:
          if (FilterColour(order, y, x + 1) == Colour::kRed)
            pixel = {vertical, own, horizontal};
          else
            pixel = {horizontal, own, vertical};
          break;
      }
      Store(output, dst, y * mosaic.width() + x, pixel);
    }
  }
}

}  // namespace KivoTest::Reference

#endif  // KIVO_TESTS_CHECKKERNEL_REFERENCE_BAYER_H
