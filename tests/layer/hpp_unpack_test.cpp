// SPDX-License-Identifier: Apache-2.0
// The C++ layer: what cameras really send. Source buffers end where the frame ends, on the heap, so that
// AddressSanitizer sees every byte too many.
#include <gtest/gtest.h>

#include <KivoCamUtl.hpp>
#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

using kivo::ByteOrder;
using kivo::Errc;
using kivo::FrameView;
using kivo::Packing;

using Buffer = std::vector<std::uint8_t>;
using Samples = std::vector<std::uint16_t>;

Samples wordsOf(const kivo::Frame &frame) {
  Samples words;
  for (std::size_t i = 0; i + 1 < frame.data.size(); i += 2)
    words.push_back(static_cast<std::uint16_t>(frame.data[i] | frame.data[i + 1] << 8));
  return words;
}

Samples randomSamples(std::size_t count, unsigned depth, std::uint32_t seed) {
  std::mt19937 generator(seed);
  Samples samples(count);
  for (std::uint16_t &sample : samples)
    sample = static_cast<std::uint16_t>(generator() >> 7 & ((1U << depth) - 1));
  return samples;
}

// A stream of bits, sample after sample, each from its lowest bit, into bytes from their lowest bit.
Buffer bitStream(const Samples &samples, unsigned depth) {
  Buffer bytes((samples.size() * depth + 7) / 8);
  std::size_t at = 0;
  for (const std::uint16_t sample : samples)
    for (unsigned bit = 0; bit < depth; ++bit, ++at)
      if ((sample >> bit & 1) != 0) bytes[at / 8] = static_cast<std::uint8_t>(bytes[at / 8] | 1U << at % 8);
  return bytes;
}

// Upper 8 bits of the first sample, the lower bits of both, upper 8 bits of the second.
Buffer threeBytes(const Samples &samples, unsigned depth) {
  Buffer bytes;
  const unsigned low = depth - 8;
  for (std::size_t i = 0; i < samples.size(); i += 2) {
    const unsigned first = samples[i];
    const unsigned second = i + 1 < samples.size() ? samples[i + 1] : 0U;
    bytes.push_back(static_cast<std::uint8_t>(first >> low));
    bytes.push_back(
        static_cast<std::uint8_t>((first & ((1U << low) - 1)) | (second & ((1U << low) - 1)) << 4));
    if (i + 1 < samples.size()) bytes.push_back(static_cast<std::uint8_t>(second >> low));
  }
  return bytes;
}

Buffer packed(const kivo::Format &format, const Samples &samples) {
  return format.packing == Packing::P ? bitStream(samples, format.depth) : threeBytes(samples, format.depth);
}

Samples unpacked(const char *format, const Buffer &bytes, std::uint32_t width, std::uint32_t height,
                 std::size_t stride = 0) {
  const auto frame =
      kivo::unpack({bytes.data(), bytes.size(), kivo::findFormat(format)->code, width, height, stride});
  EXPECT_TRUE(frame) << frame.message();
  return wordsOf(*frame);
}

// Bytes written by hand from the drawings of the two layouts.
TEST(HppUnpack, KnowsTheBitStream) {
  // 0x3FF, 0x000, 0x155, 0x2AA: bits 1111111111 0000000000 1010101010 0101010101, lowest first.
  EXPECT_EQ(unpacked("Mono10p", {0xFF, 0x03, 0x50, 0x95, 0xAA}, 4, 1), (Samples{0x3FF, 0x000, 0x155, 0x2AA}));
  // A sample's low byte, then two nibbles: the first sample's upper bits lie in the lower one.
  EXPECT_EQ(unpacked("Mono12p", {0x34, 0xA2, 0xBC}, 2, 1), (Samples{0x234, 0xBCA}));
  EXPECT_EQ(unpacked("BayerRG12p", {0x01, 0xF0, 0xFF, 0x23, 0x01}, 3, 1), (Samples{0x001, 0xFFF, 0x123}));
}

