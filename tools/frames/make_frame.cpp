// SPDX-License-Identifier: Apache-2.0
// Bayer formats sample one channel per pixel. Grey, YUV and YCbCr in full range follow JFIF:
//   Y = 0.299 R + 0.587 G + 0.114 B, U = (B - Y) / 1.772 + 128, V = (R - Y) / 1.402 + 128,
// rounded; a group's chroma is that of its mean colour. YCbCr601 and YCbCr709 have 219 steps of luma from 16
// on and 224 of chroma, with the weights of their standard. Wide samples repeat the upper bits of the byte
// below it, so that 0 and 255 become the ends of the wide range and the converters' shift gives the byte
// back. What is not plain is made of the plain samples at the end.
#include "frames/make_frame.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "words/failure.h"
#include "words/text.h"

namespace tool {
namespace {

using Byte = std::uint8_t;

Byte rounded(double value) {
  return static_cast<Byte>(value <= 0 ? 0 : value >= 255 ? 255 : value + 0.5);
}

// The weights of red and blue in luma, and how far luma and chroma reach.
struct Matrix {
  double red = 0.299, blue = 0.114;
  double lumaSteps = 255, chromaSteps = 255;

  double luma(const double *rgb) const { return red * rgb[0] + (1 - red - blue) * rgb[1] + blue * rgb[2]; }
  Byte y(double luma) const { return rounded((lumaSteps < 255 ? 16 : 0) + luma * lumaSteps / 255); }
  Byte chroma(double colour, double luma, double weight) const {
    return rounded((colour - luma) / (2 - 2 * weight) * chromaSteps / 255 + 128);
  }
};

Matrix matrixOf(const kivo::Format &format) {
  const std::string_view name = format.name;
  if (name.rfind("YCbCr601", 0) == 0) return {0.299, 0.114, 219, 224};
  if (name.rfind("YCbCr709", 0) == 0) return {0.2126, 0.0722, 219, 224};
  return {};
}

Byte lumaOf(const Matrix &matrix, const Byte *rgb) {
  const double colour[3] = {double(rgb[0]), double(rgb[1]), double(rgb[2])};
  return matrix.y(matrix.luma(colour));
}

// Appends samples of the frame's depth.
class SampleWriter {
 public:
  SampleWriter(Byte *to, unsigned depth) : to_(to), depth_(depth) {}

  void put(Byte sample) {
    const unsigned byte = sample;
    putWide(depth_ == 8 ? byte : byte << (depth_ - 8) | byte >> (16 - depth_));
  }
  void putWide(unsigned sample) {
    *to_++ = static_cast<Byte>(sample & 0xFF);
    if (depth_ > 8) *to_++ = static_cast<Byte>(sample >> 8);
  }

 private:
  Byte *to_;
  unsigned depth_;
};

// Counts electrons, as a sensor does in weak light: of what is white in the picture it gets a third of what
// it can hold in green, less in red and blue. They arrive by chance, and reading them adds some. The same in
// every run.
class Sensor {
 public:
  explicit Sensor(unsigned depth) : top_((1U << depth) - 1), black_(top_ / 40.0) {
    for (unsigned i = 0; i < 256; ++i) {
      const double code = i / 255.0;
      light_[i] = code <= 0.04045 ? code / 12.92 : std::pow((code + 0.055) / 1.055, 2.4);
    }
  }

  unsigned count(Byte code, unsigned colour) {
    static constexpr double kWhite[3] = {1500, 3300, 2100};
    constexpr double kFull = 10000, kRead = 8;
    const double electrons = kWhite[colour] * light_[code];
    const double counted = electrons + std::sqrt(electrons + kRead * kRead) * chance();
    return static_cast<unsigned>(
        std::clamp(black_ + counted / kFull * (top_ - black_) + 0.5, 0.0, double(top_)));
  }

 private:
  // Of mean 0 and variance 1, nearly normal.
  double chance() {
    double sum = -6;
    for (unsigned i = 0; i < 12; ++i) {
      state_ = state_ * 6364136223846793005U + 1442695040888963407U;
      sum += static_cast<double>(state_ >> 32) / 4294967296.0;
    }
    return sum;
  }

  unsigned top_;
  double black_;
  double light_[256];
  std::uint64_t state_ = 1;
};

// Index into R, G, B of the filter over a pixel.
unsigned filterColour(std::uint32_t order, std::uint32_t x, std::uint32_t y) {
  static const char *const kOrders[] = {"", "GRBG", "RGGB", "GBRG", "BGGR"};
  const char colour = kOrders[order][2 * (y % 2) + x % 2];
  return colour == 'R' ? 0 : colour == 'G' ? 1 : 2;
}

// One YUV group from `pixels` neighbouring pixels: the first byte is U, V stands behind the first half of the
// lumas.
void putGroup(SampleWriter &writer, const Matrix &matrix, const Byte *rgb, unsigned pixels) {
  double mean[3] = {0, 0, 0};
  for (unsigned i = 0; i < 3 * pixels; ++i) mean[i % 3] += rgb[i];
  for (double &channel : mean) channel /= pixels;
  const double y = matrix.luma(mean);
  const Byte u = matrix.chroma(mean[2], y, matrix.blue), v = matrix.chroma(mean[0], y, matrix.red);
  writer.put(u);
  const unsigned beforeV = (pixels + 1) / 2;
  for (unsigned i = 0; i < pixels; ++i) {
    if (i == beforeV) writer.put(v);
    writer.put(lumaOf(matrix, rgb + std::size_t{3} * i));
  }
  if (beforeV == pixels) writer.put(v);
}

// Appends bits, the lowest of a number first.
class BitWriter {
 public:
  explicit BitWriter(Byte *to) : to_(to) {}
  void put(std::uint32_t value, unsigned bits) {
    waiting_ |= std::uint64_t{value} << held_;
    for (held_ += bits; held_ >= 8; held_ -= 8, waiting_ >>= 8) *to_++ = static_cast<Byte>(waiting_);
  }
  void end() {
    if (held_ != 0) *to_++ = static_cast<Byte>(waiting_);
  }

