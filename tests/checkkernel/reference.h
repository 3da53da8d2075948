// SPDX-License-Identifier: Apache-2.0
// What every converter must write, one pixel at a time: plain loops that share nothing with the library,
// neither code nor tables, and are never optimised. A byte that a converter leaves alone is not written here
// either.
#ifndef KIVO_TESTS_CHECKKERNEL_REFERENCE_H
#define KIVO_TESTS_CHECKKERNEL_REFERENCE_H

#include <cstddef>
#include <cstdint>

#include "simd/yuv_frame_kernels.h"
#include "support/converters.h"

namespace KivoTest::Reference {

struct Pixel {
  std::uint8_t blue;
  std::uint8_t green;
  std::uint8_t red;
};

// Bytes B, G, R and, for BGRA, 255.
void Store(Output output, std::uint8_t *dst, std::size_t index, Pixel pixel);

void MonoRgb8(Layout layout, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t pixels);
void Yuv8(Layout layout, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t pixels);
void Bayer8(Order order, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t width,
            std::size_t height);
void Acpi8(Order order, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t width,
           std::size_t height);
void MonoRgb16(Layout layout, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t pixels,
               std::uint32_t shift);
void Bayer16(Order order, Output output, std::uint8_t *dst, const std::uint8_t *src, std::size_t width,
             std::size_t height, std::uint32_t shift);

// The converter's own reference; shift is the argument of a worker and nothing to the others.
void Convert(const Converter &converter, std::uint8_t *dst, const std::uint8_t *src, std::uint32_t width,
             std::uint32_t height, std::uint32_t shift = 0);

// Elements of the colour lookup tables, in exact integers.
std::uint32_t GreenIndex(int u, int v);  // sample bytes U and V
std::uint8_t Green(int index, int y);    // index 0 to 511
std::uint8_t Red(int v, int y);
std::uint8_t Blue(int u, int y);
Pixel FromYuv(int y, int u, int v);

// A pixel by the tables of YUV or by a matrix of YCbCr, and a run of groups.
Pixel FromYcbcr(Kivo::YuvMatrix matrix, int y, int u, int v);
std::size_t YuvGroupPixels(Kivo::YuvLayout layout);
std::size_t YuvGroupBytes(Kivo::YuvLayout layout);
void YuvFrame(Kivo::YuvLayout layout, Kivo::YuvMatrix matrix, Output output, std::uint8_t *dst,
              const std::uint8_t *src, std::size_t groups);

// Units that a reversal moves, with the bytes it reads and writes.
enum class Unit { kByte1, kByte2, kByte3, kByte4, kByte6, kByte8, kYuv422, kYuv411 };
std::size_t UnitBytes(Unit unit);
struct ReverseFormat {
  std::uint32_t code;
  Unit unit;
};
inline constexpr ReverseFormat kReverseFormats[] = {
    {0x01080001, Unit::kByte1},  {0x01080008, Unit::kByte1}, {0x01080009, Unit::kByte1},
    {0x0108000A, Unit::kByte1},  {0x0108000B, Unit::kByte1}, {0x01100003, Unit::kByte2},
    {0x01100005, Unit::kByte2},  {0x01100007, Unit::kByte2}, {0x0110000C, Unit::kByte2},
    {0x0110000D, Unit::kByte2},  {0x0110000E, Unit::kByte2}, {0x0110000F, Unit::kByte2},
    {0x01100010, Unit::kByte2},  {0x01100011, Unit::kByte2}, {0x01100012, Unit::kByte2},
    {0x01100013, Unit::kByte2},  {0x02180014, Unit::kByte3}, {0x02180015, Unit::kByte3},
    {0x02300018, Unit::kByte6},  {0x02300019, Unit::kByte6}, {0x0230001B, Unit::kByte6},
    {0x020C001E, Unit::kYuv411}, {0x0210001F, Unit::kYuv422}};

std::size_t FrameBytes(Unit unit, std::size_t width, std::size_t height);

// Bytes of the source that a call may read; more than a frame for the mirror of a width that holds no whole
// number of YUV groups.
std::size_t ReverseSourceBytes(Unit unit, std::size_t width, std::size_t height, bool horizontal,
                               bool vertical);
// One row of units, last unit first.
void ReverseUnits(Unit unit, std::uint8_t *dst, const std::uint8_t *src, std::size_t units);
void Reverse(Unit unit, std::uint8_t *dst, const std::uint8_t *src, std::size_t width, std::size_t height,
             bool horizontal, bool vertical);

}  // namespace KivoTest::Reference

#endif  // KIVO_TESTS_CHECKKERNEL_REFERENCE_H
