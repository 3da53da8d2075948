// SPDX-License-Identifier: Apache-2.0
/**
 * @file unpack.hpp
 * Part of KivoCamUtl.hpp: what cameras really send, to plain samples: packed rows, and a byte or a
 * little-endian 16-bit word for each sample.
 */
#ifndef KIVOCAMUTL_UNPACK_HPP
#define KIVOCAMUTL_UNPACK_HPP

#include <kivocamutl/frame.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kivo {
#pragma GCC visibility push(hidden)
inline namespace v1 {
namespace detail {

#if defined(__BYTE_ORDER__)
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "samples are moved as words of a little-endian machine");
#endif

/** Samples of one step: the least that begin and end on a byte in every packing, and 64 bits once unpacked.
 */
inline constexpr std::size_t kStep = 4;

/** Bytes of such a step. */
template <Packing packing, unsigned depth>
inline constexpr std::size_t kStepBytes = packing == Packing::P &&depth == 10 ? 5 : 6;

/** `bits` in both 32-bit halves of a word. */
constexpr std::uint64_t twice(std::uint64_t bits) noexcept {
  return bits | bits << 32;
}

/** The samples of a step, from its bytes in the low bits to four 16-bit words. */
template <Packing packing, unsigned depth>
constexpr std::uint64_t spread(std::uint64_t bytes) noexcept {
  // Two samples to each half first: then what is to be done is the same in both.
  constexpr unsigned pair = packing == Packing::P ? 2 * depth : 24;
  constexpr std::uint64_t mask = (std::uint64_t{1} << pair) - 1;
  const std::uint64_t pairs = (bytes & mask) | (bytes & mask << pair) << (32 - pair);
  if constexpr (packing == Packing::P) {
    constexpr std::uint64_t sample = (1U << depth) - 1;
    return (pairs & twice(sample)) | (pairs & twice(sample << depth)) << (16 - depth);
  } else {
    // Of each 3 bytes the outer two hold upper bits, the middle one the lower bits of the first sample from
    // its bit 0 and those of the second from its bit 4.
    constexpr unsigned low = depth - 8;
    constexpr std::uint64_t lower = (1U << low) - 1;
    return (pairs & twice(0xFF00FF)) << low | (pairs >> 8 & twice(lower)) | (pairs & twice(lower << 12)) << 4;
  }
}

/** Bytes ahead of what is being unpacked that are asked for, where the compiler has a way to say so. */
inline constexpr std::size_t kAhead = 2048;

inline void prefetch([[maybe_unused]] const std::uint8_t *bytes) noexcept {
#if defined(__GNUC__)
  __builtin_prefetch(bytes);
#endif
}

/** `count` samples from the start of `src`. Reads exactly the bytes that hold them. */
template <Packing packing, unsigned depth>
void unpackSamples(std::uint8_t *dst, const std::uint8_t *src, std::size_t count,
                   std::size_t bytes) noexcept {
  constexpr std::size_t step = kStepBytes<packing, depth>;
  // A step loads 8 bytes, 2 or 3 more than it uses.
  const auto unpackSteps = [&](std::size_t steps) noexcept {
    for (std::size_t i = 0; i < steps; ++i) {
      std::uint64_t word = 0;
      std::memcpy(&word, src + i * step, sizeof word);
      word = spread<packing, depth>(word);
      std::memcpy(dst + i * sizeof word, &word, sizeof word);
    }
    dst += steps * sizeof(std::uint64_t), src += steps * step, count -= steps * kStep, bytes -= steps * step;
  };
  // Where frames come from memory and pictures go there, the processor does not look ahead far enough.
  constexpr std::size_t many = 8;
  while (count >= many * kStep && bytes >= kAhead) {
    prefetch(src + kAhead - 1);
    unpackSteps(many);
  }
  while (count >= kStep && bytes >= sizeof(std::uint64_t)) unpackSteps(1);
  while (count != 0) {
    const std::size_t samples = count < kStep ? count : kStep;
    const std::size_t left = bytes < step ? bytes : step;
    std::uint64_t word = 0;
    std::memcpy(&word, src, left);
    word = spread<packing, depth>(word);
    std::memcpy(dst, &word, 2 * samples);
    dst += 2 * samples, src += left, count -= samples, bytes -= left;
  }
}

using SampleUnpacker = void (*)(std::uint8_t *, const std::uint8_t *, std::size_t, std::size_t) noexcept;

constexpr SampleUnpacker sampleUnpacker(const Format &format) noexcept {
  if (format.packing == Packing::P)
    return format.depth == 10 ? unpackSamples<Packing::P, 10> : unpackSamples<Packing::P, 12>;
  return format.depth == 10 ? unpackSamples<Packing::Packed, 10> : unpackSamples<Packing::Packed, 12>;
}

/** Exchanges the bytes of `count` words. */
inline void swapBytes(std::uint8_t *dst, const std::uint8_t *src, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    std::uint16_t word = 0;
    std::memcpy(&word, src + 2 * i, sizeof word);
    word = static_cast<std::uint16_t>(word << 8 | word >> 8);
    std::memcpy(dst + 2 * i, &word, sizeof word);
  }
}