TEST(HppUnpack, KnowsTheThreeBytes) {
  // 0xABC and 0x123: upper bytes AB and 12 outside, lower nibbles C (first) and 3 (second) in the middle.
  EXPECT_EQ(unpacked("Mono12Packed", {0xAB, 0x3C, 0x12}, 2, 1), (Samples{0xABC, 0x123}));
  // 0x3FE and 0x001: FF and 00 outside, lower pairs of bits 2 (bits 0 and 1) and 1 (bits 4 and 5).
  EXPECT_EQ(unpacked("Mono10Packed", {0xFF, 0x12, 0x00}, 2, 1), (Samples{0x3FE, 0x001}));
  // Bits 2, 3, 6 and 7 of the middle byte belong to nobody.
  EXPECT_EQ(unpacked("BayerGB10Packed", {0xFF, 0xDE, 0x00}, 2, 1), (Samples{0x3FE, 0x001}));
  EXPECT_EQ(unpacked("BayerGR12Packed", {0xAB, 0x3C, 0x12, 0x45, 0xF6}, 3, 1),
            (Samples{0xABC, 0x123, 0x456}));
}

// Long enough for the loop that asks for bytes ahead, and for all of the others behind it.
TEST(HppUnpack, GivesBackLongRuns) {
  for (const char *name : {"Mono10p", "Mono12p", "Mono10Packed", "Mono12Packed"}) {
    const kivo::Format &format = *kivo::findFormat(name);
    for (std::uint32_t width = 1300; width < 1700; width += width < 1400 ? 7 : 1) {
      const Samples samples = randomSamples(3 * width, format.depth, width);
      ASSERT_EQ(unpacked(name, packed(format, samples), width, 3), samples) << name << ' ' << width;
    }
  }
}

TEST(HppUnpack, GivesBackWhatWasPacked) {
  std::size_t formats = 0;
  for (const kivo::Format &format : kivo::kFormats) {
    if (format.packing == Packing::None) continue;
    ++formats;
    const kivo::Format *plain = kivo::findFormat(format.unpacked);
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(plain->depth, format.depth);
    EXPECT_EQ(plain->order, format.order);
    EXPECT_EQ(plain->family, format.family);
    EXPECT_EQ(std::string(format.name),
              plain->name + std::string(format.packing == Packing::P ? "p" : "Packed"));
    for (std::uint32_t width = 1; width <= 19; ++width) {
      for (std::uint32_t height = 1; height <= 3; ++height) {
        SCOPED_TRACE(std::string(format.name) + " " + std::to_string(width) + "x" + std::to_string(height));
        const Samples samples = randomSamples(width * height, format.depth, width * 7 + height);
        // Rows without a gap between them.
        const Buffer bytes = packed(format, samples);
        EXPECT_EQ(kivo::frameBytes(format, width, height), bytes.size());
        EXPECT_EQ(unpacked(format.name, bytes, width, height), samples);
        const FrameView shorter = {bytes.data(), bytes.size() - 1, format.code, width, height};
        EXPECT_EQ(kivo::unpack(shorter).error(), Errc::ShortBuffer);
        // Rows that begin on a byte, without and with padding; the last one has none.
        for (const std::size_t padding : {std::size_t{0}, std::size_t{5}}) {
          Buffer padded;
          const std::size_t row = static_cast<std::size_t>(kivo::rowBytes(format, width));
          for (std::uint32_t y = 0; y < height; ++y) {
            padded.resize(y * (row + padding), 0xEE);
            const auto first = samples.begin() + static_cast<std::ptrdiff_t>(y * width);
            const Buffer line = packed(format, Samples(first, first + static_cast<std::ptrdiff_t>(width)));
            ASSERT_EQ(line.size(), row);
            padded.insert(padded.end(), line.begin(), line.end());
          }
          EXPECT_EQ(unpacked(format.name, padded, width, height, row + padding), samples);
        }
      }
    }
  }
  EXPECT_EQ(formats, 20U);
}

