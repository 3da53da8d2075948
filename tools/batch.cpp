// SPDX-License-Identifier: Apache-2.0
#include "batch.h"

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <mutex>
#include <new>
#include <thread>

#include "interrupt.h"
#include "text.h"

namespace tool {
namespace {

const char kNoMemory[] = ": not enough memory";

class Batch {
 public:
  Batch(const std::vector<Job> &jobs, Progress &progress, Counts counts,
        const std::function<Outcome(const Job &)> &work,
        const std::function<void(const Job &, const Outcome &)> &report)
      : jobs_(jobs), progress_(progress), work_(work), report_(report) {
    result_.counts = counts;
  }

  BatchResult run(unsigned threads) {
    const GracefulEnd graceful;
    std::vector<std::thread> workers;
    {
      workers.reserve(threads);
      std::unique_lock<std::mutex> lock(mutex_);
      for (unsigned i = 0; i < threads; ++i) {
        // Fewer threads than asked for do the same work.
        try {
          workers.emplace_back([this] { workAll(); });
        } catch (const std::exception &) {
          if (workers.empty()) throw;
          break;
        }
      }
      running_ = workers.size();
      while (running_ != 0) {
        ended_.wait_for(lock, std::chrono::milliseconds(100));
        const Counts counts = result_.counts;
        // A slow terminal keeps nobody from working.
        lock.unlock();
        progress_.show(counts);
        lock.lock();
      }
    }
    for (std::thread &worker : workers) worker.join();
    progress_.end();
    result_.notDone = jobs_.size() - finished_;
    result_.signal = GracefulEnd::signal();
    result_.seconds = progress_.seconds();
    return result_;
  }

 private:
  void workAll() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (next_ < jobs_.size() && !result_.outputLost && GracefulEnd::signal() == 0) {
      const Job &job = jobs_[next_++];
      lock.unlock();
      Outcome outcome = outcomeOf(job, work_);
      lock.lock();
      if (!tell(job, outcome)) outcome = {};
      count(outcome);
    }
    if (--running_ == 0) ended_.notify_one();
  }

  // Whether there was memory for it. A file that nothing can be told about counts as failed.
  bool tell(const Job &job, Outcome &outcome) noexcept {
    try {
      const bool untold = outcome.status == Outcome::Status::Failed && outcome.error.empty();
      if (untold) outcome.error = job.input + kNoMemory;
      report_(job, outcome);
      if (outcome.status == Outcome::Status::Failed) progress_.line("kivocam: " + oneLine(outcome.error));
      return true;
    } catch (const std::exception &) {
      std::fputs("kivocam: ", stderr);
      putOneLine(job.input);
      std::fprintf(stderr, "%s\n", kNoMemory);
      return false;
    }
  }

  // As oneLine() has it, without memory of its own.
  static void putOneLine(const std::string &text) noexcept {
    for (const char c : text) {
      const unsigned char byte = static_cast<unsigned char>(c);
      std::fprintf(stderr, byte < 0x20 || byte == 0x7F ? "\\x%02x" : "%c", byte);
    }
  }

  void count(const Outcome &outcome) {
    ++finished_;
    Counts &counts = result_.counts;
    counts.bytes += outcome.bytes;
    switch (outcome.status) {
      case Outcome::Status::Converted:
        ++counts.converted;
        lostInARow_ = 0;
        break;
      case Outcome::Status::Skipped:
        ++counts.skipped;
        break;
      case Outcome::Status::Failed:
        ++counts.failed;
        if (outcome.code == Exit::Output && ++lostInARow_ >= kLostOutputs) result_.outputLost = true;
        break;
    }
  }

  const std::vector<Job> &jobs_;
  Progress &progress_;
  const std::function<Outcome(const Job &)> &work_;
  const std::function<void(const Job &, const Outcome &)> &report_;

  std::mutex mutex_;  // guards what follows, and the calls of report_
  std::condition_variable ended_;
  BatchResult result_;
  std::size_t next_ = 0;
  std::size_t finished_ = 0;
  std::size_t running_ = 0;
  unsigned lostInARow_ = 0;
};

}  // namespace

Exit BatchResult::code() const noexcept {
  if (outputLost) return Exit::Output;
  return counts.failed == 0 ? Exit::Ok : Exit::Some;
}

Outcome outcomeOf(const Job &job, const std::function<Outcome(const Job &)> &work) noexcept {
  Outcome outcome;
  outcome.code = Exit::Input;
  try {
    try {
      return work(job);
    } catch (const Failure &failure) {
      outcome.code = failure.code();
      outcome.error = failure.what();
    } catch (const std::bad_alloc &) {
      outcome.error = job.input + kNoMemory;
    } catch (const std::exception &error) {
      outcome.error = job.input + ": " + error.what();
    }
  } catch (const std::bad_alloc &) {
    outcome.error.clear();
  }
  return outcome;
}

BatchResult runBatch(const std::vector<Job> &jobs, unsigned threads, Progress &progress, Counts counts,
                     const std::function<Outcome(const Job &)> &work,
                     const std::function<void(const Job &, const Outcome &)> &report) {
  if (threads == 0) threads = std::thread::hardware_concurrency();
  Batch batch(jobs, progress, counts, work, report);
  return batch.run(std::max(
      1U, std::min<unsigned>(threads, static_cast<unsigned>(std::min<std::size_t>(jobs.size(), 1024)))));
}

}  // namespace tool
