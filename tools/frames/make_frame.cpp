// SPDX-License-Identifier: Apache-2.0
// Bayer formats sample one channel per pixel. Grey and YUV follow JFIF in full range:
//   Y = 0.299 R + 0.587 G + 0.114 B, U = (B - Y) / 1.772 + 128, V = (R - Y) / 1.402 + 128,
// rounded; a group's chroma is that of its mean colour. Wide samples repeat the upper bits of the byte below
// it, so that 0 and 255 become the ends of the wide range and the converters' shift gives the byte back.
// Where samples share bytes they are packed at the end.
#include "frames/make_frame.h"

#include <cmath>

#include "words/failure.h"

namespace tool {
namespace {

using Byte = std::uint8_t;

Byte rounded(double value) {
  return static_cast<Byte>(value <= 0 ? 0 : value >= 255 ? 255 : value + 0.5);
}

double luma(double r, double g, double b) {
  return 0.299 * r + 0.587 * g + 0.114 * b;
}
Byte lumaOf(const Byte *rgb) {
  return rounded(luma(rgb[0], rgb[1], rgb[2]));
}

// Appends samples of the frame's depth.
class SampleWriter {
 public:
  SampleWriter(Byte *to, unsigned depth) : to_(to), depth_(depth) {}

  void put(Byte sample) {
    if (depth_ == 8) {
      *to_++ = sample;
      return;
    }
    const unsigned wide =
        static_cast<unsigned>(sample) << (depth_ - 8) | static_cast<unsigned>(sample) >> (16 - depth_);
    *to_++ = static_cast<Byte>(wide & 0xFF);
    *to_++ = static_cast<Byte>(wide >> 8);
  }

 private:
  Byte *to_;
  unsigned depth_;
};

// Index into R, G, B of the filter over a pixel.
unsigned filterColour(kivo::BayerOrder order, std::uint32_t x, std::uint32_t y) {
  static const char *const kOrders[] = {"", "GRBG", "RGGB", "GBRG", "BGGR"};
  const char colour = kOrders[static_cast<unsigned>(order)][2 * (y % 2) + x % 2];
  return colour == 'R' ? 0 : colour == 'G' ? 1 : 2;
}

// One YUV group from `pixels` neighbouring pixels: the first byte is U, V stands behind the first half of the
// lumas.
void putGroup(SampleWriter &writer, const Byte *rgb, unsigned pixels) {
  double mean[3] = {0, 0, 0};
  for (unsigned i = 0; i < 3 * pixels; ++i) mean[i % 3] += rgb[i];
  for (double &channel : mean) channel /= pixels;
  const double y = luma(mean[0], mean[1], mean[2]);
  writer.put(rounded((mean[2] - y) / 1.772 + 128));
  const unsigned beforeV = (pixels + 1) / 2;
  for (unsigned i = 0; i < pixels; ++i) {
    if (i == beforeV) writer.put(rounded((mean[0] - y) / 1.402 + 128));
    writer.put(lumaOf(rgb + 3 * i));
  }
  if (beforeV == pixels) writer.put(rounded((mean[0] - y) / 1.402 + 128));
}

// Samples of 16-bit words to the bytes that they share: the frame is one run, whatever its width.
void pack(Byte *to, const Byte *words, std::uint64_t samples, const kivo::Format &format) {
  const auto sampleAt = [words](std::uint64_t i) { return words[2 * i] | unsigned{words[2 * i + 1]} << 8; };
  if (format.packing == kivo::Packing::P) {
    std::uint32_t waiting = 0;
    unsigned bits = 0;
    for (std::uint64_t i = 0; i < samples; ++i) {
      waiting |= sampleAt(i) << bits;
      for (bits += format.depth; bits >= 8; bits -= 8, waiting >>= 8) *to++ = static_cast<Byte>(waiting);
    }
    if (bits != 0) *to = static_cast<Byte>(waiting);
    return;
  }
  const unsigned low = format.depth - 8U;
  const unsigned mask = (1U << low) - 1;
  for (std::uint64_t i = 0; i < samples; i += 2) {
    const unsigned first = sampleAt(i);
    const bool pair = i + 1 < samples;
    const unsigned second = pair ? sampleAt(i + 1) : 0;
    *to++ = static_cast<Byte>(first >> low);
    *to++ = static_cast<Byte>((first & mask) | (second & mask) << 4);
    if (pair) *to++ = static_cast<Byte>(second >> low);
  }
}

kivo::Frame packed(const kivo::Frame &plain, const kivo::Format &format, const std::string &subject) {
  kivo::Frame frame{{}, format.code, plain.width, plain.height, 0};
  if (!frame.data.allocate(static_cast<std::size_t>(kivo::frameBytes(format, plain.width, plain.height))))
    throw failureOf(kivo::Errc::OutOfMemory, subject, Exit::Input);
  pack(frame.data.data(), plain.data.data(), std::uint64_t{plain.width} * plain.height, format);
  return frame;
}

}  // namespace

kivo::Frame makeFrame(const Picture &picture, const kivo::Format &format, const std::string &subject) {
  if (format.packing != kivo::Packing::None)
    return packed(makeFrame(picture, *kivo::findFormat(format.unpacked), subject), format, subject);
  if (picture.width % format.groupPixels != 0)
    throw failureOf(kivo::Errc::PartialGroup, subject, Exit::Unsupported);
  kivo::Frame frame;
  frame.format = format.code;
  frame.width = picture.width;
  frame.height = picture.height;
  if (!frame.data.allocate(static_cast<std::size_t>(kivo::frameBytes(format, picture.width, picture.height))))
    throw failureOf(kivo::Errc::OutOfMemory, subject, Exit::Input);
  SampleWriter writer(frame.data.data(), format.depth);
  const bool blueFirst = format.name[0] == 'B';
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width; x += format.groupPixels) {
      const Byte *rgb = picture.pixel(x, y);
      switch (format.family) {
        case kivo::Family::Mono:
          writer.put(lumaOf(rgb));
          break;
        case kivo::Family::Bayer:
          writer.put(rgb[filterColour(format.order, x, y)]);
          break;
        case kivo::Family::Rgb:
          for (unsigned c = 0; c < 3; ++c) writer.put(rgb[blueFirst ? 2 - c : c]);
          break;
        case kivo::Family::Yuv:
          putGroup(writer, rgb, format.groupPixels);
          break;
      }
    }
  }
  return frame;
}

}  // namespace tool