/** The plain samples of pixels that follow each other; `bytes` may be read, which hold at least them. */
inline void unpackPixels(std::uint8_t *dst, const std::uint8_t *src, const Format &format, ByteOrder order,
                         std::size_t pixels, std::size_t bytes) noexcept {
  if (format.packing != Packing::None)
    sampleUnpacker(format)(dst, src, pixels, bytes);
  else if (order == ByteOrder::Big)
    swapBytes(dst, src, static_cast<std::size_t>(runBytes(format, pixels)) / 2);
  else
    std::memcpy(dst, src, static_cast<std::size_t>(runBytes(format, pixels)));
}

/** The plain samples of rows of a checked view. The first of them begins on a byte. */
inline void unpackRows(std::uint8_t *dst, const FrameView &view, const Layout &layout, std::uint32_t first,
                       std::uint32_t rows) noexcept {
  const Format &format = *layout.format;
  if (layout.rowsShare) {
    const std::uint64_t skipped = runBytes(format, std::uint64_t{first} * view.width);
    const std::uint64_t bytes = frameBytes(format, view.width, view.height) - skipped;
    unpackPixels(dst, view.data + skipped, format, view.byteOrder, std::size_t{rows} * view.width,
                 static_cast<std::size_t>(bytes));
    return;
  }
  const std::size_t dstRow = static_cast<std::size_t>(rowBytes(*findFormat(format.unpacked), view.width));
  for (std::size_t y = 0; y < rows; ++y)
    unpackPixels(dst + y * dstRow, view.data + (first + y) * layout.stride, format, view.byteOrder,
                 view.width, layout.row);
}

/** Whether every sample of a view already has a byte or a little-endian word to itself. */
inline bool hasPlainSamples(const FrameView &view, const Layout &layout) noexcept {
  return layout.format->packing == Packing::None && view.byteOrder == ByteOrder::Little;
}

}  // namespace detail

/**
 * Unpacks into the caller's memory: packed rows of the format Format::unpacked, one byte or one little-endian
 * 16-bit word a sample, the value in the low bits. `dst` needs no alignment, must hold frameBytes() of that
 * format, and must not overlap the source. Bytes behind the frame and padding behind its rows are not read.
 *
 * Errors in the order of their checks: Errc::UnknownFormat, Errc::NullData (source), Errc::EmptyImage,
 * Errc::UnknownOption (byte order), Errc::NoByteOrder, Errc::PartialGroup, Errc::TooLarge, Errc::ShortStride,
 * Errc::ShortBuffer, Errc::NullData (destination), Errc::ShortDestination. Nothing is written unless the
 * result is Errc::Ok.
 */
inline Errc unpackTo(void *dst, std::size_t bytes, const FrameView &view) noexcept {
  detail::Layout layout;
  const Errc error = detail::checkView(view, layout);
  if (error != Errc::Ok) return error;
  if (dst == nullptr) return Errc::NullData;
  if (bytes < frameBytes(*findFormat(layout.format->unpacked), view.width, view.height))
    return Errc::ShortDestination;
  detail::unpackRows(static_cast<std::uint8_t *>(dst), view, layout, 0, view.height);
  return Errc::Ok;
}

/**
 * A copy of a frame with packed rows, and a byte or a little-endian 16-bit word for each sample. Errors:
 * those of unpackTo(), and Errc::OutOfMemory.
 */
inline Result<Frame> unpack(const FrameView &view) noexcept {
  detail::Layout layout;
  const Errc error = detail::checkView(view, layout);
  if (error != Errc::Ok) return error;
  Frame frame{{}, layout.format->unpacked, view.width, view.height, 0};
  const std::uint64_t bytes = frameBytes(*findFormat(frame.format), view.width, view.height);
  if (!frame.data.allocate(static_cast<std::size_t>(bytes))) return Errc::OutOfMemory;
  detail::unpackRows(frame.data.data(), view, layout, 0, view.height);
  return frame;
}

/** The smallest and the largest sample of a frame. */
struct __attribute__((visibility("default"))) SampleRange {
  std::uint32_t least = 0;  ///< The smallest sample.
  std::uint32_t most = 0;   ///< The largest sample.
};

