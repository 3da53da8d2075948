// SPDX-License-Identifier: Apache-2.0
// Times several contenders against each other, fairly.
#ifndef KIVO_BENCH_TIMING_H
#define KIVO_BENCH_TIMING_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace KivoBench {

struct Contender {
  std::string name;
  std::function<void(std::size_t frame)> call;  // on one pair of buffers out of those that rotate
};

// Nothing that one thread does here waits: its processor time is, on an idle machine, the time that passes,
// and on a busy one it leaves out what other programs take. Only the time that passes counts the work of
// several threads once.
enum class Clock { kThread, kWall };

struct Effort {
  int rounds;             // batches of each contender
  double batch_seconds;   // a batch lasts at least this long
  std::size_t min_calls;  // and makes at least so many calls
  Clock clock = Clock::kThread;
};

struct Timing {
  std::vector<double> batches;  // seconds per call, in the order of the rounds
  double median;
};

// How each contender did. Contenders take turns in whole batches, never in single calls: stores that bypass
// the caches evict what another contender would find there. With one pair of buffers an untimed call opens
// each batch; with several, every call gets the pair that was used longest ago, by whomever.
std::vector<Timing> TimeContenders(const std::vector<Contender> &contenders, std::size_t frames,
                                   const Effort &effort);

// How many times as long a took as b: the median over the rounds, each compared with itself, since the load
// of a shared machine drifts from round to round.
double Ratio(const Timing &a, const Timing &b);

// Seconds of one call.
double SecondsOnce(const std::function<void()> &call, Clock clock = Clock::kThread);

// Keeps this thread on one processor; -1 means the last one that it may use. Returns the one chosen, -1 where
// the system does not offer it.
int PinToProcessor(int processor);

}  // namespace KivoBench

#endif  // KIVO_BENCH_TIMING_H
