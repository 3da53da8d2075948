// SPDX-License-Identifier: Apache-2.0
// Times every converter, ReverseImg, PrepareLUT and the file functions, and in the same run the memory
// traffic that none of them can do without.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "KivoCamUtl.h"
#include "file_works.h"
#include "frames.h"
#include "options.h"
#include "roofline.h"
#include "simd/targets.h"
#include "table_reporter.h"
#include "timing.h"
#include "works.h"

namespace KivoBench {
namespace {

constexpr const char *kSummary =
    "Times the library against the speed of memory.\n"
    "  --with-read      compare ordinary and streaming stores, alone and followed by a pass that reads the\n"
    "                   result";

FramePool &Pool() {
  static FramePool pool;
  return pool;
}

double MegapixelsPerSecond(Geometry geometry, double seconds) {
  return static_cast<double>(geometry.pixels()) / 1e6 / seconds;
}

std::size_t PrepareFrames(const Work &work, const Setting &setting, const Options &options) {
  const std::size_t src_bytes = work.SrcBytes(setting.geometry);
  const std::size_t dst_bytes = work.DstBytes(setting.geometry);
  const std::size_t frames = FrameCount(options, setting, src_bytes + dst_bytes);
  Pool().Prepare(work.layout, setting.geometry, src_bytes, dst_bytes, frames);
  return frames;
}

void RunWork(benchmark::State &state, const Work &work, const Setting &setting, const Options &options) {
  const Geometry geometry = setting.geometry;
  const std::size_t src_bytes = work.SrcBytes(geometry);
  const std::size_t dst_bytes = work.DstBytes(geometry);
  const std::size_t frames = PrepareFrames(work, setting, options);
  const Roofline roofline(src_bytes, dst_bytes);
  FramePool &pool = Pool();

  std::vector<Contender> contenders{
      {"ours", [&](std::size_t i) { work.run(pool.Dst(i), pool.Src(i), geometry); }},
      {"ordinary", [&](std::size_t i) { roofline.Ordinary(pool.Dst(i), pool.Src(i)); }},
      {"streaming", [&](std::size_t i) { roofline.Streaming(pool.Dst(i), pool.Src(i)); }}};
  if (work.moves_blocks)
    contenders.push_back(
        {"memcpy", [&](std::size_t i) { std::memcpy(pool.Dst(i), pool.Src(i), dst_bytes); }});
  if (!work.plain.empty())
    contenders.push_back({"plain", [&, run = FindWork(work.plain).run](std::size_t i) {
                            run(pool.Dst(i), pool.Src(i), geometry);
                          }});

  for ([[maybe_unused]] auto iteration : state) {
    const std::vector<Timing> timings =
        TimeContenders(contenders, frames, EffortFor(options, src_bytes + dst_bytes));
    const double seconds = timings[0].median;
    state.SetIterationTime(seconds);
    // Copies are held against memcpy; everything else against the better kind of stores.
    const bool streams = timings[2].median < timings[1].median;
    const Timing &limit = timings[work.moves_blocks ? 3 : streams ? 2 : 1];
    state.counters["Mpx_per_s"] = MegapixelsPerSecond(geometry, seconds);
    state.counters["limit_Mpx_per_s"] = MegapixelsPerSecond(geometry, limit.median);
    for (std::size_t i = 1; i < contenders.size(); ++i)
      state.counters[contenders[i].name + "_Mpx_per_s"] = MegapixelsPerSecond(geometry, timings[i].median);
    state.counters["fraction"] = Ratio(limit, timings[0]);
    if (!work.plain.empty()) state.counters["of_plain"] = Ratio(timings.back(), timings[0]);
    state.counters["ns_per_px"] = seconds * 1e9 / static_cast<double>(geometry.pixels());
    state.SetLabel(work.moves_blocks ? "against memcpy" : streams ? "roofline streams" : "");
  }
}

// Which kind of stores serves a caller better: one that only converts, and one that then reads the picture.
void RunWithRead(benchmark::State &state, const Work &work, const Setting &setting, const Options &options) {
  const Geometry geometry = setting.geometry;
  const std::size_t dst_bytes = work.DstBytes(geometry);
  const std::size_t frames = PrepareFrames(work, setting, options);
  FramePool &pool = Pool();

  const auto convert = [&](std::size_t i, bool streams, bool reads) {
    Kivo::PinStreamingThreshold(streams ? 0 : SIZE_MAX);
    work.run(pool.Dst(i), pool.Src(i), geometry);
    if (reads) ReadPass(pool.Dst(i), dst_bytes);
  };
  const std::vector<Contender> contenders{{"ordinary", [&](std::size_t i) { convert(i, false, false); }},
                                          {"streaming", [&](std::size_t i) { convert(i, true, false); }},
                                          {"ordinary_read", [&](std::size_t i) { convert(i, false, true); }},
                                          {"streaming_read", [&](std::size_t i) { convert(i, true, true); }}};

  for ([[maybe_unused]] auto iteration : state) {
    const std::vector<Timing> timings =
        TimeContenders(contenders, frames, EffortFor(options, work.SrcBytes(geometry) + dst_bytes));
    state.SetIterationTime(timings[0].median);
    for (std::size_t i = 0; i < contenders.size(); ++i)
      state.counters[contenders[i].name] = MegapixelsPerSecond(geometry, timings[i].median);
    state.counters["gain"] = Ratio(timings[0], timings[1]);
    state.counters["gain_read"] = Ratio(timings[2], timings[3]);
  }
}

// One work per ratio of bytes read to bytes written, and the three demosaics.
const std::vector<std::string> &StoreStudy() {
  static const std::vector<std::string> names{
      "ConvMono8ToBGRA",        "ConvMono8ToBGR",   "ConvRGB8PToBGRA",      "ConvRGB8PToBGR",
      "ConvMono12ToBGRA",       "ConvMono12ToBGR",  "ConvRGB12PToBGRA",     "ConvRGB12PToBGR",
      "ConvYUV422PToBGRA",      "ConvYUV422PToBGR", "ConvByrRG8ToBGRA",     "ConvByrRG8ToBGR",
      "ConvByrRG12ToBGRA",      "ConvByrRG12ToBGR", "ConvByrRG8ToBGRAACPI", "ConvByrRG8ToBGRACPI",
      "ReverseImg-mirror-1byte"};
  return names;
}

void RegisterStoreStudy(const Options &options) {
  std::vector<Setting> settings = Settings(options, false);
  if (!options.size) {
    settings.erase(settings.begin());
    settings.push_back({{5472, 3648}, true});
  }
  for (const Setting &setting : settings) {
    for (const std::string &name : StoreStudy()) {
      const Work &work = FindWork(name);
      Register(work.family + "/" + name + "/" + setting.Name(),
               [&work, setting, &options](benchmark::State &state) {
                 RunWithRead(state, work, setting, options);
               });
    }
  }
}

// Only the first call of a process does anything: it is timed before the benchmarks run.
void RegisterPrepareLut(double seconds) {
  Register("tables/PrepareLUT", [seconds](benchmark::State &state) {
    for ([[maybe_unused]] auto iteration : state) {
      state.SetIterationTime(seconds);
      state.counters["milliseconds"] = seconds * 1e3;
      char label[80];
      std::snprintf(label, sizeof label, "%.3f ms, once", seconds * 1e3);
      state.SetLabel(label);
    }
  });
}

int Run(const Options &options) {
  const double first_seconds = SecondsOnce([] { PrepareLUT(); });

  if (options.with_read) {
    RegisterStoreStudy(options);
    return RunWithTable({{"ordinary", "ordinary", 0},
                         {"streaming", "streaming", 0},
                         {"gain", "gain", 2},
                         {"ordinary_read", "ord.+read", 0},
                         {"streaming_read", "str.+read", 0},
                         {"gain_read", "gain", 2}});
  }
  for (const Setting &setting : Settings(options, true)) {
    for (const Work &work : AllWorks()) {
      Register(
          work.family + "/" + work.name + "/" + setting.Name(),
          [&work, setting, &options](benchmark::State &state) { RunWork(state, work, setting, options); });
    }
  }
  RegisterPrepareLut(first_seconds);
  RegisterFileWorks(options);
  return RunWithTable({{"Mpx_per_s", "Mpx/s", 0},
                       {"limit_Mpx_per_s", "limit", 0},
                       {"fraction", "fraction", 2},
                       {"of_plain", "of plain", 2},
                       {"ns_per_px", "ns/px", 3},
                       {"MB_per_s", "MB/s", 0}});
}

}  // namespace
}  // namespace KivoBench

int main(int argc, char **argv) {
  return KivoBench::RunProgram(argc, argv, KivoBench::kSummary, KivoBench::Run);
}
