// SPDX-License-Identifier: Apache-2.0
#include "checkkernel/reference.h"

namespace KivoTest::Reference {

void MonoRgb8(Layout layout, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    Pixel pixel{};
    if (layout == Layout::kMono) {
      pixel = {src[i], src[i], src[i]};
    } else if (layout == Layout::kRgb) {
      pixel = {src[3 * i + 2], src[3 * i + 1], src[3 * i]};
    } else {
      pixel = {src[3 * i], src[3 * i + 1], src[3 * i + 2]};
    }
    Store(output, dst, i, pixel);
  }
}

}  // namespace KivoTest::Reference