TEST(HppUnpack, IgnoresWhatLiesBehindTheFrame) {
  Buffer bytes = {0xAB, 0x3C, 0x12};
  bytes.resize(100, 0xEE);
  EXPECT_EQ(unpacked("Mono12Packed", bytes, 2, 1), (Samples{0xABC, 0x123}));
}

TEST(HppUnpack, WritesIntoTheCallersMemory) {
  const Buffer bytes = {0xAB, 0x3C, 0x12};
  const FrameView view = {bytes.data(), bytes.size(), kivo::findFormat("Mono12Packed")->code, 2, 1};
  Samples words(3, 7);
  EXPECT_EQ(kivo::unpackTo(words.data(), 3, view), Errc::ShortDestination);
  EXPECT_EQ(kivo::unpackTo(nullptr, 4, view), Errc::NullData);
  EXPECT_EQ(words, Samples(3, 7));
  EXPECT_EQ(kivo::unpackTo(words.data(), 4, view), Errc::Ok);
  EXPECT_EQ(words, (Samples{0xABC, 0x123, 7}));
}

TEST(HppUnpack, ExchangesTheBytesOfBigEndianWords) {
  const Buffer bytes = {0x01, 0x23, 0x0F, 0xFF, 0xEE, 0xEE, 0x00, 0x45, 0x0A, 0xBC};
  FrameView view = {bytes.data(), bytes.size(), CAMUTL_PFNC_MONO12, 2, 2, 6, ByteOrder::Big};
  const auto frame = kivo::unpack(view);
  ASSERT_TRUE(frame);
  EXPECT_EQ(wordsOf(*frame), (Samples{0x123, 0xFFF, 0x045, 0xABC}));
  EXPECT_EQ(frame->format, CAMUTL_PFNC_MONO12);
  const auto image = kivo::convert(view);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->pixel(0, 0)[0], 0x12);
  EXPECT_EQ(image->pixel(1, 1)[0], 0xAB);
  for (const char *name : {"Mono8", "RGB8", "YUV8_UYV", "Mono12p", "Mono12Packed"}) {
    view.format = kivo::findFormat(name)->code;
    EXPECT_EQ(kivo::unpack(view).error(), Errc::NoByteOrder) << name;
    EXPECT_EQ(kivo::convert(view).error(), Errc::NoByteOrder) << name;
  }
}

TEST(HppUnpack, CopiesPlainFrames) {
  for (const kivo::Format &format : kivo::kFormats) {
    if (format.packing != Packing::None) continue;
    SCOPED_TRACE(format.name);
    const std::size_t row = static_cast<std::size_t>(kivo::rowBytes(format, 8));
    Buffer bytes(3 * row + 2 * 3);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 37);
    const auto frame = kivo::unpack({bytes.data(), bytes.size(), format.code, 8, 3, row + 3});
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->format, format.code);
    ASSERT_EQ(frame->data.size(), 3 * row);
    for (std::size_t y = 0; y < 3; ++y)
      EXPECT_TRUE(
          std::equal(&bytes[y * (row + 3)], &bytes[y * (row + 3)] + row, frame->data.begin() + y * row));
  }
}

// convert() and reverse() of what must be unpacked first are those of the unpacked frame.
TEST(HppUnpack, HappensWithinConversion) {
  for (const kivo::Format &format : kivo::kFormats) {
    if (format.packing == Packing::None) continue;
    SCOPED_TRACE(format.name);
    const Buffer bytes = packed(format, randomSamples(12 * 6, format.depth, 11));
    const FrameView view = {bytes.data(), bytes.size(), format.code, 12, 6};
    const auto plain = kivo::unpack(view);
    ASSERT_TRUE(plain);
    for (const auto bayer : {kivo::Bayer::Standard, kivo::Bayer::Off}) {
      const auto direct = kivo::convert(view, {bayer});
      const auto expected = kivo::convert(plain->view(), {bayer});
      ASSERT_TRUE(direct);
      ASSERT_TRUE(expected);
      EXPECT_TRUE(std::equal(direct->pixels.begin(), direct->pixels.end(), expected->pixels.begin()));
    }
    const auto turned = kivo::reverse(view, true, false);
    const auto expected = kivo::reverse(plain->view(), true, false);
    ASSERT_TRUE(turned);
    EXPECT_EQ(turned->format, expected->format);
    EXPECT_EQ(wordsOf(*turned), wordsOf(*expected));
    // The order of the packed code itself turns the same way.
    const auto *mirrored = kivo::findFormat(kivo::reversed(format.code, 12, 6, true, false));
    EXPECT_EQ(mirrored->packing, format.packing);
    EXPECT_EQ(mirrored->unpacked, expected->format);
  }
}

