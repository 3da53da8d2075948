// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "checkkernel/reference.h"

namespace KivoTest::Reference {
namespace {

int FloorDiv(int a, int b) {
  return a >= 0 ? a / b : -((b - 1 - a) / b);
}

// The product in units of 2^15, rounded to nearest.
int Product(int a, int factor) {
  return FloorDiv(a * factor + 16384, 32768);
}

std::uint8_t ClampByte(int value) {
  return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

// The factors of the real formulas times 4096, those of green times 16384; the bias is what 16 and 128 amount
// to, in 32nds, and half a unit.
struct Factors {
  int luma, bias, blue, red, green_u, green_v;
};
constexpr Factors kFactors[] = {{4096, 4112, 7258, 5743, -5638, -11700},
                                {4769, 4189, 8263, 6537, -6419, -13320},
                                {4769, 4189, 8652, 7343, -3494, -8731}};

}  // namespace

Pixel FromYcbcr(Kivo::YuvMatrix matrix, int y, int u, int v) {
  if (matrix == Kivo::YuvMatrix::Yuv) return FromYuv(y, u, v);
  const Factors &f = kFactors[static_cast<unsigned>(matrix) - 1];
  const int luma = Product(256 * (y - 128), f.luma) + f.bias;
  const int blue = Product(256 * (u - 128), f.blue);
  const int red = Product(256 * (v - 128), f.red);
  const int green = FloorDiv(256 * (u - 128) * f.green_u + 256 * (v - 128) * f.green_v + 65536, 131072);
  return {ClampByte(FloorDiv(luma + blue, 32)), ClampByte(FloorDiv(luma + green, 32)),
          ClampByte(FloorDiv(luma + red, 32))};
}

std::size_t YuvGroupPixels(Kivo::YuvLayout layout) {
  switch (layout) {
    case Kivo::YuvLayout::Uyv:
      return 1;
    case Kivo::YuvLayout::Uyvy:
    case Kivo::YuvLayout::Yuyv:
      return 2;
    default:
      return 4;
  }
}

std::size_t YuvGroupBytes(Kivo::YuvLayout layout) {
  return YuvGroupPixels(layout) + 2;
}

void YuvFrame(Kivo::YuvLayout layout, Kivo::YuvMatrix matrix, Output output, std::uint8_t *dst,
              const std::uint8_t *src, std::size_t groups) {
  std::size_t index = 0;
  const auto put = [&](int y, int u, int v) { Store(output, dst, index++, FromYcbcr(matrix, y, u, v)); };
  for (; groups > 0; --groups, src += YuvGroupBytes(layout)) {
    switch (layout) {
      case Kivo::YuvLayout::Uyv:
        put(src[1], src[0], src[2]);
        break;
      case Kivo::YuvLayout::Uyvy:
        put(src[1], src[0], src[2]);
        put(src[3], src[0], src[2]);
        break;
      case Kivo::YuvLayout::Yuyv:
        put(src[0], src[1], src[3]);
        put(src[2], src[1], src[3]);
        break;
      case Kivo::YuvLayout::Uyyvyy:
        for (const int y : {src[1], src[2], src[4], src[5]}) put(y, src[0], src[3]);
        break;
      default:
        for (const int y : {src[0], src[1], src[3], src[4]}) put(y, src[2], src[5]);
    }
  }
}

}  // namespace KivoTest::Reference
