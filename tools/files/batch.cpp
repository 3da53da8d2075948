// SPDX-License-Identifier: Apache-2.0
#include "files/batch.h"

#include <malloc.h>
#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <mutex>
#include <new>
#include <thread>

#include "files/interrupt.h"
#include "words/text.h"

namespace tool {
namespace {

const char kNoMemory[] = ": not enough memory";

// What a thread reserves for its stack and its heap without need, and keeps when it ends, others lack where
// address space is limited. A C library that does not know these settings has smaller ones by itself, and the
// thread sanitizer needs larger ones.
void reserveLittle() noexcept {
#if defined(__GLIBC__) && !defined(__SANITIZE_THREAD__)
  ::mallopt(M_ARENA_MAX, 1);
  pthread_attr_t attributes;
  if (::pthread_attr_init(&attributes) != 0) return;
  constexpr std::size_t stack = std::size_t{1} << 19;
  if (::pthread_attr_setstacksize(&attributes, stack) == 0) ::pthread_setattr_default_np(&attributes);
  ::pthread_attr_destroy(&attributes);
#endif
}

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
      postponed_.reserve(threads);
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
    while (const Job *job = next()) {
      const bool alone = running_ == 1;
      lock.unlock();
      Outcome outcome = outcomeOf(*job, work_);
      lock.lock();
      if (outcome.code == Exit::Shortage && !alone) {
        // There may be enough for fewer workers. No more jobs are put off than there were workers.
        postponed_.push_back(job);
        if (running_ > 1) break;
        continue;
      }
      if (!tell(*job, outcome)) outcome = {};
      count(outcome);
    }
    if (--running_ == 0) ended_.notify_one();
  }

  // What was put off is for the last worker, that has all there is.
  const Job *next() noexcept {
    if (result_.outputLost || GracefulEnd::signal() != 0) return nullptr;
    if (next_ < jobs_.size()) return &jobs_[next_++];
    if (running_ > 1 || postponed_.empty()) return nullptr;
    const Job *job = postponed_.back();
    postponed_.pop_back();
    return job;
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
  std::vector<const Job *> postponed_;
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
      outcome.code = Exit::Shortage;
      outcome.error = job.input + kNoMemory;
    } catch (const std::exception &error) {
      outcome.error = job.input + ": " + error.what();
    }
  } catch (const std::bad_alloc &) {
    outcome.code = Exit::Shortage;
    outcome.error.clear();
  }
  return outcome;
}

BatchResult runBatch(const std::vector<Job> &jobs, unsigned threads, Progress &progress, Counts counts,
                     const std::function<Outcome(const Job &)> &work,
                     const std::function<void(const Job &, const Outcome &)> &report) {
  reserveLittle();
  if (threads == 0) threads = std::thread::hardware_concurrency();
  Batch batch(jobs, progress, counts, work, report);
  return batch.run(std::max(
      1U, std::min<unsigned>(threads, static_cast<unsigned>(std::min<std::size_t>(jobs.size(), 1024)))));
}

}  // namespace tool
