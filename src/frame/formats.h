// SPDX-License-Identifier: Apache-2.0
// The table of formats, and what the engine asks of it.
#ifndef KIVO_FRAME_FORMATS_H
#define KIVO_FRAME_FORMATS_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "KivoFrame.h"
#include "simd/yuv_frame_kernels.h"

namespace Kivo {

// All formats, those of a family together: plain ones first, bytes in front of words.
std::span<const kivo_format> Formats() noexcept;
constexpr std::size_t c_uiMostFormats = 128;

// Null if the table lacks the code.
const kivo_format *FindFormat(std::uint32_t uiCode) noexcept;

// The format of the plain samples of a format of the table.
const kivo_format &PlainFormat(const kivo_format &sFormat) noexcept;

// The plain format of one byte a sample, of the same family and order; for YUV the plain format itself.
const kivo_format &EightBitFormat(const kivo_format &sFormat) noexcept;

// What samples are between their gain and the demosaic: words of 14 bits, of the same family and order. Not
// for YUV.
const kivo_format &GainedFormat(const kivo_format &sFormat) noexcept;

YuvMatrix MatrixOf(const kivo_format &sFormat) noexcept;

// Whether a pixel of an RGB format has its blue sample first.
bool BlueFirst(const kivo_format &sFormat) noexcept;

// Planes of a frame: 3 or 1.
constexpr std::uint32_t Planes(const kivo_format &sFormat) noexcept {
  return sFormat.packing == KIVO_PLANAR ? 3 : 1;
}

// Bits of a pixel in a frame, of all planes.
constexpr std::uint32_t BitsPerPixel(const kivo_format &sFormat) noexcept {
  return sFormat.code >> 16 & 0xFF;
}

// Whether packed rows follow each other within bytes: one stream of bits for the whole frame.
constexpr bool SharesBytes(const kivo_format &sFormat) noexcept {
  return sFormat.packing == KIVO_P || sFormat.packing == KIVO_PACKED;
}

// Bytes of a row of one plane that begins on a byte.
std::uint64_t RowBytes(const kivo_format &sFormat, std::uint32_t uiWidth) noexcept;

// Bytes of a frame with packed rows, of all planes; the largest number where 64 bits do not suffice.
std::uint64_t FrameBytes(const kivo_format &sFormat, std::uint32_t uiWidth, std::uint32_t uiHeight) noexcept;

// The format whose columns and rows have exchanged their colours; the same where it is not Bayer.
const kivo_format &Exchanged(const kivo_format &sFormat, bool bColumns, bool bRows) noexcept;

}  // namespace Kivo

#endif  // KIVO_FRAME_FORMATS_H
