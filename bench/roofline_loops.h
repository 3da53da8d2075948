// SPDX-License-Identifier: Apache-2.0
// Loops that do nothing but a conversion's memory traffic, one table per instruction-set target.
#ifndef KIVO_BENCH_ROOFLINE_LOOPS_H
#define KIVO_BENCH_ROOFLINE_LOOPS_H

#include <stddef.h>
#include <stdint.h>

namespace KivoBench {

constexpr size_t kLine = 64;

// Per step: reads lines of 64 bytes from src, then writes lines to dst. Both pointers are aligned to a line.
using TrafficLoop = void (*)(uint8_t *dst, const uint8_t *src, size_t steps);

struct Traffic {
  unsigned reads;   // lines per step
  unsigned writes;  // lines per step
  TrafficLoop ordinary;
  TrafficLoop streaming;
};

struct RooflineLoops {
  const Traffic *table;
  size_t count;
  void (*read)(const uint8_t *src, size_t lines);
};

}  // namespace KivoBench

#endif  // KIVO_BENCH_ROOFLINE_LOOPS_H
