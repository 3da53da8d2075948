// SPDX-License-Identifier: Apache-2.0
// A picture made in slices is the picture: in any order, on any threads, with any scheduler.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "frame/model.h"
#include "support/random.h"

namespace KivoTest {
namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr std::uint8_t kUntouched = 0xA6;

struct Free {
  void operator()(kivo_plan *plan) const { kivo_plan_free(plan); }
  void operator()(kivo_pool *pool) const { kivo_pool_free(pool); }
};
using Pool = std::unique_ptr<kivo_pool, Free>;

Pool MakePool(std::uint32_t threads) {
  kivo_pool *pool = nullptr;
  EXPECT_EQ(kivo_pool_make(threads, &pool), KIVO_OK);
  return Pool(pool);
}

// A plan, a frame for it and the picture of the model.
class Job {
 public:
  Job(std::uint32_t code, std::uint32_t width, std::uint32_t height, const kivo_options &options,
      std::ptrdiff_t pad, std::uint64_t seed)
      : judged_(Model::MakePlan(code, width, height, &options)) {
    kivo_plan *plan = nullptr;
    EXPECT_EQ(kivo_plan_make(code, width, height, &options, &plan), KIVO_OK);
    plan_.reset(plan);
    frame_.resize(static_cast<std::size_t>(Model::FrameBytes(*judged_.format, width, height)));
    Random random(seed);
    for (std::uint8_t &byte : frame_) byte = static_cast<std::uint8_t>(random.Next());
    const Model::View view{judged_.format, width, height, frame_.data(), 0, false};
    Bytes packed = Model::MakeAny(judged_, Model::Decode(view));
    // The YCbCr matrices have a freedom of one: the whole says which.
    if (judged_.format->yuv() && judged_.format->matrix != Model::Matrix::kInteger) {
      const kivo_frame in = frame();
      const kivo_picture whole{packed.data(), packed.size(), 0};
      EXPECT_EQ(kivo_run(plan, &in, &whole, nullptr, 0), KIVO_OK);
    }
    row_ = static_cast<std::size_t>(judged_.row_bytes);
    step_ = row_ + static_cast<std::size_t>(std::abs(pad));
    stride_ = static_cast<std::ptrdiff_t>(pad < 0 ? -static_cast<std::ptrdiff_t>(step_)
                                                  : static_cast<std::ptrdiff_t>(step_));
    wanted_ = Empty();
    Paste(wanted_, packed, 0, rows());
    packed_ = packed;
  }

  const kivo_plan *plan() const { return plan_.get(); }
  std::uint32_t rows() const { return judged_.height; }
  const Bytes &wanted() const { return wanted_; }
  kivo_frame frame() const { return {frame_.data(), frame_.size(), 0}; }
  kivo_picture picture(Bytes &out) const { return {out.data(), out.size(), stride_}; }
  Bytes Empty() const { return Bytes(step_ * (rows() - 1) + row_, kUntouched); }
  std::string Name() const {
    return judged_.format->name + " pixels " + std::to_string(judged_.options.pixels);
  }

  // Rows of the picture as the model has them.
  void Paste(Bytes &out, std::uint32_t first, std::uint32_t count) const {
    Paste(out, packed_, first, count);
  }

  kivo_status Rows(Bytes &out, std::uint32_t first, std::uint32_t count) const {
    const kivo_frame in = frame();
    const kivo_picture to = picture(out);
    return kivo_run_rows(plan(), &in, &to, first, count, nullptr, 0);
  }
  kivo_status On(Bytes &out, kivo_scheduler scheduler, void *self) const {
    const kivo_frame in = frame();
    const kivo_picture to = picture(out);
    return kivo_run_on(plan(), &in, &to, scheduler, self);
  }

 private:
  void Paste(Bytes &out, const Bytes &packed, std::uint32_t first, std::uint32_t count) const {
    for (std::uint32_t y = first; y < first + count; ++y) {
      const std::size_t line = stride_ < 0 ? rows() - 1 - y : y;
      std::copy_n(packed.begin() + static_cast<std::ptrdiff_t>(y * row_), row_,
                  out.begin() + static_cast<std::ptrdiff_t>(line * step_));
    }
  }

