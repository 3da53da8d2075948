// SPDX-License-Identifier: Apache-2.0
// Times plans against plans: what an option, a layout or a second thread costs or gains.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "KivoFrame.h"
#include "frames.h"
#include "options.h"
#include "table_reporter.h"
#include "timing.h"

namespace KivoBench {
namespace {

constexpr const char *kSummary = "Times plans of the engine against each other, in turns.\n";

struct Request {
  const char *format;
  std::uint32_t pixels = KIVO_BGRA8;
  std::uint32_t bayer = KIVO_BAYER_STANDARD;
  std::uint32_t flags = 0;
  std::uint32_t margin = 0;   // pixels that the frame has more on each side, and are cropped away
  std::uint32_t padding = 0;  // bytes behind each row of the frame
  std::uint32_t threads = 1;
};

// How many times as fast as the other is the first?
struct Pair {
  const char *title;
  Request request;
  Request base;
};

constexpr Request kBayer8{"BayerRG8"};
constexpr Request kBayer8Acpi{"BayerRG8", KIVO_BGRA8, KIVO_BAYER_ACPI};
constexpr Request kWords12{"BayerRG12"};

constexpr Pair kPairs[] = {
    {"BayerRG8, rows padded by 64 bytes", {"BayerRG8", KIVO_BGRA8, KIVO_BAYER_STANDARD, 0, 0, 64}, kBayer8},
    {"BayerRG12p, rows padded by 64 bytes",
     {"BayerRG12p", KIVO_BGRA8, KIVO_BAYER_STANDARD, 0, 0, 64},
     {"BayerRG12p"}},
    {"BayerRG8, mirrored", {"BayerRG8", KIVO_BGRA8, KIVO_BAYER_STANDARD, KIVO_MIRROR}, kBayer8},
    {"BayerRG8, flipped", {"BayerRG8", KIVO_BGRA8, KIVO_BAYER_STANDARD, KIVO_FLIP}, kBayer8},
    {"BayerRG8, cropped by 3 pixels", {"BayerRG8", KIVO_BGRA8, KIVO_BAYER_STANDARD, 0, 3}, kBayer8},
    {"BayerRG12, mirrored", {"BayerRG12", KIVO_BGRA8, KIVO_BAYER_STANDARD, KIVO_MIRROR}, kWords12},
    {"BayerRG12p, of the same in words", {"BayerRG12p"}, kWords12},
    {"BayerRG10p, of the same in words", {"BayerRG10p"}, {"BayerRG10"}},
    {"BayerRG12Packed, of the same in words", {"BayerRG12Packed"}, kWords12},
    {"BayerRG12 by ACPI, of BayerRG8", {"BayerRG12", KIVO_BGRA8, KIVO_BAYER_ACPI}, kBayer8Acpi},
    {"BayerRG8 at half size", {"BayerRG8", KIVO_BGRA8, KIVO_BAYER_HALF}, kBayer8},
    {"RGB10p to BGR, of RGB10", {"RGB10p", KIVO_BGR8}, {"RGB10", KIVO_BGR8}},
    {"YUV422_8, of YUV422_8_UYVY", {"YUV422_8"}, {"YUV422_8_UYVY"}},
    {"YCbCr422_8, of YUV422_8_UYVY", {"YCbCr422_8"}, {"YUV422_8_UYVY"}},
    {"BayerRG8, two threads", {"BayerRG8", KIVO_BGRA8, KIVO_BAYER_STANDARD, 0, 0, 0, 2}, kBayer8},
    {"BayerRG8 by ACPI, two threads", {"BayerRG8", KIVO_BGRA8, KIVO_BAYER_ACPI, 0, 0, 0, 2}, kBayer8Acpi},
    {"BayerRG12p, two threads", {"BayerRG12p", KIVO_BGRA8, KIVO_BAYER_STANDARD, 0, 0, 0, 2}, {"BayerRG12p"}},
};

void Check(kivo_status status) {
  if (status != KIVO_OK) std::abort();
}

// Its threads may run wherever the system lets them: they are started before this one is pinned.
kivo_pool *TwoThreads() {
  static kivo_pool *const pool = [] {
    kivo_pool *made = nullptr;
    Check(kivo_pool_make(2, &made));
    return made;
  }();
  return pool;
}

// A request for a size, and how much memory it takes.
class Job {
 public:
  Job(const Request &request, Geometry geometry) : threads_(request.threads) {
    const kivo_format &format = *kivo_format_find(request.format);
    whole_ = {geometry.width + 2 * request.margin, geometry.height + 2 * request.margin};
    kivo_options options = KIVO_OPTIONS_INIT;
    options.pixels = request.pixels;
    options.bayer = request.bayer;
    options.flags = request.flags;
    if (request.margin != 0) {
      options.crop_x = options.crop_y = request.margin;
      options.crop_width = geometry.width;
      options.crop_height = geometry.height;
    }
    kivo_plan *plan = nullptr;
    Check(kivo_plan_make(format.code, whole_.width, whole_.height, &options, &plan));
    plan_.reset(plan);
    stride_ = static_cast<std::ptrdiff_t>(kivo_row_bytes(format.code, whole_.width)) + request.padding;
    frame_bytes_ = static_cast<std::size_t>(stride_) * whole_.height;
  }

