// SPDX-License-Identifier: Apache-2.0
#include "roofline.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "simd/targets.h"

namespace Kivo {
namespace Baseline {
extern const KivoBench::RooflineLoops c_sRooflineLoops;
}
#ifdef KIVO_HAVE_AVX2
namespace Avx2 {
extern const KivoBench::RooflineLoops c_sRooflineLoops;
}
#endif
#ifdef KIVO_HAVE_AVX512
namespace Avx512 {
extern const KivoBench::RooflineLoops c_sRooflineLoops;
}
#endif
}  // namespace Kivo

namespace KivoBench {
namespace {

struct Chosen {
  const RooflineLoops *loops;
  std::size_t access_bytes;
};

Chosen Choose() {
  const Kivo::CpuFeatures cpu = Kivo::DetectCpu();
#ifdef KIVO_HAVE_AVX512
  if (Kivo::TargetRuns(Kivo::Target::Avx512, cpu)) return {&Kivo::Avx512::c_sRooflineLoops, 64};
#endif
#ifdef KIVO_HAVE_AVX2
  if (Kivo::TargetRuns(Kivo::Target::Avx2, cpu)) return {&Kivo::Avx2::c_sRooflineLoops, 32};
#endif
  static_cast<void>(cpu);
  return {&Kivo::Baseline::c_sRooflineLoops, 16};
}

const Chosen &Widest() {
  static const Chosen chosen = Choose();
  return chosen;
}

}  // namespace

Roofline::Roofline(std::size_t src_bytes, std::size_t dst_bytes) : traffic_(nullptr), steps_(0), rest_(0) {
  const RooflineLoops &loops = *Widest().loops;
  // A frame that ends within a group of bytes has not quite its format's ratio: the nearest loop is meant.
  double best = 0.02;
  for (std::size_t i = 0; i < loops.count; ++i) {
    const Traffic &entry = loops.table[i];
    const double ratio =
        static_cast<double>(src_bytes) * entry.writes / (static_cast<double>(dst_bytes) * entry.reads);
    const double off = ratio > 1 ? ratio - 1 : 1 - ratio;
    if (off < best) {
      best = off;
      traffic_ = &entry;
    }
  }
  if (traffic_ == nullptr) throw std::invalid_argument("no roofline loop reads and writes in this ratio");
  steps_ = std::min(dst_bytes / (kLine * traffic_->writes), src_bytes / (kLine * traffic_->reads));
  rest_ = dst_bytes - steps_ * kLine * traffic_->writes;
}

void Roofline::Run(TrafficLoop loop, std::uint8_t *dst, const std::uint8_t *src) const {
  loop(dst, src, steps_);
  std::memset(dst + steps_ * kLine * traffic_->writes, 0x5A, rest_);
}

void ReadPass(const std::uint8_t *src, std::size_t bytes) {
  Widest().loops->read(src, bytes / kLine);
}

std::size_t RooflineAccessBytes() {
  return Widest().access_bytes;
}

}  // namespace KivoBench