TEST(HppShift, IsTheDepthsOwnByDefault) {
  // 14- and 16-bit frames have no converter with a constant shift, but for grey with 16 bits.
  const auto convert = [](const char *name, unsigned sample, int shift = -1) {
    Buffer bytes;
    for (int i = 0; i < 4 * 4; ++i)
      bytes.push_back(static_cast<std::uint8_t>(sample)),
          bytes.push_back(static_cast<std::uint8_t>(sample >> 8));
    kivo::ConvertOptions options;
    options.shift = shift;
    const auto image =
        kivo::convert({bytes.data(), bytes.size(), kivo::findFormat(name)->code, 4, 4}, options);
    EXPECT_TRUE(image) << name << ": " << image.message();
    return image ? int{image->pixel(1, 2)[1]} : -1;
  };
  for (const char *name : {"Mono14", "BayerGR14", "BayerRG14", "BayerGB14", "BayerBG14"}) {
    EXPECT_EQ(convert(name, 0x3FFF), 255) << name;
    EXPECT_EQ(convert(name, 0x1234), 0x1234 >> 6) << name;
    EXPECT_EQ(convert(name, 0x0123, 1), 0x91) << name;
  }
  for (const char *name : {"Mono16", "BayerGR16", "BayerRG16", "BayerGB16", "BayerBG16"}) {
    EXPECT_EQ(convert(name, 0xABCD), 0xAB) << name;
    EXPECT_EQ(convert(name, 0xABCD, 0), 0xCD) << name;
    EXPECT_EQ(convert(name, 0xABCD, 15), 1) << name;
  }
  EXPECT_EQ(convert("BayerRG12", 0xABC), 0xAB);
  EXPECT_EQ(convert("BayerRG12", 0xABC, 2), 0xAF);  // what is above 8 bits wraps
}

TEST(HppShift, ReachesEveryFormatOfWideSamples) {
  for (const kivo::Format &format : kivo::kFormats) {
    SCOPED_TRACE(format.name);
    Buffer bytes(static_cast<std::size_t>(kivo::frameBytes(format, 8, 4)));
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 59 + 7);
    const FrameView view = {bytes.data(), bytes.size(), format.code, 8, 4};
    kivo::ConvertOptions options;
    for (const int shift : {0, 15}) {
      options.shift = shift;
      EXPECT_EQ(kivo::convert(view, options).error(), format.depth == 8 ? Errc::BadShift : Errc::Ok);
    }
    options.shift = 16;
    EXPECT_EQ(kivo::convert(view, options).error(), Errc::BadShift);
    options.shift = format.depth - 8;
    if (format.depth == 8) continue;
    for (const auto bayer : {kivo::Bayer::Standard, kivo::Bayer::Off}) {
      for (const auto output : {kivo::Output::Bgra, kivo::Output::Bgr}) {
        const auto shifted = kivo::convert(view, {bayer, output, false, options.shift});
        const auto fixed = kivo::convert(view, {bayer, output});
        ASSERT_TRUE(shifted);
        EXPECT_TRUE(std::equal(shifted->pixels.begin(), shifted->pixels.end(), fixed->pixels.begin()));
      }
    }
  }
}

// The colours of a mosaic whose samples tell them: R is 1, G is 2, B is 3.
Buffer tellingMosaic(kivo::BayerOrder order, std::uint32_t width, std::uint32_t height) {
  const std::uint8_t cells[4][4] = {
      {2, 1, 3, 2}, {1, 2, 2, 3}, {2, 3, 1, 2}, {3, 2, 2, 1}};  // GR, RG, GB, BG
  Buffer bytes;
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t x = 0; x < width; ++x)
      bytes.push_back(cells[static_cast<int>(order) - 1][y % 2 * 2 + x % 2]);
  return bytes;
}

