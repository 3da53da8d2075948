// SPDX-License-Identifier: Apache-2.0
#include "frames.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace KivoBench {
namespace {

constexpr std::size_t kPage = 4096;

std::size_t RoundUp(std::size_t bytes) {
  return (bytes + kPage - 1) / kPage * kPage;
}

// One sample of the scene, scaled to 0..255 with 8 more fraction bits.
unsigned Sample(const Layout &layout, std::size_t x, std::size_t y, std::size_t k, std::uint32_t noise) {
  if ((layout.chroma >> k & 1) != 0) {
    const std::size_t tint = 112 + (x / 64 + y / 32 + 11 * k) % 32;
    return static_cast<unsigned>(tint << 8) + (noise & 0xFF);
  }
  const std::size_t colour = layout.mosaic ? 2 * (y & 1) + (x & 1) : k;
  const std::size_t shade = 24 + (x * 3 + y * 5) / 16 % 128;
  const std::size_t edge = (x / 37 + y / 29) % 4 == 0 ? 64 : 0;
  return static_cast<unsigned>((shade + edge + 9 * colour) << 8) + (noise & 0x3FF);
}

}  // namespace

void FillScene(std::uint8_t *dst, std::size_t bytes, const Layout &layout, Geometry geometry) {
  // A band of rows is drawn and then repeated; the band is even, so that mosaics continue.
  constexpr std::size_t kBandRows = 116;
  const std::size_t row_samples = geometry.width * layout.group / layout.group_pixels;
  const std::size_t row_bytes = row_samples * layout.sample_bytes;
  const std::size_t band = std::min(bytes, kBandRows * row_bytes);
  std::uint32_t state = 1;
  for (std::size_t i = 0; i * layout.sample_bytes < band; ++i) {
    state = state * 1664525u + 1013904223u;
    const std::size_t y = i / row_samples;
    const std::size_t column = i % row_samples;
    const std::size_t k = column % layout.group;
    const std::size_t x = column / layout.group * layout.group_pixels;
    const unsigned value = Sample(layout, x, y, k, state >> 16);
    if (layout.sample_bytes == 1) {
      dst[i] = static_cast<std::uint8_t>(value >> 8);
    } else {
      const unsigned word = value >> (16 - layout.depth);
      dst[2 * i] = static_cast<std::uint8_t>(word & 0xFF);
      dst[2 * i + 1] = static_cast<std::uint8_t>(word >> 8);
    }
  }
  for (std::size_t done = band; done < bytes; done += std::min(band, bytes - done))
    std::memcpy(dst + done, dst, std::min(band, bytes - done));
}

void FramePool::Region::Release() {
  std::free(data);
  data = nullptr;
  bytes = 0;
}

void FramePool::Region::Reserve(std::size_t wanted) {
  if (wanted <= bytes) return;
  Release();
  data = static_cast<std::uint8_t *>(std::aligned_alloc(kPage, wanted));
  if (data == nullptr) throw std::bad_alloc();
  bytes = wanted;
  std::memset(data, 0x33, bytes);
}

FramePool::~FramePool() {
  src_.Release();
  dst_.Release();
}

void FramePool::Prepare(const Layout &layout, Geometry geometry, std::size_t src_bytes, std::size_t dst_bytes,
                        std::size_t count) {
  // A page between frames: some converters' source rows end a few bytes later than their format says.
  const std::size_t src_step = RoundUp(src_bytes) + kPage;
  const std::size_t dst_step = RoundUp(dst_bytes) + kPage;
  const bool same = layout == layout_ && geometry == geometry_ && src_step == src_step_ && count <= count_ &&
                    src_.data != nullptr;
  src_.Reserve(src_step * count);
  dst_.Reserve(dst_step * count);
  dst_step_ = dst_step;
  if (same) return;
  src_step_ = src_step;
  count_ = count;
  layout_ = layout;
  geometry_ = geometry;
  for (std::size_t i = 0; i < count; ++i) FillScene(src_.data + i * src_step_, src_bytes, layout, geometry);
}

}  // namespace KivoBench
