// SPDX-License-Identifier: Apache-2.0
// What the benchmarks' command lines have in common.
#ifndef KIVO_BENCH_OPTIONS_H
#define KIVO_BENCH_OPTIONS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "frames.h"
#include "timing.h"

namespace KivoBench {

struct Options {
  std::string filter;  // regular expression on benchmark names
  std::string json;    // file to write, none if empty
  std::string target;  // library target to pin, the processor's best if empty
  std::string stores;  // ordinary, streaming, or the library's own choice if empty
  std::optional<Geometry> size;
  std::size_t rotate_bytes = std::size_t{256} << 20;  // what cold buffers rotate through
  int processor = -1;
  bool quick = false;
  bool with_read = false;
};

// A benchmark program: understands its options, "--name=value" or "--name value", pins processor, target and
// stores, and lets `run` register its benchmarks and run them. Returns the exit code, 77 if the target does
// not run here.
int RunProgram(int argc, char **argv, const char *summary, int (*run)(const Options &options));

// A frame size under one condition.
struct Setting {
  Geometry geometry;
  bool cold;  // buffers rotate, as with frames that a camera has just delivered

  std::string Name() const { return geometry.Name() + (cold ? "/cold" : "/warm"); }
};

// The sizes to run: the standard ones, or the one asked for, warm and cold. huge adds 10240x7680.
std::vector<Setting> Settings(const Options &options, bool huge);

Effort EffortFor(const Options &options, std::size_t bytes);

// Pairs of buffers to rotate through.
std::size_t FrameCount(const Options &options, const Setting &setting, std::size_t bytes_per_pair);

}  // namespace KivoBench

#endif  // KIVO_BENCH_OPTIONS_H