  Model::Plan judged_;
  std::unique_ptr<kivo_plan, Free> plan_;
  Bytes frame_;
  Bytes packed_;
  Bytes wanted_;
  std::size_t row_ = 0;
  std::size_t step_ = 0;
  std::ptrdiff_t stride_ = 0;
};

// Plans of every kind of path, with pictures of `height` rows, more or less.
std::vector<std::unique_ptr<Job>> Jobs(std::uint32_t width, std::uint32_t height) {
  static const std::vector<std::uint32_t> kCodes = {
      0x01080001, 0x010A0046, 0x01080009, 0x0108000B, 0x01100011, 0x010C0059, 0x010E0107,
      0x010C002B, 0x02300022, 0x020C001E, 0x02100032, 0x02100041, 0x021E0048, 0x01010037};
  std::vector<std::unique_ptr<Job>> jobs;
  std::uint64_t seed = 1;
  for (const std::uint32_t code : kCodes)
    for (const kivo_pixels pixels : {KIVO_BGRA8, KIVO_BGR8, KIVO_GRAY8, KIVO_RGB16, KIVO_SAMPLES})
      for (const kivo_bayer bayer : {KIVO_BAYER_STANDARD, KIVO_BAYER_BEST, KIVO_BAYER_HALF}) {
        const Model::Format &format = *Model::FormatOfCode(code);
        if (!format.bayer() && bayer != KIVO_BAYER_STANDARD) continue;
        kivo_options options = KIVO_OPTIONS_INIT;
        options.pixels = pixels;
        options.bayer = bayer;
        options.flags = static_cast<std::uint32_t>(seed % 4);
        if (seed % 3 == 0 && height >= 4) {
          options.crop_x = 4;
          options.crop_y = 1;
          options.crop_width = (width - 4) / 4 * 4;
          options.crop_height = height - 1;
        }
        jobs.push_back(std::make_unique<Job>(code, width, height, options,
                                             static_cast<std::ptrdiff_t>(seed % 5) * 3 - 6, seed));
        ++seed;
      }
  return jobs;
}

// Rows cut into slices, in any order.
std::vector<std::pair<std::uint32_t, std::uint32_t>> Slices(Random &random, std::uint32_t rows) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> slices;
  const std::uint32_t most = 1 + random.Below(rows);
  for (std::uint32_t at = 0; at < rows;) {
    const std::uint32_t count = std::min(random.Below(most + 1), rows - at);
    slices.emplace_back(at, count);
    at += count;
  }
  for (std::size_t i = slices.size(); i > 1; --i)
    std::swap(slices[i - 1], slices[random.Below(static_cast<std::uint32_t>(i))]);
  return slices;
}

TEST(Slices, InAnyOrderTouchNothingElse) {
  Random random(3);
  for (const std::uint32_t height : {2u, 4u, 13u, 30u})
    for (const auto &job : Jobs(44, height))
      for (int round = 0; round < 3; ++round) {
        Bytes out = job->Empty(), wanted = job->Empty();
        for (const auto &[first, count] : Slices(random, job->rows())) {
          ASSERT_EQ(job->Rows(out, first, count), KIVO_OK);
          job->Paste(wanted, first, count);
          ASSERT_EQ(out, wanted) << job->Name() << " after rows " << first << " + " << count;
        }
        ASSERT_EQ(out, job->wanted());
      }
}

TEST(Slices, OfOnePlanRunOnFourThreads) {
  for (const auto &job : Jobs(60, 40)) {
    // One picture that four share, and four of their own.
    Bytes shared = job->Empty();
    std::vector<Bytes> own(4, job->Empty());
    std::atomic<int> failures{0};
    const std::uint32_t part = (job->rows() + 3) / 4;
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < 4; ++i)
      threads.emplace_back([&, i] {
        Random random(100 + i);
        const std::uint32_t begin = std::min(i * part, job->rows()),
                            end = std::min(begin + part, job->rows());
        for (std::uint32_t y = end; y > begin; --y) failures += job->Rows(shared, y - 1, 1) != KIVO_OK;
        for (const auto &[first, count] : Slices(random, job->rows()))
          failures += job->Rows(own[i], first, count) != KIVO_OK;
      });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(shared, job->wanted()) << job->Name();
    for (const Bytes &picture : own) EXPECT_EQ(picture, job->wanted()) << job->Name();
  }
}

// Schedulers; `self` counts the jobs.
int Forwards(void *self, kivo_job job, void *context, std::size_t jobs) {
  for (std::size_t i = 0; i < jobs; ++i) job(context, i);
  *static_cast<std::size_t *>(self) = jobs;
  return 0;
}

int Backwards(void *self, kivo_job job, void *context, std::size_t jobs) {
  for (std::size_t i = jobs; i > 0; --i) job(context, i - 1);
  *static_cast<std::size_t *>(self) = jobs;
  return 0;
}

int OnThreads(void *self, kivo_job job, void *context, std::size_t jobs) {
  std::atomic<std::size_t> next{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&] {
      for (std::size_t at = next++; at < jobs; at = next++) job(context, at);
    });
  for (std::thread &thread : threads) thread.join();
  *static_cast<std::size_t *>(self) = jobs;
  return 0;
}

