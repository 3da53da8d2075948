// SPDX-License-Identifier: Apache-2.0
#include "timing.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>

#if defined(__linux__)
#include <sched.h>
#endif

namespace KivoBench {
namespace {

// The time that passes where the system does not tell that of a thread.
double Now([[maybe_unused]] Clock clock) {
#if defined(CLOCK_THREAD_CPUTIME_ID)
  timespec now;
  if (clock == Clock::kThread && clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now) == 0)
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
#endif
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace

double SecondsOnce(const std::function<void()> &call, Clock clock) {
  const double start = Now(clock);
  call();
  return Now(clock) - start;
}

std::vector<Timing> TimeContenders(const std::vector<Contender> &contenders, std::size_t frames,
                                   const Effort &effort) {
  std::size_t turn = 0;  // shared, so that each call gets the pair that was used longest ago
  const auto run = [&](const Contender &contender) {
    contender.call(turn);
    turn = (turn + 1) % frames;
  };

  std::vector<std::size_t> calls;
  for (const Contender &contender : contenders) {
    run(contender);
    const double seconds = std::max(SecondsOnce([&] { run(contender); }, effort.clock), 1e-7);
    const auto wanted = static_cast<std::size_t>(std::ceil(effort.batch_seconds / seconds));
    calls.push_back(std::max({wanted, effort.min_calls, std::min<std::size_t>(frames, 8)}));
  }

  std::vector<Timing> timings(contenders.size());
  for (int round = 0; round < effort.rounds; ++round) {
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      if (frames == 1) run(contenders[i]);
      const auto batch = [&] {
        for (std::size_t k = 0; k < calls[i]; ++k) run(contenders[i]);
      };
      const double seconds = SecondsOnce(batch, effort.clock);
      timings[i].batches.push_back(seconds / static_cast<double>(calls[i]));
    }
  }
  for (Timing &timing : timings) timing.median = Median(timing.batches);
  return timings;
}

double Ratio(const Timing &a, const Timing &b) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < a.batches.size(); ++i) ratios.push_back(a.batches[i] / b.batches[i]);
  return Median(std::move(ratios));
}

int PinToProcessor(int processor) {
#if defined(__linux__)
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return -1;
  if (processor < 0) {
    for (int i = 0; i < CPU_SETSIZE; ++i) {
      if (CPU_ISSET(static_cast<std::size_t>(i), &allowed)) processor = i;
    }
  }
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(static_cast<std::size_t>(processor), &one);
  return sched_setaffinity(0, sizeof one, &one) == 0 ? processor : -1;
#else
  static_cast<void>(processor);
  return -1;
#endif
}

}  // namespace KivoBench
