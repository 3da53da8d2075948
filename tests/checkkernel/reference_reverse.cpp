// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "checkkernel/reference.h"

namespace KivoTest::Reference {
namespace {

struct UnitShape {
  std::size_t bytes;
  std::size_t pixels;
};

UnitShape Shape(Unit unit) {
  switch (unit) {
    case Unit::kByte1:
      return {1, 1};
    case Unit::kByte2:
      return {2, 1};
    case Unit::kByte3:
      return {3, 1};
    case Unit::kByte4:
      return {4, 1};
    case Unit::kByte6:
      return {6, 1};
    case Unit::kByte8:
      return {8, 1};
    case Unit::kYuv422:
      return {4, 2};
    case Unit::kYuv411:
      break;
  }
  return {6, 4};
}

void PutUnit(Unit unit, std::uint8_t *dst, const std::uint8_t *src) {
  const std::size_t bytes = Shape(unit).bytes;
  const bool yuv = unit == Unit::kYuv422 || unit == Unit::kYuv411;
  for (std::size_t i = 0; i < bytes; ++i) dst[i] = yuv && i > 0 ? src[bytes - i] : src[i];
}

// How far the mirror moves in the source from one row to the next.
std::size_t MirrorStep(Unit unit, std::size_t width) {
  if (unit == Unit::kYuv422) return 4 * width - 4 * (width / 2);
  if (unit == Unit::kYuv411) return 3 * width - 6 * (width / 4);
  return width * Shape(unit).bytes;
}

}  // namespace

std::size_t UnitBytes(Unit unit) {
  return Shape(unit).bytes;
}

void ReverseUnits(Unit unit, std::uint8_t *dst, const std::uint8_t *src, std::size_t units) {
  const std::size_t bytes = UnitBytes(unit);
  for (std::size_t k = 0; k < units; ++k) PutUnit(unit, dst + k * bytes, src + (units - 1 - k) * bytes);
}

std::size_t FrameBytes(Unit unit, std::size_t width, std::size_t height) {
  if (unit == Unit::kYuv411) return 3 * width * height / 2;
  if (unit == Unit::kYuv422) return 2 * width * height;
  return width * height * Shape(unit).bytes;
}

std::size_t ReverseSourceBytes(Unit unit, std::size_t width, std::size_t height, bool horizontal,
                               bool vertical) {
  const std::size_t frame = FrameBytes(unit, width, height);
  if (!horizontal || vertical || height == 0 || width < Shape(unit).pixels) return frame;
  return std::max(frame, FrameBytes(unit, width, 1) + (height - 1) * MirrorStep(unit, width));
}

void Reverse(Unit unit, std::uint8_t *dst, const std::uint8_t *src, std::size_t width, std::size_t height,
             bool horizontal, bool vertical) {
  const auto [bytes, pixels] = Shape(unit);
  const std::size_t frame = FrameBytes(unit, width, height);
  const std::size_t row = FrameBytes(unit, width, 1);
  if (!horizontal && !vertical) {
    for (std::size_t i = 0; i < frame; ++i) dst[i] = src[i];
  } else if (!horizontal) {
    for (std::size_t r = 0; r < height; ++r)
      for (std::size_t i = 0; i < row; ++i) dst[r * row + i] = src[(height - 1 - r) * row + i];
  } else if (!vertical) {
    const std::size_t units = width / pixels;
    for (std::size_t r = 0; r < height; ++r) {
      for (std::size_t k = 0; k < units; ++k) {
        const std::size_t from = row - (k + 1) * bytes + r * MirrorStep(unit, width);
        PutUnit(unit, dst + (r * units + k) * bytes, src + from);
      }
    }
  } else {
    const std::size_t units = width * height / pixels;
    for (std::size_t i = 0; i < units; ++i) PutUnit(unit, dst + i * bytes, src + frame - (i + 1) * bytes);
  }
}

}  // namespace KivoTest::Reference
