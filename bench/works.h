// SPDX-License-Identifier: Apache-2.0
// Everything of the libraries and the C++ layer that turns one frame into another, described for timing.
#ifndef KIVO_BENCH_WORKS_H
#define KIVO_BENCH_WORKS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "frames.h"

namespace KivoBench {

struct Work {
  std::string family;    // works with the same kernel and output: "bayer8-bgra"
  std::string name;      // the function, and for ReverseImg the unit and direction
  Layout layout;         // of the source
  std::size_t src_bits;  // per pixel, as the function walks through them
  std::size_t dst_bits;
  bool moves_blocks;  // copy and flip, whose limit is memcpy
  std::function<void(std::uint8_t *dst, const std::uint8_t *src, Geometry geometry)> run;
  std::string plain{};  // a work with the same frames that does less, to be timed beside it; none if empty

  std::size_t SrcBytes(Geometry geometry) const { return geometry.pixels() * src_bits / 8; }
  std::size_t DstBytes(Geometry geometry) const { return geometry.pixels() * dst_bits / 8; }
};

// All 74 converters in the order of the header, then ReverseImg: every unit in every direction; then the C++
// layer's unpacking, and its conversion of samples that share bytes; then the engine's plans.
const std::vector<Work> &AllWorks();

// By name; throws if there is none.
const Work &FindWork(const std::string &name);

}  // namespace KivoBench

#endif  // KIVO_BENCH_WORKS_H