int OneOnly(void *self, kivo_job job, void *context, std::size_t jobs) {
  *static_cast<std::size_t *>(self) = jobs;
  if (jobs > 1) job(context, jobs / 2);
  return 7;
}

TEST(Slices, OnAnySchedulerMakeThePicture) {
  for (const std::uint32_t height : {2u, 3u, 64u, 301u})
    for (const auto &job : Jobs(height < 100 ? 36 : 200, height))
      for (const kivo_scheduler scheduler : {Forwards, Backwards, OnThreads}) {
        Bytes out = job->Empty();
        std::size_t jobs = 0;
        ASSERT_EQ(job->On(out, scheduler, &jobs), KIVO_OK);
        ASSERT_GE(jobs, 1u);
        ASSERT_EQ(out, job->wanted()) << job->Name() << " of " << height << " rows in " << jobs << " jobs";
      }
}

TEST(Slices, OfALargePictureAreSeveral) {
  kivo_options options = KIVO_OPTIONS_INIT;
  const Job job(0x01080009, 1500, 1000, options, 0, 5);
  Bytes out = job.Empty();
  std::size_t jobs = 0;
  ASSERT_EQ(job.On(out, Backwards, &jobs), KIVO_OK);
  EXPECT_GT(jobs, 1u);
  EXPECT_EQ(out, job.wanted());
}

TEST(Slices, OfASchedulerThatFails) {
  for (const auto &job : Jobs(64, 200)) {
    Bytes out = job->Empty();
    std::size_t jobs = 0;
    ASSERT_EQ(job->On(out, OneOnly, &jobs), KIVO_SCHEDULER_FAILED);
    // What was written is part of the picture.
    for (std::size_t i = 0; i < out.size(); ++i)
      ASSERT_TRUE(out[i] == kUntouched || out[i] == job->wanted()[i]) << job->Name() << " byte " << i;
  }
}

TEST(Slices, OnThePool) {
  for (const std::uint32_t threads : {1u, 2u, 5u}) {
    const Pool pool = MakePool(threads);
    ASSERT_EQ(kivo_pool_threads(pool.get()), threads);
    for (const std::uint32_t height : {2u, 3u, 211u})
      for (const auto &job : Jobs(100, height)) {
        Bytes out = job->Empty();
        ASSERT_EQ(job->On(out, kivo_pool_run, pool.get()), KIVO_OK);
        ASSERT_EQ(out, job->wanted()) << job->Name();
      }
  }
}

TEST(Slices, OfFourCallersOnOnePool) {
  const Pool pool = MakePool(3);
  const std::vector<std::unique_ptr<Job>> jobs = Jobs(120, 90);
  std::atomic<int> failures{0};
  std::vector<std::thread> callers;
  for (std::size_t caller = 0; caller < 4; ++caller)
    callers.emplace_back([&, caller] {
      for (std::size_t i = caller % 2; i < jobs.size(); i += 2) {  // two callers a plan
        Bytes out = jobs[i]->Empty();
        failures += jobs[i]->On(out, kivo_pool_run, pool.get()) != KIVO_OK;
        failures += out != jobs[i]->wanted();
      }
    });
  for (std::thread &caller : callers) caller.join();
  EXPECT_EQ(failures, 0);
}

struct Counts {
  std::vector<std::atomic<int>> times = std::vector<std::atomic<int>>(5000);
};

TEST(Slices, ThePoolRunsEachJobOnce) {
  for (const std::uint32_t threads : {1u, 2u, 4u}) {
    const Pool pool = MakePool(threads);
    for (const std::size_t jobs :
         {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{4999}}) {
      Counts counts;
      const auto job = [](void *context, std::size_t index) {
        ++static_cast<Counts *>(context)->times[index];
      };
      ASSERT_EQ(kivo_pool_run(pool.get(), job, &counts, jobs), 0);
      for (std::size_t i = 0; i < counts.times.size(); ++i) ASSERT_EQ(counts.times[i], i < jobs ? 1 : 0) << i;
    }
  }
}

TEST(Slices, ThePoolWorksOnSeveralThreads) {
  // Three jobs that wait for each other end only if three threads take them.
  const Pool pool = MakePool(3);
  std::atomic<int> arrived{0};
  const auto job = [](void *context, std::size_t) {
    auto &count = *static_cast<std::atomic<int> *>(context);
    ++count;
    while (count < 3) std::this_thread::yield();
  };
  EXPECT_EQ(kivo_pool_run(pool.get(), job, &arrived, 3), 0);
  EXPECT_EQ(arrived, 3);
}

}  // namespace
}  // namespace KivoTest
