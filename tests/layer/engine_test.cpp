// SPDX-License-Identifier: Apache-2.0
// kivo/frame.hpp: what it passes on arrives at the engine, and what the engine answers comes back.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <kivo/frame.hpp>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

// Types of users, as visible as they make them, which hold those of the header.
struct Stage {
  kivo::Plan plan;
  kivo::Pool pool;
  kivo::Options options;
  kivo::Result<kivo::Plan> made;
};

namespace {

using namespace kivo;

static_assert(!std::is_copy_constructible_v<Plan> && std::is_nothrow_move_constructible_v<Plan>);
static_assert(!std::is_copy_constructible_v<Pool> && std::is_nothrow_move_assignable_v<Pool>);

using Buffer = std::vector<std::uint8_t>;

constexpr std::uint32_t kWidth = 150, kHeight = 1500;
constexpr std::ptrdiff_t kFrameStride = 240, kPictureStride = 640;
constexpr std::uint8_t kUntouched = 0xA5;

Buffer randomBytes(std::size_t size) {
  std::mt19937 generator(7);
  Buffer bytes(size);
  for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(generator() >> 11);
  return bytes;
}

// A frame of BayerRG12p with padded rows, exactly as long as it must be, and its picture.
struct Work {
  Buffer from = randomBytes(static_cast<std::size_t>(kFrameStride) * (kHeight - 1) + kWidth * 3 / 2);
  Buffer to = Buffer(static_cast<std::size_t>(kPictureStride) * (kHeight - 1) + kWidth * 4, kUntouched);
  kivo_frame frame{from.data(), from.size(), kFrameStride};
  kivo_picture picture{to.data(), to.size(), kPictureStride};
};

Options rgba() {
  Options options;
  options.pixels = Pixels::Rgba8;
  return options;
}

Result<Plan> makePlan(const Options &options = rgba()) {
  return Plan::make(findFormat("BayerRG12p"), kWidth, kHeight, options);
}

// The same by the C functions, in one piece.
Buffer expectedPicture(Work &work) {
  kivo_options options = KIVO_OPTIONS_INIT;
  options.pixels = KIVO_RGBA8;
  kivo_plan *plan = nullptr;
  EXPECT_EQ(kivo_plan_make(0x010C0059, kWidth, kHeight, &options, &plan), KIVO_OK);
  Buffer pixels(work.to.size(), kUntouched);
  const kivo_frame frame = {work.from.data(), work.from.size(), kFrameStride};
  const kivo_picture picture = {pixels.data(), pixels.size(), kPictureStride};
  EXPECT_EQ(kivo_run(plan, &frame, &picture, nullptr, 0), KIVO_OK);
  kivo_plan_free(plan);
  return pixels;
}

TEST(Engine, ConvertsOnTwoThreads) {
  Work work;
  const auto plan = makePlan();
  auto pool = Pool::make(2);
  ASSERT_TRUE(plan) << plan.message();
  ASSERT_TRUE(pool) << pool.message();
  EXPECT_EQ(pool->threads(), 2U);
  ASSERT_EQ(plan->runOn(*pool, work.frame, work.picture), Errc::Ok);
  EXPECT_EQ(work.to, expectedPicture(work));
  EXPECT_EQ(work.to[kWidth * 4], kUntouched);
  EXPECT_NE(work.to, Buffer(work.to.size(), kUntouched));
}

TEST(Engine, ConvertsWholeAndByRows) {
  Work work;
  const Buffer expected = expectedPicture(work);
  const auto plan = makePlan();
  ASSERT_TRUE(plan);
  EXPECT_EQ(plan->width(), kWidth);
  EXPECT_EQ(plan->height(), kHeight);
  EXPECT_EQ(plan->rowBytes(), kWidth * 4U);
  EXPECT_EQ(plan->pictureBytes(), kWidth * 4U * kHeight);
  ASSERT_EQ(plan->run(work.frame, work.picture), Errc::Ok);
  EXPECT_EQ(work.to, expected);
  work.to.assign(work.to.size(), kUntouched);
  Buffer scratch(plan->scratchBytes());
  ASSERT_EQ(plan->runRows(work.frame, work.picture, 71, kHeight - 71, scratch.data(), scratch.size()),
            Errc::Ok);
  EXPECT_EQ(work.to[0], kUntouched);
  ASSERT_EQ(plan->runRows(work.frame, work.picture, 0, 71), Errc::Ok);
  EXPECT_EQ(work.to, expected);
  ASSERT_FALSE(scratch.empty());
  EXPECT_EQ(plan->run(work.frame, work.picture, scratch.data(), scratch.size() - 1), Errc::ShortScratch);
}

TEST(Engine, TakesAnyScheduler) {
  Work work;
  const Buffer expected = expectedPicture(work);
  const auto plan = makePlan();
  ASSERT_TRUE(plan);
  std::size_t called = 0;
  const auto threads = [&called](std::size_t jobs, const auto &job) {
    called = jobs;
    std::atomic<std::size_t> next{0};
    const auto share = [&] {
      for (std::size_t i = next++; i < jobs; i = next++) job(i);
    };
    std::thread other(share);
    share();
    other.join();
  };
  ASSERT_EQ(plan->runOn(threads, work.frame, work.picture), Errc::Ok);
  EXPECT_EQ(work.to, expected);
  EXPECT_GT(called, 1U);

  work.to.assign(work.to.size(), kUntouched);
  int calls = 0;  // of one that is no constant, from the last piece to the first
  const auto backwards = [calls](std::size_t jobs, auto job) mutable {
    for (std::size_t i = jobs; i-- > 0;) job(i);
    return ++calls == 1;
  };
  auto mutableScheduler = backwards;
  EXPECT_EQ(plan->runOn(mutableScheduler, work.frame, work.picture), Errc::Ok);
  EXPECT_EQ(work.to, expected);
  EXPECT_EQ(plan->runOn(mutableScheduler, work.frame, work.picture), Errc::SchedulerFailed);
}

TEST(Engine, PassesEveryOptionOn) {
  Options options;
  options.pixels = Pixels::Gray16;
  options.bayer = Bayer::Half;
  options.levels = Levels::Spread;
  options.hint = Hint::Streamed;
  options.byteOrder = ByteOrder::Big;
  options.mirror = true;
  options.shift = 3;
  options.range = Range{5, 6};
  options.crop = {1, 2, 30, 40};
  kivo_options c = options.c();
  EXPECT_EQ(c.size, sizeof(kivo_options));
  EXPECT_EQ(c.pixels, std::uint32_t{KIVO_GRAY16});
  EXPECT_EQ(c.bayer, std::uint32_t{KIVO_BAYER_HALF});
  EXPECT_EQ(c.levels, std::uint32_t{KIVO_LEVELS_SPREAD});
  EXPECT_EQ(c.hint, std::uint32_t{KIVO_HINT_STREAMED});
  EXPECT_EQ(c.byte_order, std::uint32_t{KIVO_BIG_ENDIAN});
  EXPECT_EQ(c.flags, std::uint32_t{KIVO_MIRROR | KIVO_WITH_SHIFT | KIVO_WITH_RANGE});
  EXPECT_EQ(c.shift, 3U);
  EXPECT_EQ(c.range_low, 5U);
  EXPECT_EQ(c.range_high, 6U);
  EXPECT_EQ(c.crop_x, 1U);
  EXPECT_EQ(c.crop_y, 2U);
  EXPECT_EQ(c.crop_width, 30U);
  EXPECT_EQ(c.crop_height, 40U);
  options = {};
  options.flip = true;
  c = options.c();
  EXPECT_EQ(c.flags, std::uint32_t{KIVO_FLIP});
  EXPECT_EQ(c.pixels, std::uint32_t{KIVO_BGRA8});
}

TEST(Engine, DescribesWhatAPlanMakes) {
  Options options;
  options.pixels = Pixels::Samples;
  options.crop = {1, 0, 8, 6};
  const auto samples = makePlan(options);
  ASSERT_TRUE(samples) << samples.message();
  EXPECT_EQ(samples->samplesFormat(), findFormat("BayerGR12")->code);
  EXPECT_EQ(samples->bayer(), Bayer::Off);
  Work work;
  const auto range = samples->sampleRange(work.frame);
  ASSERT_TRUE(range) << range.message();
  EXPECT_LT(range->low, range->high);
  EXPECT_LT(range->high, 4096U);
  const kivo_frame frame = {work.from.data(), work.from.size(), kFrameStride};
  std::uint32_t least = 0, most = 0;
  ASSERT_EQ(kivo_sample_range(samples->c(), &frame, &least, &most), KIVO_OK);
  EXPECT_EQ(range->low, least);
  EXPECT_EQ(range->high, most);
  EXPECT_EQ(samples->sampleRange({work.from.data(), 8, 0}).error(), Errc::ShortBuffer);
}

TEST(Engine, ColoursAndSuggests) {
  const auto plain = makePlan(rgba());
  ASSERT_TRUE(plain);
  Work work;
  Options options = rgba();
  options.colour.emplace();
  EXPECT_EQ(options.c().colour, &*options.colour);
  const auto same = makePlan(options);
  ASSERT_TRUE(same && same->run(work.frame, work.picture) == Errc::Ok);
  EXPECT_EQ(work.to, expectedPicture(work));

  Colour &colour = *options.colour;
  kivo_colour wanted = colour;
  ASSERT_EQ(kivo_auto_black(plain->c(), &work.frame, &wanted), KIVO_OK);
  ASSERT_EQ(kivo_auto_balance(plain->c(), &work.frame, KIVO_BALANCE_MEDIAN, &wanted), KIVO_OK);
  ASSERT_EQ(kivo_auto_range(plain->c(), &work.frame, 1, 99, &wanted), KIVO_OK);
  ASSERT_EQ(plain->autoBlack(work.frame, colour), Errc::Ok);
  ASSERT_EQ(plain->autoBalance(work.frame, Balance::Median, colour), Errc::Ok);
  ASSERT_EQ(plain->autoRange(work.frame, 1, 99, colour), Errc::Ok);
  EXPECT_EQ(colour.black[0], wanted.black[0]);
  EXPECT_EQ(colour.gain[0], wanted.gain[0]);
  EXPECT_EQ(colour.low, wanted.low);
  EXPECT_EQ(colour.high, wanted.high);
  EXPECT_GT(colour.high, colour.low);
  const auto other = makePlan(options);
  ASSERT_TRUE(other && other->run(work.frame, work.picture) == Errc::Ok);
  EXPECT_NE(work.to, expectedPicture(work));
  colour.gain[1] = -1;
  EXPECT_EQ(makePlan(options).error(), Errc::BadGain);
}

TEST(Engine, Refuses) {
  Work work;
  const auto plan = makePlan();
  ASSERT_TRUE(plan);
  const kivo_frame shorter{work.from.data(), work.from.size() - 1, kFrameStride};
  const Errc error = plan->run(shorter, work.picture);
  EXPECT_EQ(error, Errc::ShortBuffer);
  EXPECT_STREQ(message(error), kivo_message(KIVO_SHORT_BUFFER));
  const kivo_picture small{work.to.data(), work.to.size() - 1, kPictureStride};
  EXPECT_EQ(plan->run(work.frame, small), Errc::ShortPicture);
  EXPECT_EQ(plan->runRows(work.frame, work.picture, kHeight, 1), Errc::RowsOutside);
  EXPECT_EQ(work.to, Buffer(work.to.size(), kUntouched));

  const auto unknown = Plan::make(findFormat("Mono9"), 8, 8);
  EXPECT_FALSE(unknown);
  EXPECT_EQ(unknown.error(), Errc::UnknownFormat);
  EXPECT_EQ(unknown->width(), 0U);
  EXPECT_EQ(unknown->run(work.frame, work.picture), Errc::NullPointer);
  EXPECT_EQ(Plan::make(0x12345678U, 8, 8).error(), Errc::UnknownFormat);
  EXPECT_EQ(Plan::make(0x01080001U, 0, 8).error(), Errc::EmptyImage);
  Options options;
  options.pixels = static_cast<Pixels>(99);
  EXPECT_EQ(makePlan(options).error(), Errc::UnknownOption);
  EXPECT_EQ(Pool::make(1025).error(), Errc::UnknownOption);
}

TEST(Engine, MovesPlansAndPools) {
  Work work;
  auto made = makePlan();
  auto pool = Pool::make(1);
  ASSERT_TRUE(made && pool);
  Stage stage{*std::move(made), *std::move(pool), rgba(), Errc::NullPointer};
  EXPECT_EQ(made->c(), nullptr);
  EXPECT_EQ(made->run(work.frame, work.picture), Errc::NullPointer);
  EXPECT_EQ(stage.plan.runOn(*pool, work.frame, work.picture), Errc::NullPointer);
  EXPECT_EQ(stage.plan.runOn(stage.pool, work.frame, work.picture), Errc::Ok);
  EXPECT_EQ(work.to, expectedPicture(work));
  Plan other = std::move(stage.plan);
  stage.plan = std::move(other);
  EXPECT_EQ(stage.plan.height(), kHeight);
}

TEST(Engine, PoolsEndTheirThreads) {
  const auto threads = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                         std::filesystem::directory_iterator());
  };
  if (!std::filesystem::exists("/proc/self/task")) GTEST_SKIP() << "a system that does not list threads";
  const auto before = threads();
  {
    const auto all = Pool::make(), four = Pool::make(4);
    ASSERT_TRUE(all && four);
    EXPECT_EQ(all->threads(), std::max(1U, std::min(std::thread::hardware_concurrency(), 1024U)));
    EXPECT_EQ(four->threads(), 4U);
    EXPECT_GE(threads(), before + 3);
  }
  // What a thread leaves behind goes a moment after it was waited for.
  for (int i = 0; i < 1000 && threads() > before; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_LE(threads(), before);
}

TEST(Engine, FindsFormats) {
  EXPECT_EQ(findFormat("bayerrg12p"), findFormat(0x010C0059U));
  EXPECT_EQ(findFormat("BayrRG12p"), nullptr);
  std::size_t count = 0;
  for (const Format &format : formats()) EXPECT_EQ(&format, kivo_format_at(count++));
  EXPECT_EQ(count, kivo_format_count());
  EXPECT_EQ(formats().size(), count);
}

}  // namespace
