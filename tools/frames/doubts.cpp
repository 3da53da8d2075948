// SPDX-License-Identifier: Apache-2.0
#include "frames/doubts.h"

#include <cinttypes>
#include <cmath>

#include "frames/statistics.h"
#include "words/text.h"

namespace tool {
namespace {

std::uint32_t largest(const kivo::FrameView &view) {
  const kivo::Result<kivo::Range> range = kivo::sampleRange(view);
  return range ? range->high : 0;
}

unsigned bitsOf(std::uint32_t value) {
  unsigned bits = 0;
  for (; value != 0; value >>= 1) ++bits;
  return bits;
}

}  // namespace

std::string doubtOf(const RawInput &input) {
  const kivo::Format &format = *input.format;
  // Words of their own have bits to spare.
  if (format.packing != KIVO_PLAIN || format.plain_bytes != 2 || format.depth == 16) return {};
  kivo::FrameView view = input.view();
  const std::uint32_t most = largest(view), top = (1U << format.depth) - 1;
  if (most <= top) return {};
  double above = 0, all = 0;
  for (const Component &c : measure(view).components) {
    above += std::round(c.above * static_cast<double>(c.count));
    all += static_cast<double>(c.count);
  }
  std::string text =
      printed("samples above %" PRIu32 ", the largest of %u bits: %.0f of %.0f, up to %" PRIu32, top,
              static_cast<unsigned>(format.depth), above, all, most);
  const bool big = view.byteOrder == kivo::ByteOrder::Big;
  view.byteOrder = big ? kivo::ByteOrder::Little : kivo::ByteOrder::Big;
  if (largest(view) <= top) return text + "; none is " + (big ? "without" : "with") + " --swap-bytes";
  return text + printed("; a format of %u bits holds them", bitsOf(most));
}

}  // namespace tool
