// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "checkkernel/reference.h"

namespace KivoTest::Reference {
namespace {

// A constant as an integer number of 2^-bits; exact, since no constant below has bits further down and a
// product with a power of two is exact.
constexpr std::int64_t Scaled(double constant, int bits) {
  return static_cast<std::int64_t>(constant * static_cast<double>(std::int64_t{1} << bits));
}

std::uint8_t ClampByte(std::int64_t value) {
  return static_cast<std::uint8_t>(std::clamp<std::int64_t>(value, 0, 255));
}

// y + chroma * factor + 1/2, truncated toward zero, with factor the double nearest to the decimal number. A
// double between 1 and 2 is a whole number of 2^-52, and the scaled sum stays below 2^62.
std::uint8_t LumaPlus(int y, int chroma, double factor) {
  const std::int64_t one = std::int64_t{1} << 52;
  const std::int64_t sum = y * one + chroma * Scaled(factor, 52) + one / 2;
  return ClampByte(sum / one);
}

}  // namespace

std::uint32_t GreenIndex(int u, int v) {
  // Single-precision constants, whole numbers of 2^-25.
  const std::int64_t one = std::int64_t{1} << 25;
  const std::int64_t c714 = Scaled(static_cast<double>(0.714f), 25);
  const std::int64_t c344 = Scaled(static_cast<double>(0.344f), 25);
  const std::int64_t sum = (v - 128) * c714 + (u - 128) * c344 + 256 * one + one / 2;
  return std::min<std::uint32_t>(511, static_cast<std::uint32_t>(sum / one) & 0xFFFF);
}

std::uint8_t Green(int index, int y) {
  return ClampByte(y + 256 - index);
}
std::uint8_t Red(int v, int y) {
  return LumaPlus(y, v - 128, 1.402);
}
std::uint8_t Blue(int u, int y) {
  return LumaPlus(y, u - 128, 1.772);
}

Pixel FromYuv(int y, int u, int v) {
  return {Blue(u, y), Green(static_cast<int>(GreenIndex(u, v)), y), Red(v, y)};
}

void Yuv8(Layout layout, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t pixels) {
  // Pixels beyond the last whole group are not written.
  if (layout == Layout::kYuv411) {
    for (std::size_t group = 0; group < pixels / 4; ++group) {
      const std::uint8_t *const in = src + 6 * group;  // U Y0 Y1 V Y2 Y3
      Store(output, dst, 4 * group, FromYuv(in[1], in[0], in[3]));
      Store(output, dst, 4 * group + 1, FromYuv(in[2], in[0], in[3]));
      Store(output, dst, 4 * group + 2, FromYuv(in[4], in[0], in[3]));
      Store(output, dst, 4 * group + 3, FromYuv(in[5], in[0], in[3]));
    }
  } else if (layout == Layout::kYuv422) {
    const std::size_t stride = output == Output::kBgra ? 4 : 5;
    for (std::size_t group = 0; group < pixels / 2; ++group) {
      const std::uint8_t *const in = src + stride * group;  // U Y0 V Y1
      Store(output, dst, 2 * group, FromYuv(in[1], in[0], in[2]));
      Store(output, dst, 2 * group + 1, FromYuv(in[3], in[0], in[2]));
    }
  } else {
    for (std::size_t i = 0; i < pixels; ++i) {
      const std::uint8_t *const in = src + 4 * i;  // U Y V
      Store(output, dst, i, FromYuv(in[1], in[0], in[2]));
    }
  }
}

}  // namespace KivoTest::Reference
