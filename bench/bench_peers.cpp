// SPDX-License-Identifier: Apache-2.0
// The same work by this library and by others, in alternating batches on one processor.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "KivoCamUtl.h"
#include "frames.h"
#include "options.h"
#include "peers.h"
#include "roofline.h"
#include "table_reporter.h"
#include "timing.h"
#include "works.h"

namespace KivoBench {

std::uint8_t *Scratch(std::size_t bytes) {
  static std::vector<std::uint8_t> buffer;
  if (buffer.size() < bytes) buffer.resize(bytes);
  return buffer.data();
}

namespace {

constexpr const char *kSummary = "Times the library against OpenCV and libyuv, all on one processor.\n";

// Contenders: this library, the two kinds of roofline, then the peers.
constexpr std::ptrdiff_t kFirstPeer = 3;

FramePool &Pool() {
  static FramePool pool;
  return pool;
}

// How a peer's picture differs from ours.
struct Difference {
  double share;  // of all bytes
  int largest;
};

Difference Compare(const std::uint8_t *a, const std::uint8_t *b, std::size_t bytes) {
  std::size_t count = 0;
  int largest = 0;
  for (std::size_t i = 0; i < bytes; ++i) {
    const int off = std::abs(int{a[i]} - int{b[i]});
    count += off != 0 ? 1 : 0;
    largest = std::max(largest, off);
  }
  return {static_cast<double>(count) / static_cast<double>(bytes), largest};
}

std::string Describe(const Peer &peer, double megapixels, const Difference &difference) {
  char text[200];
  if (!peer.same_job) {
    std::snprintf(text, sizeof text, "%s %.0f (%s)", peer.library.c_str(), megapixels, peer.how.c_str());
  } else if (difference.largest == 0) {
    std::snprintf(text, sizeof text, "%s %.0f (%s; identical)", peer.library.c_str(), megapixels,
                  peer.how.c_str());
  } else {
    std::snprintf(text, sizeof text, "%s %.0f (%s; %.1f %% of bytes differ, by up to %d)",
                  peer.library.c_str(), megapixels, peer.how.c_str(), 100 * difference.share,
                  difference.largest);
  }
  return text;
}

void RunAgainst(benchmark::State &state, const Work &work, const std::vector<Peer> &peers,
                const Setting &setting, const Options &options) {
  const Geometry geometry = setting.geometry;
  const std::size_t src_bytes = work.SrcBytes(geometry);
  const std::size_t dst_bytes = work.DstBytes(geometry);
  const std::size_t frames = FrameCount(options, setting, src_bytes + dst_bytes);
  FramePool &pool = Pool();
  pool.Prepare(work.layout, geometry, src_bytes, dst_bytes, frames);
  const Roofline roofline(src_bytes, dst_bytes);

  std::vector<Contender> contenders{
      {"ours", [&](std::size_t i) { work.run(pool.Dst(i), pool.Src(i), geometry); }},
      {"ordinary", [&](std::size_t i) { roofline.Ordinary(pool.Dst(i), pool.Src(i)); }},
      {"streaming", [&](std::size_t i) { roofline.Streaming(pool.Dst(i), pool.Src(i)); }}};
  for (const Peer &peer : peers)
    contenders.push_back(
        {peer.library, [&](std::size_t i) { peer.run(pool.Dst(i), pool.Src(i), geometry); }});

  for ([[maybe_unused]] auto iteration : state) {
    const std::vector<Timing> timings =
        TimeContenders(contenders, frames, EffortFor(options, src_bytes + dst_bytes));
    state.SetIterationTime(timings[0].median);

    const auto faster = [](const Timing &a, const Timing &b) { return a.median < b.median; };
    const Timing &best = *std::min_element(timings.begin() + kFirstPeer, timings.end(), faster);
    const double megapixels = static_cast<double>(geometry.pixels()) / 1e6;
    state.counters["Mpx_per_s"] = megapixels / timings[0].median;
    state.counters["limit_Mpx_per_s"] = megapixels / std::min(timings[1], timings[2], faster).median;
    state.counters["peer_Mpx_per_s"] = megapixels / best.median;
    state.counters["ratio"] = Ratio(best, timings[0]);

    work.run(pool.Dst(0), pool.Src(0), geometry);
    const std::vector<std::uint8_t> ours(pool.Dst(0), pool.Dst(0) + dst_bytes);
    std::string label;
    for (std::size_t k = 0; k < peers.size(); ++k) {
      peers[k].run(pool.Dst(0), pool.Src(0), geometry);
      const Difference difference = Compare(ours.data(), pool.Dst(0), dst_bytes);
      const double speed = megapixels / timings[kFirstPeer + k].median;
      state.counters["peer:" + peers[k].library] = speed;
      if (peers[k].same_job) state.counters["differing:" + peers[k].library] = difference.share;
      label += (k == 0 ? "" : ", ") + Describe(peers[k], speed, difference);
    }
    state.SetLabel(label);
  }
}

int Run(const Options &options) {
  PrepareLUT();

  PeerTable table;
  AddOpenCvPeers(table);
  AddLibyuvPeers(table);
  for (const Setting &setting : Settings(options, false)) {
    // In the order of the library's own list; every peer belongs to one of its works.
    for (const Work &work : AllWorks()) {
      const auto found = table.find(work.name);
      if (found == table.end()) continue;
      const std::vector<Peer> &peers = found->second;
      Register(work.family + "/" + work.name + "/" + setting.Name(),
               [&work, &peers, setting, &options](benchmark::State &state) {
                 RunAgainst(state, work, peers, setting, options);
               });
    }
  }
  for (const auto &[name, peers] : table) static_cast<void>(FindWork(name));
  return RunWithTable({{"Mpx_per_s", "ours", 0},
                       {"peer_Mpx_per_s", "best peer", 0},
                       {"ratio", "ratio", 2},
                       {"limit_Mpx_per_s", "roofline", 0}});
}

}  // namespace
}  // namespace KivoBench

int main(int argc, char **argv) {
  return KivoBench::RunProgram(argc, argv, KivoBench::kSummary, KivoBench::Run);
}