  std::size_t FrameBytes() const { return frame_bytes_; }
  std::size_t PictureBytes() const { return kivo_plan_picture_bytes(plan_.get()); }

  void Run(std::uint8_t *dst, const std::uint8_t *src) const {
    const kivo_frame frame = {src, frame_bytes_, stride_};
    const kivo_picture picture = {dst, PictureBytes(), 0};
    if (threads_ == 1) {
      Check(kivo_run(plan_.get(), &frame, &picture, nullptr, 0));
    } else {
      Check(kivo_run_on(plan_.get(), &frame, &picture, kivo_pool_run, TwoThreads()));
    }
  }

 private:
  struct Free {
    void operator()(kivo_plan *plan) const { kivo_plan_free(plan); }
  };
  std::unique_ptr<kivo_plan, Free> plan_;
  Geometry whole_{};
  std::ptrdiff_t stride_ = 0;
  std::size_t frame_bytes_ = 0;
  std::uint32_t threads_;
};

void RunPair(benchmark::State &state, const Pair &pair, const Setting &setting, const Options &options) {
  const Job request(pair.request, setting.geometry), base(pair.base, setting.geometry);
  const std::size_t src_bytes = std::max(request.FrameBytes(), base.FrameBytes());
  const std::size_t dst_bytes = std::max(request.PictureBytes(), base.PictureBytes());
  const std::size_t frames = FrameCount(options, setting, src_bytes + dst_bytes);
  static FramePool pool;
  // The content of every contender is the same scene, as bytes.
  pool.Prepare({1, 8, 1, 1, 0, false}, setting.geometry, src_bytes, dst_bytes, frames);

  const std::vector<Contender> contenders{
      {"request", [&](std::size_t i) { request.Run(pool.Dst(i), pool.Src(i)); }},
      {"base", [&](std::size_t i) { base.Run(pool.Dst(i), pool.Src(i)); }}};
  Effort effort = EffortFor(options, src_bytes + dst_bytes);
  if (pair.request.threads > 1) effort.clock = Clock::kWall;
  for ([[maybe_unused]] auto iteration : state) {
    const std::vector<Timing> timings = TimeContenders(contenders, frames, effort);
    const auto speed = [&](const Timing &timing) {
      return static_cast<double>(setting.geometry.pixels()) / 1e6 / timing.median;
    };
    state.SetIterationTime(timings[0].median);
    state.counters["request_Mpx_per_s"] = speed(timings[0]);
    state.counters["base_Mpx_per_s"] = speed(timings[1]);
    state.counters["times"] = Ratio(timings[1], timings[0]);
  }
}

int Run(const Options &options) {
  for (const Pair &pair : kPairs) {
    for (const Setting &setting : Settings(options, false)) {
      Register(
          std::string("pairs/") + pair.title + "/" + setting.Name(),
          [&pair, setting, &options](benchmark::State &state) { RunPair(state, pair, setting, options); });
    }
  }
  return RunWithTable(
      {{"request_Mpx_per_s", "Mpx/s", 0}, {"base_Mpx_per_s", "base", 0}, {"times", "times", 2}});
}

}  // namespace
}  // namespace KivoBench

int main(int argc, char **argv) {
  KivoBench::TwoThreads();
  return KivoBench::RunProgram(argc, argv, KivoBench::kSummary, KivoBench::Run);
}
