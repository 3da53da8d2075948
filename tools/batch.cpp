// SPDX-License-Identifier: Apache-2.0
#include "batch.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <thread>

#include "interrupt.h"

namespace tool {
namespace {

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
      std::unique_lock<std::mutex> lock(mutex_);
      for (unsigned i = 0; i < threads; ++i) {
        // Fewer threads than asked for do the same work.
        try {
          workers.emplace_back([this] { workAll(); });
        } catch (const std::system_error &) {
          if (workers.empty()) throw;
          break;
        }
      }
      running_ = workers.size();
      while (running_ != 0) {
        ended_.wait_for(lock, std::chrono::milliseconds(100));
        progress_.show(result_.counts);
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
      const Outcome outcome = outcomeOf(job, work_);
      lock.lock();
      count(outcome);
      report_(job, outcome);
      if (outcome.status == Outcome::Status::Failed) progress_.line("kivocam: " + oneLine(outcome.error));
    }
    if (--running_ == 0) ended_.notify_one();
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

Outcome outcomeOf(const Job &job, const std::function<Outcome(const Job &)> &work) {
  Outcome outcome;
  try {
    return work(job);
  } catch (const Failure &failure) {
    outcome.code = failure.code();
    outcome.error = failure.what();
  } catch (const std::bad_alloc &) {
    outcome.code = Exit::Input;
    outcome.error = job.input + ": not enough memory";
  } catch (const std::exception &error) {
    outcome.code = Exit::Input;
    outcome.error = job.input + ": " + error.what();
  }
  return outcome;
}

BatchResult runBatch(const std::vector<Job> &jobs, unsigned threads, Progress &progress, Counts counts,
                     const std::function<Outcome(const Job &)> &work,
                     const std::function<void(const Job &, const Outcome &)> &report) {
  Batch batch(jobs, progress, counts, work, report);
  return batch.run(std::max(
      1U, std::min<unsigned>(threads, static_cast<unsigned>(std::min<std::size_t>(jobs.size(), 1024)))));
}

}  // namespace tool
