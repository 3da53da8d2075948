// SPDX-License-Identifier: Apache-2.0
// The speed of memory: how fast this machine reads and writes the bytes of a conversion in step.
#ifndef KIVO_BENCH_ROOFLINE_H
#define KIVO_BENCH_ROOFLINE_H

#include <cstddef>
#include <cstdint>

#include "roofline_loops.h"

namespace KivoBench {

// Always the widest loops that the processor runs, whatever target the library is pinned to.
class Roofline {
 public:
  // For conversions of this ratio of source to destination bytes. Throws if no loop has that ratio.
  Roofline(std::size_t src_bytes, std::size_t dst_bytes);

  void Ordinary(std::uint8_t *dst, const std::uint8_t *src) const { Run(traffic_->ordinary, dst, src); }
  void Streaming(std::uint8_t *dst, const std::uint8_t *src) const { Run(traffic_->streaming, dst, src); }

 private:
  void Run(TrafficLoop loop, std::uint8_t *dst, const std::uint8_t *src) const;

  const Traffic *traffic_;
  std::size_t steps_;
  std::size_t rest_;
};

// Reads every line of a buffer that is aligned to a line, as whoever shows or stores the picture next does.
void ReadPass(const std::uint8_t *src, std::size_t bytes);

// Bytes of the accesses that the loops make.
std::size_t RooflineAccessBytes();

}  // namespace KivoBench

#endif  // KIVO_BENCH_ROOFLINE_H
