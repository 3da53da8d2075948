// SPDX-License-Identifier: Apache-2.0
// The C++ layer: what cameras really send. Source buffers end where the frame ends, on the heap, so that
// AddressSanitizer sees every byte too many.
#include <gtest/gtest.h>

#include <KivoCamUtl.hpp>
#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace {

using kivo::ByteOrder;
using kivo::Errc;
using kivo::FrameView;

using Buffer = std::vector<std::uint8_t>;
using Samples = std::vector<std::uint16_t>;

Samples wordsOf(const kivo::Frame &frame) {
  Samples words;
  for (std::size_t i = 0; i + 1 < frame.data.size(); i += 2)
    words.push_back(static_cast<std::uint16_t>(frame.data[i] | frame.data[i + 1] << 8));
  return words;
}

Samples unpacked(const char *format, const Buffer &bytes, std::uint32_t width, std::uint32_t height,
                 std::ptrdiff_t stride = 0) {
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

TEST(HppUnpack, IgnoresWhatLiesBehindTheFrame) {
  Buffer bytes = {0xAB, 0x3C, 0x12};
  bytes.resize(100, 0xEE);
  EXPECT_EQ(unpacked("Mono12Packed", bytes, 2, 1), (Samples{0xABC, 0x123}));
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
  for (const kivo::Format &format : kivo::formats()) {
    if (format.packing != KIVO_PLAIN) continue;
    SCOPED_TRACE(format.name);
    const std::size_t row = static_cast<std::size_t>(kivo_row_bytes(format.code, 8));
    Buffer bytes(3 * row + 2 * 3);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 37);
    const auto frame =
        kivo::unpack({bytes.data(), bytes.size(), format.code, 8, 3, static_cast<std::ptrdiff_t>(row + 3)});
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->format, format.code);
    ASSERT_EQ(frame->data.size(), 3 * row);
    for (std::size_t y = 0; y < 3; ++y)
      EXPECT_TRUE(
          std::equal(&bytes[y * (row + 3)], &bytes[y * (row + 3)] + row, frame->data.begin() + y * row));
  }
}

TEST(HppShift, IsTheDepthsOwnByDefault) {
  const auto convert = [](const char *name, unsigned sample, std::optional<std::uint32_t> shift = {}) {
    Buffer bytes;
    for (int i = 0; i < 4 * 4; ++i)
      bytes.push_back(static_cast<std::uint8_t>(sample)),
          bytes.push_back(static_cast<std::uint8_t>(sample >> 8));
    kivo::Options options;
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
  for (const kivo::Format &format : kivo::formats()) {
    SCOPED_TRACE(format.name);
    Buffer bytes(static_cast<std::size_t>(kivo_frame_bytes(format.code, 8, 4)));
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 59 + 7);
    const FrameView view = {bytes.data(), bytes.size(), format.code, 8, 4};
    kivo::Options options;
    for (const std::uint32_t shift : {0U, 15U}) {
      options.shift = shift;
      EXPECT_EQ(kivo::convert(view, options).error(), format.plain_depth == 8 ? Errc::BadShift : Errc::Ok);
    }
    options.shift = 16;
    EXPECT_EQ(kivo::convert(view, options).error(), Errc::BadShift);
    if (format.plain_depth == 8) continue;
    options.shift = format.plain_depth - 8;
    const auto shifted = kivo::convert(view, options), fixed = kivo::convert(view);
    ASSERT_TRUE(shifted);
    EXPECT_TRUE(std::equal(shifted->pixels.begin(), shifted->pixels.end(), fixed->pixels.begin()));
  }
}

// The colours of a mosaic whose samples tell them: R is 1, G is 2, B is 3.
Buffer tellingMosaic(std::uint32_t order, std::uint32_t width, std::uint32_t height) {
  const std::uint8_t cells[4][4] = {
      {2, 1, 3, 2}, {1, 2, 2, 3}, {2, 3, 1, 2}, {3, 2, 2, 1}};  // GR, RG, GB, BG
  Buffer bytes;
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t x = 0; x < width; ++x) bytes.push_back(cells[order - 1][y % 2 * 2 + x % 2]);
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
        const Buffer expected = tellingMosaic(kivo::findFormat(part->format)->order, 6, 4);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), part->data.begin())) << name << x << y;
      }
    }
  }
}

TEST(HppCrop, RefusesWhatIsNoRegion) {
  const Buffer bytes(64);
  const FrameView view = {bytes.data(), bytes.size(), CAMUTL_PFNC_MONO8, 8, 8};
  const auto error = [&](const FrameView &of, const kivo::Region &region) {
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
  EXPECT_EQ(error({bytes.data(), 64, kivo::findFormat("Mono12p")->code, 4, 4}, {1, 1, 3, 2}), Errc::Ok);
  EXPECT_EQ(error({bytes.data(), 63, CAMUTL_PFNC_MONO8, 8, 8}, {0, 0, 2, 2}), Errc::ShortBuffer);
}

TEST(HppStretch, SpreadsTheRangeOfTheFrame) {
  const Buffer bytes = {100, 0, 200, 0, 0x2C, 0x01, 101, 0};  // 100, 200, 300, 101
  const FrameView view = {bytes.data(), bytes.size(), CAMUTL_PFNC_MONO12, 4, 1};
  const auto range = kivo::sampleRange(view);
  ASSERT_TRUE(range);
  EXPECT_EQ(range->low, 100U);
  EXPECT_EQ(range->high, 300U);
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
  for (const kivo::Format &format : kivo::formats()) {
    SCOPED_TRACE(format.name);
    const Buffer bytes(static_cast<std::size_t>(kivo_frame_bytes(format.code, 4, 4)), 0x11);
    const auto frame = kivo::stretch({bytes.data(), bytes.size(), format.code, 4, 4}, {0, 255});
    if (format.family == KIVO_YUV) {
      EXPECT_EQ(frame.error(), Errc::BadRange);
      continue;
    }
    ASSERT_TRUE(frame) << frame.message();
    const kivo::Format *narrow = kivo::findFormat(frame->format);
    EXPECT_EQ(narrow->depth, 8U);
    EXPECT_EQ(narrow->order, format.order);
    const auto letters = [](const char *name) { return std::string(name).substr(0, 3); };
    EXPECT_EQ(letters(narrow->name), letters(format.name));
    EXPECT_EQ(frame->data.size(), kivo_frame_bytes(narrow->code, 4, 4));
  }
}

}  // namespace
