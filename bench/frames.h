// SPDX-License-Identifier: Apache-2.0
// The buffers that benchmarks convert between, and what the source frames show.
#ifndef KIVO_BENCH_FRAMES_H
#define KIVO_BENCH_FRAMES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace KivoBench {

// How a source frame is laid out. Its content is a scene, not noise: gentle shading, hard edges and a little
// sensor noise, so that tables and branches meet the values that cameras deliver.
struct Layout {
  std::size_t sample_bytes;  // 1 or 2
  unsigned depth;            // significant bits of a sample
  std::size_t group;         // samples that repeat along a row: 3 for RGB, 6 for U Y Y V Y Y, ...
  std::size_t group_pixels;  // pixels that those make
  unsigned chroma;           // bit k: sample k of a group is chroma, which varies little
  bool mosaic;               // even and odd rows carry different colours

  bool operator==(const Layout &) const = default;
};

struct Geometry {
  std::uint32_t width;
  std::uint32_t height;

  std::size_t pixels() const { return std::size_t{width} * height; }
  std::string Name() const { return std::to_string(width) + "x" + std::to_string(height); }
  bool operator==(const Geometry &) const = default;
};

// Pairs of source and destination frames, present in memory and aligned to a page.
class FramePool {
 public:
  FramePool() = default;
  ~FramePool();
  FramePool(const FramePool &) = delete;
  FramePool &operator=(const FramePool &) = delete;

  // count source frames holding a scene and count destination frames; kept from call to call where possible.
  void Prepare(const Layout &layout, Geometry geometry, std::size_t src_bytes, std::size_t dst_bytes,
               std::size_t count);

  const std::uint8_t *Src(std::size_t frame) const { return src_.data + frame * src_step_; }
  std::uint8_t *Dst(std::size_t frame) const { return dst_.data + frame * dst_step_; }

 private:
  struct Region {
    std::uint8_t *data = nullptr;
    std::size_t bytes = 0;
    void Reserve(std::size_t wanted);
    void Release();
  };

  Region src_;
  Region dst_;
  std::size_t src_step_ = 0;
  std::size_t dst_step_ = 0;
  std::size_t count_ = 0;
  Layout layout_{};
  Geometry geometry_{};
};

// The same content elsewhere.
void FillScene(std::uint8_t *dst, std::size_t bytes, const Layout &layout, Geometry geometry);

}  // namespace KivoBench

#endif  // KIVO_BENCH_FRAMES_H
