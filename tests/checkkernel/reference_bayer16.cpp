// SPDX-License-Identifier: Apache-2.0
#include "checkkernel/reference_bayer.h"

namespace KivoTest::Reference {

void Bayer16(Order order, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t width,
             std::size_t height, std::uint32_t shift) {
  const std::uint32_t s = shift & 0xFF;
  // The low byte of the sum divided by the number of members times 2^s, in one division. Counts are modulo
  // 32, and the divisor of three members is a signed 32-bit number.
  const auto mean = [s](Members members) {
    std::int32_t value = 0;
    switch (members.count) {
      case 1:
        value = members.total >> (s % 32);
        break;
      case 2:
        value = members.total >> ((s + 1) % 32);
        break;
      case 3:
        value = members.total / static_cast<std::int32_t>(std::uint32_t{3} << (s % 32));
        break;
      default:
        value = members.total >> ((s + 2) % 32);
        break;
    }
    return static_cast<std::uint8_t>(value & 0xFF);
  };
  Demosaic(order, output, dst, Mosaic(src, width, height, 2), mean);
}

}  // namespace KivoTest::Reference
