// SPDX-License-Identifier: Apache-2.0
// How many bytes the process has moved, whatever became of them.
#pragma once

#include <atomic>
#include <cstdint>

namespace tool {

// Of files, pipes and standard input and output. Any thread may count and look.
struct Traffic {
  std::atomic<std::uint64_t> read{0};
  std::atomic<std::uint64_t> written{0};
};

inline Traffic s_traffic;

}  // namespace tool
