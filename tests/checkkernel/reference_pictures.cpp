// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>
#include <cstring>

#include "checkkernel/reference_frame.h"

namespace KivoTest::Reference {
namespace {

using Kivo::PictureJob;
using Kivo::PictureKind;

// What a kind stores: bytes or words, and how many of them for a pixel.
struct Shape {
  std::size_t sample_bytes;
  std::size_t samples;
  bool grey;  // one sample made of one or of three planes
};

Shape ShapeOf(PictureKind kind) {
  switch (kind) {
    case PictureKind::Bgra8:
      return {1, 4, false};
    case PictureKind::Bgr8:
      return {1, 3, false};
    case PictureKind::Mono8:
    case PictureKind::Gray8:
      return {1, 1, true};
    case PictureKind::Bgra16:
      return {2, 4, false};
    case PictureKind::Bgr16:
      return {2, 3, false};
    case PictureKind::Mono16:
    case PictureKind::Gray16:
      return {2, 1, true};
    case PictureKind::Count:
      break;
  }
  std::abort();
}

// The upper 16 bits of the low `depth` bits of a value written again and again.
std::uint32_t Spread(std::uint32_t value, unsigned depth) {
  std::uint32_t spread = 0;
  for (unsigned k = 0; k < 16; ++k) {
    const unsigned bit = depth - 1 - k % depth;
    spread = 2 * spread + (value >> bit) % 2;
  }
  return spread;
}

std::uint32_t Reduced(const PictureJob &job, std::size_t sample_bytes, std::uint32_t value) {
  if (sample_bytes == 1) return (value >> job.uiShift) % 256;
  return job.bSpread ? Spread(value, job.uiDepth) : value;
}

}  // namespace

std::size_t PicturePixelBytes(PictureKind kind) {
  return ShapeOf(kind).sample_bytes * ShapeOf(kind).samples;
}

void Picture(PictureKind kind, const PictureJob &job) {
  const Shape shape = ShapeOf(kind);
  for (std::size_t x = 0; x < job.n; ++x) {
    const std::size_t from = job.bMirror ? job.n - 1 - x : x;
    std::uint64_t samples[4] = {0, 0, 0, shape.sample_bytes == 1 ? 255U : 65535U};
    const bool one_plane = kind == PictureKind::Mono8 || kind == PictureKind::Mono16;
    for (std::size_t c = 0; c < (one_plane ? 1U : 3U); ++c)
      samples[c] = Reduced(job, shape.sample_bytes, job.apusPlanes[c][from]);
    if (shape.grey && !one_plane)
      samples[0] = (7471 * samples[0] + 38470 * samples[1] + 19595 * samples[2] + 32768) >> 16;
    for (std::size_t c = 0; c < shape.samples; ++c) {
      const auto byte = static_cast<std::uint8_t>(samples[c]);
      const auto word = static_cast<std::uint16_t>(samples[c]);
      std::uint8_t *const out = job.pucDst + (x * shape.samples + c) * shape.sample_bytes;
      if (shape.sample_bytes == 1)
        *out = byte;
      else
        std::memcpy(out, &word, sizeof word);
    }
  }
}

}  // namespace KivoTest::Reference
