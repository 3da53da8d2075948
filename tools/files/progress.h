// SPDX-License-Identifier: Apache-2.0
// How far a run over many files is, on standard error.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

namespace tool {

struct Counts {
  std::uint64_t total = 0;
  std::uint64_t converted = 0;
  std::uint64_t skipped = 0;
  std::uint64_t failed = 0;

  std::uint64_t done() const noexcept { return converted + skipped + failed; }
};

// A bar on a terminal, redrawn at most ten times a second; elsewhere a line every five seconds. Usable from
// several threads.
class Progress {
 public:
  explicit Progress(bool quiet);

  // Shows the counts if it is time to, and there is memory for it.
  void show(const Counts &counts) noexcept;
  // A line of its own above the bar, on standard error or output.
  void line(const std::string &text, std::FILE *to = stderr);
  // Takes the bar away.
  void end();

  double seconds() const;

 private:
  using Clock = std::chrono::steady_clock;

  std::mutex mutex_;
  bool quiet_;
  bool terminal_;
  bool drawn_ = false;
  const std::uint64_t readBefore_;
  const std::uint64_t writtenBefore_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point last_ = start_;
};

}  // namespace tool