TEST(HppCrop, FollowsTheBayerOrder) {
  for (const char *name : {"BayerGR8", "BayerRG8", "BayerGB8", "BayerBG8"}) {
    const kivo::Format &format = *kivo::findFormat(name);
    const Buffer bytes = tellingMosaic(format.order, 10, 9);
    for (std::uint32_t x = 0; x < 3; ++x) {
      for (std::uint32_t y = 0; y < 3; ++y) {
        const auto part = kivo::crop({bytes.data(), bytes.size(), format.code, 10, 9}, {x, y, 6, 4});
        ASSERT_TRUE(part) << part.message();
        const auto cut = kivo::unpack(*part);
        ASSERT_TRUE(cut);
        const Buffer expected = tellingMosaic(kivo::findFormat(part->format)->order, 6, 4);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), cut->data.begin())) << name << x << y;
      }
    }
  }
}

TEST(HppCrop, IsAViewOfTheSamePixels) {
  for (const kivo::Format &format : kivo::kFormats) {
    if (format.packing != Packing::None) continue;
    SCOPED_TRACE(format.name);
    const std::size_t row = static_cast<std::size_t>(kivo::rowBytes(format, 16)) + 2;
    Buffer bytes(row * 7 + row - 2);
    std::mt19937 generator(3);
    for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(generator() >> 9);
    const FrameView view = {bytes.data(), bytes.size(), format.code, 16, 8, row};
    const auto part = kivo::crop(view, {4, 2, 12, 6});
    ASSERT_TRUE(part) << part.message();
    EXPECT_EQ(part->data + part->size, bytes.data() + bytes.size());
    const auto whole = kivo::convert(view, {kivo::Bayer::Off});
    const auto cut = kivo::convert(*part, {kivo::Bayer::Off});
    ASSERT_TRUE(cut) << cut.message();
    for (std::uint32_t y = 0; y < 6; ++y)
      EXPECT_TRUE(std::equal(cut->row(y), cut->row(y) + 12 * 4, whole->pixel(4, y + 2)));
  }
}

TEST(HppCrop, RefusesWhatIsNoRegion) {
  const Buffer bytes(64);
  const FrameView view = {bytes.data(), bytes.size(), CAMUTL_PFNC_MONO8, 8, 8};
  const auto error = [&](const FrameView &of, const kivo::Rect &region) {
    return kivo::crop(of, region).error();
  };
  EXPECT_EQ(error(view, {0, 0, 8, 8}), Errc::Ok);
  EXPECT_EQ(error(view, {7, 7, 1, 1}), Errc::Ok);
  EXPECT_EQ(error(view, {0, 0, 0, 8}), Errc::EmptyImage);
  EXPECT_EQ(error(view, {1, 0, 8, 8}), Errc::CropOutside);
  EXPECT_EQ(error(view, {0, 1, 8, 8}), Errc::CropOutside);
  EXPECT_EQ(error(view, {8, 0, 1, 1}), Errc::CropOutside);
  EXPECT_EQ(error(view, {0xFFFFFFFF, 0, 1, 1}), Errc::CropOutside);
  EXPECT_EQ(error(view, {1, 1, 0xFFFFFFFF, 1}), Errc::CropOutside);
  EXPECT_EQ(error(view, {1, 1, 1, 0xFFFFFFFF}), Errc::CropOutside);
  const FrameView yuv = {bytes.data(), bytes.size(), CAMUTL_PFNC_YUV422_8_UYVY, 8, 4};
  EXPECT_EQ(error(yuv, {2, 1, 4, 2}), Errc::Ok);
  EXPECT_EQ(error(yuv, {1, 0, 4, 2}), Errc::SplitGroup);
  EXPECT_EQ(error(yuv, {2, 0, 3, 2}), Errc::SplitGroup);
  EXPECT_EQ(error({bytes.data(), 64, kivo::findFormat("Mono12p")->code, 4, 4}, {0, 0, 2, 2}),
            Errc::SharedBytes);
  EXPECT_EQ(error({bytes.data(), 63, CAMUTL_PFNC_MONO8, 8, 8}, {0, 0, 2, 2}), Errc::ShortBuffer);
}

