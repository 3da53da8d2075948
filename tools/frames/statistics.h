// SPDX-License-Identifier: Apache-2.0
// What the samples of a frame are: range, mean, shares and distribution of each colour.
#pragma once

#include <KivoCamUtl.hpp>
#include <array>
#include <cstdint>
#include <vector>

namespace tool {

// Bars of a histogram; each stands for the same share of the nominal range.
inline constexpr unsigned kBins = 64;

// The samples of one colour.
struct Component {
  const char *name = "";
  std::uint64_t count = 0;
  std::uint32_t least = 0;
  std::uint32_t most = 0;
  double mean = 0;
  // Shares of all samples, 0 to 1.
  double zero = 0;
  double clipped = 0;  // at the top of the nominal range
  double atMost = 0;   // at the largest that occurs: where a sensor saturates below its format
  double above = 0;    // above it: the converters let these wrap
  // Samples per bar. What is above the nominal range counts in the last one.
  std::array<std::uint64_t, kBins> histogram{};
};

struct Statistics {
  std::vector<Component> components;
  std::uint32_t top = 0;  // of the nominal range, 2^depth - 1
  // Samples that a bar stands for.
  std::uint32_t binWidth() const noexcept { return (top + 1) / kBins; }
};

// Of any frame that kivo::unpack() takes. Throws std::bad_alloc.
Statistics measure(const kivo::FrameView &view);

}  // namespace tool
