// SPDX-License-Identifier: Apache-2.0
// What the engine's own kernels must write: plain loops from the layouts and formulas of KivoFrame.h, a bit,
// a sample or a pixel at a time.
#ifndef KIVO_TESTS_CHECKKERNEL_REFERENCE_FRAME_H
#define KIVO_TESTS_CHECKKERNEL_REFERENCE_FRAME_H

#include <cstddef>
#include <cstdint>

#include "simd/frame_kernels.h"

namespace KivoTest::Reference {

// Bytes that n items of an unpacking have, before and after.
std::size_t PackedBytes(Kivo::Unpack kind, std::size_t n);
std::size_t UnpackedBytes(Kivo::Unpack kind, std::size_t n);
void Unpack(Kivo::Unpack kind, std::uint8_t *dst, const std::uint8_t *src, std::size_t n);
void PackedMono(Kivo::Unpack kind, std::uint8_t *dst, const std::uint8_t *src, std::size_t n, unsigned shift,
                std::size_t pixel_bytes);

// Samples of 1 or 2 bytes.
void Planes(std::size_t sample_bytes, std::uint16_t *const *planes, const std::uint8_t *src, std::size_t n);
void Interleave(std::size_t sample_bytes, std::uint8_t *dst, const std::uint8_t *const *planes,
                std::size_t n);
void Widen(std::uint16_t *dst, const std::uint8_t *src, std::size_t n);
void Half(std::size_t sample_bytes, std::uint16_t *const *planes, const std::uint8_t *row0,
          const std::uint8_t *row1, std::size_t n, Kivo::BayerOrder order);
void Extremes(std::size_t sample_bytes, const std::uint8_t *src, std::size_t n, std::uint32_t *least,
              std::uint32_t *most);
void Table(std::size_t sample_bytes, std::uint8_t *dst, const std::uint8_t *src, std::size_t n,
           const std::uint8_t *table);

// Samples of 1 or 2 bytes.
void Gain(std::size_t sample_bytes, const Kivo::GainJob &job);
void Matrix(const Kivo::MatrixJob &job);
void Tone(const Kivo::ToneJob &job);

// One pixel at a time from the samples of its neighbourhood that the image has.
void ColouredMosaic(std::size_t pixel_bytes, const Kivo::MosaicJob &job, const Kivo::FinishJob &finish);

std::size_t PicturePixelBytes(Kivo::PictureKind kind);
void Picture(Kivo::PictureKind kind, const Kivo::PictureJob &job);

}  // namespace KivoTest::Reference

#endif  // KIVO_TESTS_CHECKKERNEL_REFERENCE_FRAME_H