TEST(HppStretch, SpreadsTheRangeOfTheFrame) {
  const Buffer bytes = {100, 0, 200, 0, 0x2C, 0x01, 101, 0};  // 100, 200, 300, 101
  const FrameView view = {bytes.data(), bytes.size(), CAMUTL_PFNC_MONO12, 4, 1};
  const auto range = kivo::sampleRange(view);
  ASSERT_TRUE(range);
  EXPECT_EQ(range->least, 100U);
  EXPECT_EQ(range->most, 300U);
  const auto frame = kivo::stretch(view, *range);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->format, CAMUTL_PFNC_MONO8);
  // 127.5 rounds up, 1.275 down.
  EXPECT_EQ(Buffer(frame->data.begin(), frame->data.end()), (Buffer{0, 128, 255, 1}));
  const auto clamped = kivo::stretch(view, {150, 250});
  EXPECT_EQ(Buffer(clamped->data.begin(), clamped->data.end()), (Buffer{0, 128, 255, 0}));
  const auto next = kivo::stretch(view, {150, 299});  // 50 * 255 / 149 is 85.6; 300 is one too many
  EXPECT_EQ(Buffer(next->data.begin(), next->data.end()), (Buffer{0, 86, 255, 0}));
  const auto flat = kivo::stretch(view, {200, 200});
  EXPECT_EQ(Buffer(flat->data.begin(), flat->data.end()), (Buffer{0, 0, 255, 0}));
}

TEST(HppStretch, KeepsFamilyAndOrder) {
  for (const kivo::Format &format : kivo::kFormats) {
    SCOPED_TRACE(format.name);
    const Buffer bytes(static_cast<std::size_t>(kivo::frameBytes(format, 4, 4)), 0x11);
    const auto frame = kivo::stretch({bytes.data(), bytes.size(), format.code, 4, 4}, {0, 255});
    if (format.family == kivo::Family::Yuv) {
      EXPECT_EQ(frame.error(), Errc::NoStretch);
      continue;
    }
    ASSERT_TRUE(frame) << frame.message();
    const kivo::Format *narrow = kivo::findFormat(frame->format);
    EXPECT_EQ(narrow->depth, 8);
    EXPECT_EQ(narrow->order, format.order);
    const auto letters = [](const char *name) { return std::string(name).substr(0, 3); };
    EXPECT_EQ(letters(narrow->name), letters(format.name));
    EXPECT_EQ(frame->data.size(), kivo::frameBytes(*narrow, 4, 4));
  }
}

TEST(HppStretch, SeesEverySampleOfEveryRow) {
  for (const char *name : {"BayerRG12p", "Mono16", "BGR8", "BayerGB10Packed"}) {
    const kivo::Format &format = *kivo::findFormat(name);
    const std::size_t samples = 5 * 3 * (format.family == kivo::Family::Rgb ? 3 : 1);
    for (std::size_t at = 0; at < samples; ++at) {
      Samples values(samples, 40);
      values[at] = 3;
      values[(at + 1) % samples] = 200;
      Buffer bytes;
      if (format.packing != Packing::None) {
        bytes = packed(format, values);
      } else {
        for (const std::uint16_t value : values) {
          bytes.push_back(static_cast<std::uint8_t>(value));
          if (format.wordBytes == 2) bytes.push_back(0);
        }
      }
      const auto range = kivo::sampleRange({bytes.data(), bytes.size(), format.code, 5, 3});
      ASSERT_TRUE(range);
      ASSERT_EQ(range->least, 3U) << name << at;
      ASSERT_EQ(range->most, 200U) << name << at;
    }
  }
}

}  // namespace
