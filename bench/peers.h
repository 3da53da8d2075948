// SPDX-License-Identifier: Apache-2.0
// What other libraries offer for the same work.
#ifndef KIVO_BENCH_PEERS_H
#define KIVO_BENCH_PEERS_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "frames.h"

namespace KivoBench {

struct Peer {
  std::string library;
  std::string how;  // the functions called, and how their result is meant to differ
  std::function<void(std::uint8_t *dst, const std::uint8_t *src, Geometry geometry)> run;
  bool same_job =
      true;  // false: another source layout or another result, so that comparing bytes says nothing
};

// By the name of the library's work. Where no single function of a peer does the work, two are chained,
// a band of rows at a time so that what passes between them stays in the first caches.
using PeerTable = std::map<std::string, std::vector<Peer>>;

void AddOpenCvPeers(PeerTable &table);
void AddLibyuvPeers(PeerTable &table);

// Calls work(first row, rows) for bands whose intermediate rows take about 64 KiB.
template <class Work>
void ForBands(Geometry geometry, std::size_t row_bytes, const Work &work) {
  const std::size_t fit = (std::size_t{64} << 10) / row_bytes;
  const std::uint32_t band = fit == 0 ? 1 : static_cast<std::uint32_t>(fit);
  for (std::uint32_t y = 0; y < geometry.height; y += band)
    work(y, geometry.height - y < band ? geometry.height - y : band);
}

// A buffer of at least so many bytes that the next call may reuse.
std::uint8_t *Scratch(std::size_t bytes);

}  // namespace KivoBench

#endif  // KIVO_BENCH_PEERS_H
