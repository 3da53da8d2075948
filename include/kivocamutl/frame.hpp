// SPDX-License-Identifier: Apache-2.0
/**
 * @file frame.hpp
 * Part of KivoCamUtl.hpp: memory, frames in it, and regions of frames.
 */
#ifndef KIVOCAMUTL_FRAME_HPP
#define KIVOCAMUTL_FRAME_HPP

#include <kivocamutl/error.hpp>
#include <kivocamutl/formats.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <utility>

namespace kivo {
#pragma GCC visibility push(hidden)
inline namespace v1 {

/** Owned bytes, uninitialised when made. Movable; aligned for every ordinary type. */
class __attribute__((visibility("default"))) Bytes {
 public:
  /** No bytes. */
  Bytes() noexcept = default;
  /** Takes the bytes of `other`, which then has none. */
  Bytes(Bytes &&other) noexcept
      : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  /** Exchanges the bytes of both. */
  Bytes &operator=(Bytes &&other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  Bytes(const Bytes &) = delete;
  Bytes &operator=(const Bytes &) = delete;
  ~Bytes() { std::free(data_); }

  /** Replaces the contents by `size` uninitialised bytes; false, and empty, when memory is short. */
  [[nodiscard]] bool allocate(std::size_t size) noexcept {
    std::free(data_);
    const bool possible = size <= static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
    data_ = possible ? std::malloc(size == 0 ? 1 : size) : nullptr;
    size_ = data_ == nullptr ? 0 : size;
    return data_ != nullptr;
  }

  /** The first byte; null when nothing was allocated. */
  std::uint8_t *data() noexcept { return static_cast<std::uint8_t *>(data_); }
  /** The first byte; null when nothing was allocated. */
  const std::uint8_t *data() const noexcept { return static_cast<const std::uint8_t *>(data_); }
  /** How many bytes. */
  std::size_t size() const noexcept { return size_; }
  /** The first byte. */
  std::uint8_t *begin() noexcept { return data(); }
  /** Behind the last byte. */
  std::uint8_t *end() noexcept { return data() + size_; }
  /** The first byte. */
  const std::uint8_t *begin() const noexcept { return data(); }
  /** Behind the last byte. */
  const std::uint8_t *end() const noexcept { return data() + size_; }
  /** Byte `i`, which must be there. */
  std::uint8_t &operator[](std::size_t i) noexcept { return data()[i]; }
  /** Byte `i`, which must be there. */
  std::uint8_t operator[](std::size_t i) const noexcept { return data()[i]; }

 private:
  void *data_ = nullptr;
  std::size_t size_ = 0;
};

/** The order of the two bytes of a 16-bit sample. */
enum class ByteOrder : std::uint8_t {
  Little,  ///< Low byte first: PFNC, and the library.
  Big,     ///< High byte first: some cameras, PGM and PNG files.
};

/**
 * A raw frame in somebody else's memory, as a camera delivers it: rows from the top, `stride` bytes apart.
 *
 * Without a stride rows are packed. In formats whose samples share bytes the rows then follow each other
 * without a gap, a row in the middle of a byte where the one before ends there; with a stride every row
 * begins on a byte.
 */
struct __attribute__((visibility("default"))) FrameView {
  const std::uint8_t *data = nullptr;  ///< The first byte of the first row.
  std::size_t size = 0;                ///< Bytes that may be read at data; more than the frame needs is fine.
  std::uint32_t format = 0;            ///< PFNC code.
  std::uint32_t width = 0;             ///< Pixels a row.
  std::uint32_t height = 0;            ///< Rows.
  std::size_t stride =
      0;  ///< Bytes from row to row, 0 for packed rows. The last row needs no padding behind it.
  ByteOrder byteOrder = ByteOrder::Little;  ///< Of 16-bit samples; other formats must leave it.
};

/** A raw frame in its own memory, little-endian. */
struct __attribute__((visibility("default"))) Frame {
  Bytes data;                ///< Rows from the top.
  std::uint32_t format = 0;  ///< PFNC code.
  std::uint32_t width = 0;   ///< Pixels a row.
  std::uint32_t height = 0;  ///< Rows.
  std::size_t stride = 0;    ///< Bytes from row to row, 0 for packed rows.

  /** A view of the frame, valid as long as its data. */
  FrameView view() const noexcept {
    return {data.data(), data.size(), format, width, height, stride, ByteOrder::Little};
  }
};

namespace detail {

/** What the fields of a view come to. */
struct Layout {
  const Format *format = nullptr;
  std::size_t row = 0;     // bytes of a row
  std::size_t stride = 0;  // bytes from row to row; of no meaning where rows share bytes
  bool rowsShare = false;  // rows follow each other within bytes
};

/** Checks everything about a view but what only one operation needs. */
inline Errc checkView(const FrameView &view, Layout &layout) noexcept {
  const Format *format = findFormat(view.format);
  layout.format = format;
  if (format == nullptr) return Errc::UnknownFormat;
  if (view.data == nullptr) return Errc::NullData;
  if (view.width == 0 || view.height == 0) return Errc::EmptyImage;
  if (view.byteOrder > ByteOrder::Big) return Errc::UnknownOption;
  const bool shared = format->packing != Packing::None;
  if (view.byteOrder != ByteOrder::Little && (shared || format->wordBytes != 2)) return Errc::NoByteOrder;
  if (!shared && view.width % format->groupPixels != 0) return Errc::PartialGroup;
  // No address computed from here on exceeds 6 bytes a pixel.
  constexpr std::uint64_t most = std::numeric_limits<std::ptrdiff_t>::max() / 6;
  if (std::uint64_t{view.width} * view.height > most) return Errc::TooLarge;
  layout.row = static_cast<std::size_t>(rowBytes(*format, view.width));
  layout.stride = view.stride == 0 ? layout.row : view.stride;
  layout.rowsShare = shared && view.stride == 0;
  if (layout.rowsShare)
    return view.size < frameBytes(*format, view.width, view.height) ? Errc::ShortBuffer : Errc::Ok;
  if (layout.stride < layout.row) return Errc::ShortStride;
  if (view.size < layout.row || (view.size - layout.row) / layout.stride < view.height - 1)
    return Errc::ShortBuffer;
  return Errc::Ok;
}

}  // namespace detail

/** A region of a frame, in pixels from the upper left corner. */
struct __attribute__((visibility("default"))) Rect {
  std::uint32_t x = 0;       ///< Pixels to the left of it.
  std::uint32_t y = 0;       ///< Rows above it.
  std::uint32_t width = 0;   ///< Pixels a row.
  std::uint32_t height = 0;  ///< Rows.
};

/**
 * The region of a frame as if the camera had sent no more: a view into the same memory, nothing is copied.
 *
 * A Bayer region that begins at an odd x or y has its colours in another order, and gets the code of that
 * order. The edges of a region are edges when it is demosaiced.
 *
 * Errors in the order of their checks: those of convert() for the view itself; Errc::SharedBytes, as a region
 * of such a format need not begin on a byte; Errc::EmptyImage; Errc::CropOutside; Errc::SplitGroup.
 */
inline Result<FrameView> crop(const FrameView &view, const Rect &region) noexcept {
  detail::Layout layout;
  const Errc error = detail::checkView(view, layout);
  if (error != Errc::Ok) return error;
  const Format &format = *layout.format;
  if (format.packing != Packing::None) return Errc::SharedBytes;
  if (region.width == 0 || region.height == 0) return Errc::EmptyImage;
  if (region.width > view.width || region.x > view.width - region.width || region.height > view.height ||
      region.y > view.height - region.height)
    return Errc::CropOutside;
  if (region.x % format.groupPixels != 0 || region.width % format.groupPixels != 0) return Errc::SplitGroup;
  const std::size_t skipped =
      region.y * layout.stride + static_cast<std::size_t>(detail::runBytes(format, region.x));
  FrameView part = view;
  part.data += skipped;
  part.size -= skipped;
  part.format = detail::exchanged(view.format, region.x % 2 != 0, region.y % 2 != 0);
  part.width = region.width;
  part.height = region.height;
  part.stride = layout.stride;
  return part;
}

}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVOCAMUTL_FRAME_HPP
