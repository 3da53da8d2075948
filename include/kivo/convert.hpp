// SPDX-License-Identifier: Apache-2.0
/**
 * @file convert.hpp
 * Frames and pictures with memory of their own, over kivo/frame.hpp: one call, one frame.
 */
#ifndef KIVO_CONVERT_HPP
#define KIVO_CONVERT_HPP

#include <kivo/frame.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <utility>

namespace kivo {
#pragma GCC visibility push(hidden)
inline namespace v1 {

#pragma GCC visibility push(default)

/** Owned bytes, uninitialised when made. Movable; aligned for every ordinary type. */
class Bytes {
 public:
  Bytes() noexcept = default;  ///< No bytes.
  /** Takes the bytes of `other`, which then has none. */
  Bytes(Bytes &&other) noexcept
      : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  /** Exchanges the bytes of both. */
  Bytes &operator=(Bytes &&other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~Bytes() { std::free(data_); }

  /** Replaces the contents by `size` uninitialised bytes; false, and empty, when memory is short. */
  [[nodiscard]] bool allocate(std::size_t size) noexcept {
    std::free(data_);
    const bool possible = size <= static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
    data_ = possible ? static_cast<std::uint8_t *>(std::malloc(size == 0 ? 1 : size)) : nullptr;
    size_ = data_ == nullptr ? 0 : size;
    return data_ != nullptr;
  }

  std::uint8_t *data() noexcept { return data_; }                     ///< Null when nothing was allocated.
  const std::uint8_t *data() const noexcept { return data_; }         ///< Null when nothing was allocated.
  std::size_t size() const noexcept { return size_; }                 ///< How many bytes.
  const std::uint8_t *begin() const noexcept { return data_; }        ///< The first byte.
  const std::uint8_t *end() const noexcept { return data_ + size_; }  ///< Behind the last byte.
  std::uint8_t operator[](std::size_t i) const noexcept { return data_[i]; }  ///< One that must be there.

 private:
  std::uint8_t *data_ = nullptr;
  std::size_t size_ = 0;
};

/** A raw frame in somebody else's memory, as a camera delivers it: a kivo_frame that knows what it holds. */
struct FrameView {
  const std::uint8_t *data = nullptr;       ///< The lowest address.
  std::size_t size = 0;                     ///< Bytes that may be read there; more than it needs is fine.
  std::uint32_t format = 0;                 ///< PFNC code.
  std::uint32_t width = 0;                  ///< Pixels a row.
  std::uint32_t height = 0;                 ///< Rows.
  std::ptrdiff_t stride = 0;                ///< As kivo_frame has it; 0 for packed rows.
  ByteOrder byteOrder = ByteOrder::Little;  ///< Of 16-bit samples; other formats must leave it.
};

/** A raw frame in its own memory, little-endian. */
struct Frame {
  Bytes data;                 ///< The samples.
  std::uint32_t format = 0;   ///< PFNC code.
  std::uint32_t width = 0;    ///< Pixels a row.
  std::uint32_t height = 0;   ///< Rows.
  std::ptrdiff_t stride = 0;  ///< Bytes from row to row, 0 for packed rows.

  /** A view of the frame, valid as long as its data. */
  FrameView view() const noexcept { return {data.data(), data.size(), format, width, height, stride}; }
};

/** A picture in its own memory: packed rows from the top. */
struct Image {
  Bytes pixels;                 ///< rowBytes * height bytes.
  std::uint32_t width = 0;      ///< Pixels a row.
  std::uint32_t height = 0;     ///< Rows.
  Pixels kind = Pixels::Bgra8;  ///< What a pixel is.
  std::size_t rowBytes = 0;     ///< Bytes a row.

  /** Bytes of a pixel. */
  std::size_t pixelBytes() const noexcept { return width == 0 ? 0 : rowBytes / width; }
  /** The first byte of row `y`, which must be below the height. */
  const std::uint8_t *row(std::uint32_t y) const noexcept { return pixels.data() + y * rowBytes; }
  /** The first byte of a pixel, which must lie in the picture. */
  const std::uint8_t *pixel(std::uint32_t x, std::uint32_t y) const noexcept {
    return row(y) + x * pixelBytes();
  }
};
#pragma GCC visibility pop

namespace detail {

inline Result<Plan> planFor(const FrameView &view, Options options) noexcept {
  options.byteOrder = view.byteOrder;
  return Plan::make(view.format, view.width, view.height, options);
}

inline kivo_frame frameOf(const FrameView &view) noexcept {
  return {view.data, view.size, view.stride};
}

inline Errc run(const Plan &plan, const FrameView &view, const kivo_picture &picture, Pool *pool) noexcept {
  return pool == nullptr ? plan.run(frameOf(view), picture) : plan.runOn(*pool, frameOf(view), picture);
}

/** Makes a plan, and says what running it refuses of the frame. */
inline Errc checkedPlan(Plan &plan, const FrameView &view, const Options &options) noexcept {
  Result<Plan> made = planFor(view, options);
  if (!made) return made.error();
  plan = *std::move(made);
  // A picture without a byte is refused last.
  std::uint8_t nothing = 0;
  const Errc error = run(plan, view, {&nothing, 0, 0}, nullptr);
  return error == Errc::ShortPicture ? Errc::Ok : error;
}

/** Makes a plan, runs it into memory of the picture's size, and says how that ended. */
inline Errc make(Plan &plan, Bytes &to, const FrameView &view, const Options &options,
                 Pool *pool = nullptr) noexcept {
  const Errc error = checkedPlan(plan, view, options);
  if (error != Errc::Ok) return error;
  if (!to.allocate(plan.pictureBytes())) return Errc::OutOfMemory;
  return run(plan, view, {to.data(), to.size(), 0}, pool);
}

}  // namespace detail

/** What convert() would refuse of a frame: Errc::Ok, or its error. Reads no pixel. */
inline Errc check(const FrameView &view, const Options &options = {}) noexcept {
  Plan plan;
  return detail::checkedPlan(plan, view, options);
}

/** Converts into the caller's memory. Errors: those of kivo_plan_make(), then those of kivo_run(). */
inline Errc convertTo(const kivo_picture &picture, const FrameView &view, const Options &options = {},
                      Pool *pool = nullptr) noexcept {
  const Result<Plan> plan = detail::planFor(view, options);
  return plan ? detail::run(*plan, view, picture, pool) : plan.error();
}

/** Converts to a picture of its own, in this thread or on those of a pool. The byte order is the view's. */
inline Result<Image> convert(const FrameView &view, const Options &options = {},
                             Pool *pool = nullptr) noexcept {
  Plan plan;
  Image image;
  const Errc error = detail::make(plan, image.pixels, view, options, pool);
  if (error != Errc::Ok) return error;
  image.width = plan.width();
  image.height = plan.height();
  image.kind = options.pixels;
  image.rowBytes = plan.rowBytes();
  return image;
}

/** A picture of Pixels::Samples: packed rows, a byte or a little-endian 16-bit word for each sample. */
inline Result<Frame> unpack(const FrameView &view, Options options = {}) noexcept {
  Plan plan;
  Frame frame;
  options.pixels = Pixels::Samples;
  const Errc error = detail::make(plan, frame.data, view, options);
  if (error != Errc::Ok) return error;
  frame.format = plan.samplesFormat();
  frame.width = plan.width();
  frame.height = plan.height();
  return frame;
}

/** unpack() of a region. What is only to be converted needs no copy: Options::crop. */
inline Result<Frame> crop(const FrameView &view, const Region &region) noexcept {
  Options options;
  options.crop = region;
  return unpack(view, options);
}

/** unpack(), mirrored left to right and flipped top to bottom. */
inline Result<Frame> reverse(const FrameView &view, bool mirror, bool flip) noexcept {
  Options options;
  options.mirror = mirror;
  options.flip = flip;
  return unpack(view, options);
}

/** unpack() to 8 bits, the samples of the range over 0 to 255. */
inline Result<Frame> stretch(const FrameView &view, const Range &range) noexcept {
  Options options;
  options.range = range;
  return unpack(view, options);
}

/** The smallest and the largest sample, all colours together, of the frame or of the region of `options`. */
inline Result<Range> sampleRange(const FrameView &view, const Options &options = {}) noexcept {
  const Result<Plan> plan = detail::planFor(view, options);
  if (!plan) return plan.error();
  return plan->sampleRange(detail::frameOf(view));
}

}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVO_CONVERT_HPP