namespace detail {

/** Samples of a row, of a format of plain samples. */
inline std::size_t rowSamples(const Format &plain, std::uint32_t width) noexcept {
  return static_cast<std::size_t>(rowBytes(plain, width)) / plain.wordBytes;
}

/** `view` if its samples are plain, else a view of an unpacked copy in `storage`, and the layout of that. */
inline Errc plainView(FrameView &view, Layout &layout, Frame &storage) noexcept {
  const Errc error = checkView(view, layout);
  if (error != Errc::Ok || hasPlainSamples(view, layout)) return error;
  Result<Frame> unpacked = unpack(view);
  if (!unpacked) return unpacked.error();
  storage = *std::move(unpacked);
  view = storage.view();
  return checkView(view, layout);
}

template <class Word>
void widen(SampleRange &range, const std::uint8_t *row, std::size_t samples) noexcept {
  Word least = static_cast<Word>(range.least), most = static_cast<Word>(range.most);
  for (std::size_t i = 0; i < samples; ++i) {
    Word sample = 0;
    std::memcpy(&sample, row + i * sizeof sample, sizeof sample);
    least = sample < least ? sample : least;
    most = sample > most ? sample : most;
  }
  range = {least, most};
}

/** Code of the 8-bit format of the same family and order, 0 for YUV. */
constexpr std::uint32_t narrowed(const Format &format) noexcept {
  if (format.family == Family::Yuv) return 0;
  for (const Format &narrow : kFormats)
    if (narrow.depth == 8 && narrow.family == format.family && narrow.order == format.order &&
        narrow.blueFirst() == format.blueFirst())
      return narrow.code;
  return 0;
}

}  // namespace detail

/** The smallest and the largest sample, all components together. Errors: those of unpack(). */
inline Result<SampleRange> sampleRange(const FrameView &view) noexcept {
  detail::Layout layout;
  Frame storage;
  FrameView plain = view;
  const Errc error = detail::plainView(plain, layout, storage);
  if (error != Errc::Ok) return error;
  const bool words = layout.format->wordBytes == 2;
  SampleRange range = {words ? 0xFFFFU : 0xFFU, 0};
  const std::size_t samples = detail::rowSamples(*layout.format, plain.width);
  for (std::uint32_t y = 0; y < plain.height; ++y)
    (words ? detail::widen<std::uint16_t>
           : detail::widen<std::uint8_t>)(range, plain.data + y * layout.stride, samples);
  return range;
}

/**
 * The frame in the 8-bit format of its family and order, with the samples from range.least to range.most
 * spread linearly over 0 to 255: (s - least) * 255 / (most - least), rounded to nearest, halves up; samples
 * outside become 0 or 255, and where range.most does not exceed range.least samples above it become 255 and
 * others 0. All colours are spread alike, so a Bayer frame stays one. Errors: those of unpack(), then
 * Errc::NoStretch.
 */
inline Result<Frame> stretch(const FrameView &view, const SampleRange &range) noexcept {
  detail::Layout layout;
  Frame storage;
  FrameView plain = view;
  const Errc error = detail::plainView(plain, layout, storage);
  if (error != Errc::Ok) return error;
  const std::uint32_t code = detail::narrowed(*layout.format);
  if (code == 0) return Errc::NoStretch;
  const std::size_t samples = detail::rowSamples(*layout.format, plain.width);
  const bool words = layout.format->wordBytes == 2;
  Frame frame{{}, code, plain.width, plain.height, 0};
  Bytes table;
  if (!frame.data.allocate(samples * plain.height) || !table.allocate(words ? 0x10000 : 0x100))
    return Errc::OutOfMemory;
  const std::uint64_t span = range.most > range.least ? range.most - range.least : 0;
  for (std::size_t s = 0; s < table.size(); ++s)
    table[s] = s <= range.least ? std::uint8_t{0}
               : span == 0 || s >= range.most
                   ? std::uint8_t{255}
                   : static_cast<std::uint8_t>(((s - range.least) * 510 + span) / (2 * span));
  std::uint8_t *dst = frame.data.data();
  for (std::uint32_t y = 0; y < plain.height; ++y, dst += samples) {
    const std::uint8_t *src = plain.data + y * layout.stride;
    for (std::size_t i = 0; i < samples; ++i)
      dst[i] = table[words ? static_cast<std::size_t>(src[2 * i] | src[2 * i + 1] << 8) : src[i]];
  }
  return frame;
}

}  // namespace v1
#pragma GCC visibility pop
}  // namespace kivo

#endif  // KIVOCAMUTL_UNPACK_HPP
