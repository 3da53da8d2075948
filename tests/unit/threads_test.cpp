// SPDX-License-Identifier: Apache-2.0
// Eight threads on shared tables and shared sources.
#include <atomic>
#include <thread>

#include "camutl/luts.h"
#include "support/content.h"
#include "support/unit.h"

namespace KivoTest {
namespace {

constexpr unsigned kThreads = 8;
constexpr std::uint32_t kWidth = 70, kHeight = 12;

struct Job {
  const Converter *converter;
  Bytes source;
  Bytes expected;
};

std::vector<Job> AllJobs() {
  std::vector<Job> jobs;
  Random random(17);
  for (const Converter &converter : AllConverters()) {
    Job job{&converter,
            MakeSamples8(random, Content::kRandom, SourceBytes(converter, kWidth, kHeight), kWidth),
            {}};
    job.expected.assign(DestinationBytes(converter, kWidth, kHeight), kUntouched);
    Reference::Convert(converter, job.expected.data(), job.source.data(), kWidth, kHeight, 3);
    jobs.push_back(std::move(job));
  }
  return jobs;
}

// Number of wrong results of one thread that goes through all jobs from its own place.
unsigned Work(const std::vector<Job> &jobs, unsigned thread) {
  unsigned wrong = 0;
  for (unsigned round = 0; round < 3; ++round) {
    for (std::size_t i = 0; i < jobs.size(); ++i) {
      const Job &job = jobs[(i + thread * 9) % jobs.size()];
      Bytes dst(job.expected.size(), kUntouched);
      const CamUtlStatus status = (*job.converter)(dst.data(), job.source.data(), kWidth, kHeight, 3);
      wrong += status != CAMUTL_STS_SUCCESS || dst != job.expected;
    }
  }
  return wrong;
}

// Every thread prepares for itself, again and again, while the others convert. The portable kernels are the
// ones that read the tables, so that a thread sanitizer sees who writes them.
TEST(Threads, PrepareWhileOthersConvert) {
  ASSERT_TRUE(Kivo::PinTarget(Kivo::Target::Baseline));
  const std::vector<Job> jobs = AllJobs();
  std::atomic<unsigned> wrong{0}, waiting{kThreads};
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (--waiting; waiting != 0;) std::this_thread::yield();
      for (unsigned round = 0; round < 3; ++round) {
        wrong += PrepareLUT() != CAMUTL_STS_SUCCESS;
        wrong += Work(jobs, t);
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(wrong, 0u);
  ASSERT_TRUE(Kivo::PinTarget(Kivo::SelectTarget(Kivo::DetectCpu())));
}

TEST(Threads, ConvertAtOnce) {
  // No thread has converted before: the first calls race for the choice of kernels.
  ASSERT_EQ(PrepareLUT(), CAMUTL_STS_SUCCESS);
  const std::vector<Job> jobs = AllJobs();
  std::atomic<unsigned> wrong{0};
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < kThreads; ++t) threads.emplace_back([&, t] { wrong += Work(jobs, t); });
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(wrong, 0u);
}

TEST(Threads, QueriesAndLookupsAtOnce) {
  std::atomic<unsigned> wrong{0};
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (unsigned i = 0; i < 2000; ++i) {
        wrong += DataDepth(0x0110000F) != 10;
        wrong += GetBGRAConverter(0x01080009, true) != &ConvByrRG8ToBGRA;
        wrong += !IsPixelBayer(0x01080009);
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(wrong, 0u);
}

TEST(Threads, AThreadThatSeesTheFlagSeesTheTables) {
  // A converter that no longer refuses must find whole tables. Once they are ready this cannot fail any more,
  // so every attempt is a process that starts unprepared: the suite repeats this test. The portable kernels
  // are the ones that read the tables.
  if (Kivo::s_bLUTReady.load()) GTEST_SKIP() << "the tables of this process are ready";
  ASSERT_TRUE(Kivo::PinTarget(Kivo::Target::Baseline));
  std::atomic<unsigned> refused{0};
  std::atomic<bool> right{false};
  std::thread reader([&] {
    const std::uint8_t pixel[3] = {100, 200, 150};
    std::uint32_t word = 0;
    while (ConvYUV444PToBGRA(&word, pixel, 1, 1) == CAMUTL_STS_NOT_INITIALIZED) ++refused;
    right = word == 0xFFE7C296u;
  });
  // The reader is at it when the tables begin to fill.
  while (refused < 100) std::this_thread::yield();
  EXPECT_EQ(PrepareLUT(), CAMUTL_STS_SUCCESS);
  reader.join();
  EXPECT_TRUE(right);
}

}  // namespace
}  // namespace KivoTest
