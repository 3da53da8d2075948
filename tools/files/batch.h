// SPDX-License-Identifier: Apache-2.0
// Many files on all processors: one that fails does not keep the others from being done.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "files/file_list.h"
#include "files/progress.h"
#include "words/failure.h"

namespace tool {

// How one file ended.
struct Outcome {
  enum class Status { Converted, Skipped, Failed };
  Status status = Status::Failed;
  Exit code = Exit::Ok;
  std::string error;  // one line; empty unless Failed, and where there was no memory for it
  // Of the frame, where it could be read.
  const kivo::Format *format = nullptr;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint64_t ignoredBytes = 0;
  std::string doubt;  // of its samples; empty if there is none
  // Where it was asked for.
  std::string conversion;
  std::optional<kivo::Colour> colour;
  double milliseconds = 0;
};

struct BatchResult {
  Counts counts;
  std::uint64_t notDone = 0;  // never begun
  bool outputLost = false;    // given up: several outputs in a row could not be written
  int signal = 0;             // that asked for an end, or 0
  double seconds = 0;

  Exit code() const noexcept;
};

// What fails on the side of the output fails for every file: that many in a row are enough to give up.
inline constexpr unsigned kLostOutputs = 3;

// Calls `work` for every job, in `threads` threads (0: one for each processor), and `report` behind it, one
// at a time. Both are given the elements of `jobs` themselves, no copies. `work` throws what it fails of.
// Each failure is said on standard error at once.
// Where memory or file descriptors are too few for so many workers, some of them end, and what they had
// begun is begun again.
BatchResult runBatch(const std::vector<Job> &jobs, unsigned threads, Progress &progress, Counts counts,
                     const std::function<Outcome(const Job &)> &work,
                     const std::function<void(const Job &, const Outcome &)> &report);

// What `work` gives or throws, as an outcome.
Outcome outcomeOf(const Job &job, const std::function<Outcome(const Job &)> &work) noexcept;

}  // namespace tool