 private:
  Byte *to_;
  std::uint64_t waiting_ = 0;
  unsigned held_ = 0;
};

// Plain samples to what a format makes of them: the frame is one run, whatever its width.
void pack(Byte *to, const Byte *plain, std::uint64_t samples, const kivo::Format &format) {
  const auto sampleAt = [plain, words = format.plain_bytes == 2](std::uint64_t i) -> std::uint32_t {
    return words ? plain[2 * i] | unsigned{plain[2 * i + 1]} << 8 : plain[i];
  };
  const unsigned low = format.depth > 8 ? format.depth - 8 : 0, mask = (1U << low) - 1;
  switch (format.packing) {
    case KIVO_P: {
      BitWriter bits(to);
      for (std::uint64_t i = 0; i < samples; ++i)
        bits.put(sampleAt(i) >> (format.plain_depth - format.depth), format.depth);
      return bits.end();
    }
    case KIVO_P32: {
      BitWriter bits(to);
      for (std::uint64_t i = 0; i < samples; ++i) bits.put(sampleAt(i), i % 3 == 2 ? 12 : 10);
      return;
    }
    case KIVO_PACKED:
      for (std::uint64_t i = 0; i < samples; i += 2) {
        const bool pair = i + 1 < samples;
        const std::uint32_t first = sampleAt(i), second = pair ? sampleAt(i + 1) : 0;
        *to++ = static_cast<Byte>(first >> low);
        *to++ = static_cast<Byte>((first & mask) | (second & mask) << 4);
        if (pair) *to++ = static_cast<Byte>(second >> low);
      }
      return;
    case KIVO_PLANAR:
      for (std::uint64_t plane = 0; plane < 3; ++plane)
        for (std::uint64_t i = plane; i < samples; i += 3, to += format.plain_bytes)
          std::copy_n(plain + i * format.plain_bytes, format.plain_bytes, to);
      return;
    case KIVO_ALPHA:
      for (std::uint64_t i = 0; i < samples; i += 3, to += 4) std::copy_n(plain + i, 3, to), to[3] = 255;
      return;
    case KIVO_SIGNED:
      for (std::uint64_t i = 0; i < samples; ++i) to[i] = static_cast<Byte>(plain[i] ^ 0x80);
      return;
    default: {
      // Chroma goes behind the half of the lumas that it stood before.
      const std::uint64_t half = format.group_bytes / 2;
      for (std::uint64_t i = 0; i < samples; ++i) to[i] = plain[i % half + 1 < half ? i + 1 : i + 1 - half];
    }
  }
}

kivo::Frame packed(const kivo::Frame &plain, const kivo::Format &format, const std::string &subject) {
  kivo::Frame frame{{}, format.code, plain.width, plain.height, 0};
  if (!frame.data.allocate(
          static_cast<std::size_t>(kivo_frame_bytes(format.code, plain.width, plain.height))))
    throw failureOf(kivo::Errc::OutOfMemory, subject, Exit::Input);
  pack(frame.data.data(), plain.data.data(), plain.data.size() / format.plain_bytes, format);
  return frame;
}

}  // namespace

kivo::Frame makeFrame(const Picture &picture, const kivo::Format &format, Exposure exposure,
                      const std::string &subject) {
  if (exposure == Exposure::Sensor && format.family == KIVO_YUV)
    throw Failure(
        Exit::Unsupported, subject,
        printed("%s is what a camera makes of a sensor's samples, not what the sensor gives", format.name));
  if (format.packing != KIVO_PLAIN)
    return packed(makeFrame(picture, *kivo::findFormat(format.plain), exposure, subject), format, subject);
  if (picture.width % format.group_pixels != 0)
    throw failureOf(kivo::Errc::PartialGroup, subject, Exit::Unsupported);
  kivo::Frame frame;
  frame.format = format.code;
  frame.width = picture.width;
  frame.height = picture.height;
  if (!frame.data.allocate(
          static_cast<std::size_t>(kivo_frame_bytes(format.code, picture.width, picture.height))))
    throw failureOf(kivo::Errc::OutOfMemory, subject, Exit::Input);
  SampleWriter writer(frame.data.data(), format.depth);
  Sensor sensor(format.depth);
  const auto put = [&](Byte code, unsigned colour) {
    if (exposure == Exposure::Sensor)
      writer.putWide(sensor.count(code, colour));
    else
      writer.put(code);
  };
  const bool blueFirst = format.name[0] == 'B';
  const Matrix matrix = matrixOf(format);
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width; x += format.group_pixels) {
      const Byte *rgb = picture.pixel(x, y);
      switch (format.family) {
        case KIVO_MONO:
          put(lumaOf(matrix, rgb), 1);
          break;
        case KIVO_BAYER:
          put(rgb[filterColour(format.order, x, y)], filterColour(format.order, x, y));
          break;
        case KIVO_RGB:
          for (unsigned i = 0; i < 3; ++i) {
            const unsigned c = blueFirst ? 2 - i : i;
            put(rgb[c], c);
          }
          break;
        default:
          putGroup(writer, matrix, rgb, format.group_pixels);
          break;
      }
    }
  }
  return frame;
}

}  // namespace tool
