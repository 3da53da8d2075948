// SPDX-License-Identifier: Apache-2.0
// The C++ layer: formats, checks, conversion and reversal. Source buffers are exactly as long as a camera
// makes them, on the heap, so that AddressSanitizer sees every byte too many.
#include <gtest/gtest.h>

#include <KivoCamUtl.hpp>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "hpp_no_exceptions.h"

namespace {

using kivo::Bayer;
using kivo::Errc;
using kivo::FrameView;

using Buffer = std::vector<std::uint8_t>;

Buffer randomBytes(std::uint64_t size, std::uint32_t seed) {
  std::mt19937 generator(seed);
  Buffer bytes(static_cast<std::size_t>(size));
  for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(generator() >> 11);
  return bytes;
}

// Random samples within the depth of the format.
Buffer randomFrame(const kivo::Format &format, std::uint32_t width, std::uint32_t height,
                   std::uint32_t seed = 1) {
  Buffer bytes = randomBytes(kivo_frame_bytes(format.code, width, height), seed);
  if (format.plain_bytes == 2 && format.packing == KIVO_PLAIN)
    for (std::size_t i = 1; i < bytes.size(); i += 2)
      bytes[i] = static_cast<std::uint8_t>(bytes[i] & ((1U << (format.depth - 8)) - 1));
  return bytes;
}

FrameView viewOf(const Buffer &bytes, const kivo::Format &format, std::uint32_t width, std::uint32_t height) {
  return {bytes.data(), bytes.size(), format.code, width, height};
}

Buffer pixelsOf(const kivo::Result<kivo::Image> &image) {
  return {image->pixels.begin(), image->pixels.end()};
}

Buffer withoutAlpha(const Buffer &bgra) {
  Buffer bgr;
  for (std::size_t i = 0; i < bgra.size(); i += 4) bgr.insert(bgr.end(), &bgra[i], &bgra[i] + 3);
  return bgr;
}

TEST(HppFormats, AgreeWithTheQueries) {
  std::set<std::uint32_t> codes;
  std::size_t catalogued = 0;
  for (const kivo::Format &format : kivo::formats()) {
    SCOPED_TRACE(format.name);
    EXPECT_TRUE(codes.insert(format.code).second);
    EXPECT_EQ(format.code >> 16 & 0xFF, BitPerPixel(format.code));
    EXPECT_EQ(kivo::findFormat(format.code), &format);
    EXPECT_EQ(kivo::findFormat(format.name), &format);
    if (DataDepth(format.code) == 0) continue;
    ++catalogued;
    EXPECT_EQ(format.depth, DataDepth(format.code));
    EXPECT_EQ(format.family == KIVO_BAYER, IsPixelBayer(format.code));
    EXPECT_EQ(format.family == KIVO_MONO, IsMonochromic(format.code));
  }
  EXPECT_EQ(codes.size(), kivo::formats().size());
  EXPECT_EQ(codes.size(), kivo_format_count());
  EXPECT_EQ(catalogued, 22U);
}

TEST(HppFormats, NameBayerOrdersInOtherSystems) {
  const kivo::Format *format = kivo::findFormat("BayerRG12");
  EXPECT_STREQ(format->opencv, "COLOR_BayerBG2BGR");
  EXPECT_STREQ(format->v4l2, "SRGGB12");
  EXPECT_STREQ(format->gstreamer, "rggb12le");
}

TEST(HppFormats, KnowWhatACameraDelivers) {
  const auto bytes = [](const char *name, std::uint32_t width, std::uint32_t height) {
    return kivo_frame_bytes(kivo::findFormat(name)->code, width, height);
  };
  EXPECT_EQ(bytes("Mono8", 640, 480), 307200U);
  EXPECT_EQ(bytes("Mono12", 640, 480), 614400U);
  EXPECT_EQ(bytes("RGB10", 640, 480), 1843200U);
  EXPECT_EQ(bytes("YUV8_UYV", 640, 480), 921600U);
  EXPECT_EQ(bytes("YUV422_8_UYVY", 640, 480), 614400U);
  EXPECT_EQ(bytes("YUV411_8_UYYVYY", 640, 480), 460800U);
  EXPECT_EQ(bytes("BayerRG14", 640, 480), 614400U);
  EXPECT_EQ(bytes("Mono10p", 640, 480), 384000U);
  EXPECT_EQ(bytes("BayerRG12p", 640, 480), 460800U);
  EXPECT_EQ(bytes("BayerRG10Packed", 640, 480), 460800U);
  // 3 x 3 samples without a gap: 90 bits, 108 bits, and 4 pairs with a sample left over.
  EXPECT_EQ(bytes("Mono10p", 3, 3), 12U);
  EXPECT_EQ(bytes("Mono12p", 3, 3), 14U);
  EXPECT_EQ(bytes("Mono10Packed", 3, 3), 14U);
  EXPECT_EQ(bytes("Mono8", 0xFFFFFFFFU, 0xFFFFFFFFU), 0xFFFFFFFE00000001U);
  EXPECT_EQ(bytes("RGB12", 0xFFFFFFFFU, 0xFFFFFFFFU), 0xFFFFFFFFFFFFFFFFU);
}

TEST(HppErrors, TellApartWhatConvertRefuses) {
  const Buffer bytes(4096);
  const std::uint8_t *data = bytes.data();
  const auto error = [](const FrameView &view, kivo::Options options = {}) {
    const Errc checked = kivo::check(view, options);
    EXPECT_EQ(kivo::convert(view, options).error(), checked);
    return checked;
  };
  EXPECT_EQ(error({data, 64, CAMUTL_PFNC_MONO8, 8, 8}), Errc::Ok);
  EXPECT_EQ(error({data, 63, CAMUTL_PFNC_MONO8, 8, 8}), Errc::ShortBuffer);
  EXPECT_EQ(error({data, 0, CAMUTL_PFNC_MONO8, 8, 8}), Errc::ShortBuffer);
  EXPECT_EQ(error({data, 7 * 10 + 8, CAMUTL_PFNC_MONO8, 8, 8, 10}), Errc::Ok);
  EXPECT_EQ(error({data, 7 * 10 + 7, CAMUTL_PFNC_MONO8, 8, 8, 10}), Errc::ShortBuffer);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_MONO8, 8, 8, PTRDIFF_MAX}), Errc::ShortBuffer);
  EXPECT_EQ(error({data, 8, CAMUTL_PFNC_MONO8, 8, 1, PTRDIFF_MAX}), Errc::Ok);
  EXPECT_EQ(error({data, 64, CAMUTL_PFNC_MONO8, 8, 8, -8}), Errc::Ok);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_MONO8, 8, 8, 7}), Errc::ShortStride);
  EXPECT_EQ(error({data, 4096, 0x0108FFFF, 8, 8}), Errc::UnknownFormat);
  EXPECT_EQ(error({nullptr, 4096, CAMUTL_PFNC_MONO8, 8, 8}), Errc::NullPointer);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_MONO8, 0, 8}), Errc::EmptyImage);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_MONO8, 8, 0}), Errc::EmptyImage);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_YUV411_8_UYYVYY, 6, 4}), Errc::PartialGroup);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_YUV422_8_UYVY, 5, 4}), Errc::PartialGroup);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_YUV8_UYV, 5, 3}), Errc::Ok);
  EXPECT_EQ(error({data, static_cast<std::size_t>(-1), CAMUTL_PFNC_MONO8, 0xFFFFFFFFU, 0xFFFFFFFFU}),
            Errc::TooLarge);

  const auto how = [](Bayer bayer) {
    kivo::Options options;
    options.bayer = bayer;
    return options;
  };
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_BAYER_RG8, 7, 1}), Errc::Ok);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_BAYER_RG8, 7, 8}, how(Bayer::Acpi)), Errc::AcpiSize);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_BAYER_RG8, 2, 4}, how(Bayer::Acpi)), Errc::AcpiSize);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_BAYER_RG10, 4, 4}, how(Bayer::Acpi)), Errc::Ok);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_MONO10, 7, 8}, how(Bayer::Acpi)), Errc::Ok);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_BAYER_RG8, 7, 8}, how(Bayer::Best)), Errc::Ok);
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_BAYER_RG8, 1, 8}, how(Bayer::Half)), Errc::HalfSize);
  kivo::Options options;
  options.range = kivo::Range{1, 2};
  options.shift = 1;
  EXPECT_EQ(error({data, 4096, CAMUTL_PFNC_MONO10, 8, 8}, options), Errc::BadRange);
}

// Values that a caller's own settings may hold, whatever the enumeration says.
TEST(HppErrors, RefuseOptionsThatDoNotExist) {
  const Buffer bytes(64);
  const FrameView view = {bytes.data(), 64, CAMUTL_PFNC_BAYER_RG8, 8, 8};
  for (int value = 0; value < 256; ++value) {
    SCOPED_TRACE(value);
    const auto expected = [](bool exists) { return exists ? Errc::Ok : Errc::UnknownOption; };
    kivo::Options output;
    output.pixels = static_cast<kivo::Pixels>(value);
    EXPECT_EQ(kivo::convert(view, output).error(), expected(value <= KIVO_SAMPLES));
    kivo::Options bayer;
    bayer.bayer = static_cast<Bayer>(value);
    EXPECT_EQ(kivo::check(view, bayer), expected(value <= KIVO_BAYER_HALF));
    FrameView order = {bytes.data(), 64, CAMUTL_PFNC_MONO12, 8, 4};
    order.byteOrder = static_cast<kivo::ByteOrder>(value);
    EXPECT_EQ(kivo::convert(order).error(), expected(value < 2));
    EXPECT_EQ(kivo::unpack(order).error(), expected(value < 2));
  }
}

TEST(HppErrors, RefuseABadDestination) {
  const Buffer bytes(64);
  const FrameView view = {bytes.data(), 64, CAMUTL_PFNC_MONO8, 8, 8};
  Buffer bgra(256, 7);
  EXPECT_EQ(kivo::convertTo({bgra.data(), 255, 0}, view), Errc::ShortPicture);
  EXPECT_EQ(kivo::convertTo({bgra.data(), 256, 31}, view), Errc::ShortPictureStride);
  EXPECT_EQ(kivo::convertTo({nullptr, 256, 0}, view), Errc::NullPointer);
  EXPECT_EQ(bgra, Buffer(256, 7));
  EXPECT_EQ(kivo::convertTo({bgra.data(), 256, 0}, view), Errc::Ok);
  EXPECT_EQ(bgra[4], 0);
  EXPECT_EQ(bgra[255], 255);
}

// Each cause has a message of its own, and what the engine knows the engine's.
TEST(HppErrors, HaveDistinctMessages) {
  std::set<std::string> messages;
  int codes = 0;
  for (int code = 0; code <= static_cast<int>(Errc::FileTooLong); ++code) {
    const std::string text = kivo::message(static_cast<Errc>(code));
    if (code < 100) {
      EXPECT_EQ(text, kivo_message(static_cast<kivo_status>(code)));
    }
    if (text == "unknown error") continue;
    EXPECT_TRUE(messages.insert(text).second) << text;
    ++codes;
  }
  EXPECT_EQ(codes, KIVO_BAD_PERCENT + 1 + 10);
  EXPECT_STREQ(kivo::message(static_cast<Errc>(999)), "unknown error");
}

TEST(HppErrors, ReportMissingMemory) {
  const std::uint8_t byte = 0;
  // Neither this frame nor its picture exists: the allocation fails before anything is read.
  if (sizeof(std::size_t) == 4)
    GTEST_SKIP() << "a frame that is too large for memory is too large for a size";
  const FrameView view = {&byte, static_cast<std::size_t>(-1) / 16, CAMUTL_PFNC_MONO8, 1U << 31, 1U << 27};
  EXPECT_EQ(kivo::convert(view).error(), Errc::OutOfMemory);
}

TEST(HppConvert, WorksWithoutExceptions) {
  EXPECT_EQ(convertWithoutExceptions(), 302520);
}

// What the C converter makes of a frame that the test has re-spaced for it.
template <class Pixel, class Function>
std::vector<Pixel> direct(Function function, const kivo::Format &format, const Buffer &frame,
                          std::uint32_t width, std::uint32_t height, std::size_t groupStep) {
  Buffer spaced;
  for (std::size_t i = 0; i < frame.size(); i += format.group_bytes) {
    spaced.insert(spaced.end(), &frame[i], &frame[i] + format.group_bytes);
    spaced.resize(spaced.size() + groupStep - format.group_bytes, 0xEE);
  }
  std::vector<Pixel> out(std::size_t{width} * height * (sizeof(Pixel) == 4 ? 1 : 3));
  EXPECT_EQ(PrepareLUT(), CAMUTL_STS_SUCCESS);
  EXPECT_EQ(function(out.data(), spaced.data(), width, height), CAMUTL_STS_SUCCESS);
  return out;
}

TEST(HppConvert, GivesWhatTheConvertersGive) {
  int compared = 0;
  for (const kivo::Format &format : kivo::formats()) {
    SCOPED_TRACE(format.name);
    const bool direct16 = format.code == CAMUTL_PFNC_RGB10 || format.code == CAMUTL_PFNC_RGB12;
    if (!direct16 && GetBGRAConverter(format.code, true) == nullptr) continue;
    const std::uint32_t width = 36, height = 10;
    const Buffer frame = randomFrame(format, width, height);
    const auto image = kivo::convert(viewOf(frame, format, width, height));
    const auto bgr = kivo::convert(viewOf(frame, format, width, height), {kivo::Pixels::Bgr8});
    ASSERT_TRUE(image) << image.message();
    ASSERT_TRUE(bgr) << bgr.message();
    ASSERT_EQ(image->pixels.size(), width * height * 4U);
    ASSERT_EQ(bgr->pixels.size(), width * height * 3U);
    EXPECT_EQ(withoutAlpha(pixelsOf(image)), pixelsOf(bgr));

    BgraConverter toBgra = GetBGRAConverter(format.code, true);
    BgrConverter toBgr = GetBGRConverter(format.code, true);
    if (format.code == CAMUTL_PFNC_RGB10) toBgra = ConvRGB10PToBGRA, toBgr = ConvRGB10PToBGR;
    if (format.code == CAMUTL_PFNC_RGB12) toBgra = ConvRGB12PToBGRA, toBgr = ConvRGB12PToBGR;
    ASSERT_NE(toBgra, nullptr);
    const std::size_t step444 = format.code == CAMUTL_PFNC_YUV8_UYV ? 4 : format.group_bytes;
    const std::size_t step422 = format.code == CAMUTL_PFNC_YUV422_8_UYVY ? 5 : step444;
    const auto words = direct<std::uint32_t>(toBgra, format, frame, width, height, step444);
    Buffer expected;
    for (const std::uint32_t word : words)
      for (int shift = 0; shift < 32; shift += 8)
        expected.push_back(static_cast<std::uint8_t>(word >> shift & 0xFF));
    EXPECT_EQ(pixelsOf(image), expected);
    EXPECT_EQ(pixelsOf(bgr), direct<std::uint8_t>(toBgr, format, frame, width, height, step422));
    ++compared;
  }
  EXPECT_EQ(compared, 25);
}

TEST(HppConvert, ReSpacesYuvAsCamerasDeliverIt) {
  // Two pixels of one colour pair, then two of another: U, Y0, V, Y1.
  const Buffer uyvy = {128, 0, 128, 255, 100, 200, 150, 200};
  const auto bgr =
      kivo::convert({uyvy.data(), uyvy.size(), CAMUTL_PFNC_YUV422_8_UYVY, 4, 1}, {kivo::Pixels::Bgr8});
  ASSERT_TRUE(bgr);
  EXPECT_EQ(pixelsOf(bgr), (Buffer{0, 0, 0, 255, 255, 255, 0x96, 0xC2, 0xE7, 0x96, 0xC2, 0xE7}));
  const Buffer uyv = {100, 200, 150, 0, 128, 255};
  const auto bgra = kivo::convert({uyv.data(), uyv.size(), CAMUTL_PFNC_YUV8_UYV, 1, 2});
  ASSERT_TRUE(bgra);
  EXPECT_EQ(pixelsOf(bgra), (Buffer{0x96, 0xC2, 0xE7, 0xFF, 0x00, 0x51, 0xFF, 0xFF}));
}

TEST(HppConvert, IsSafeFromManyThreads) {
  const kivo::Format &format = *kivo::findFormat("YUV422_8_UYVY");
  const Buffer frame = randomFrame(format, 64, 32, 7);
  std::vector<Buffer> results(8);
  std::vector<std::thread> threads;
  for (Buffer &result : results)
    threads.emplace_back([&] { result = pixelsOf(kivo::convert(viewOf(frame, format, 64, 32))); });
  for (std::thread &thread : threads) thread.join();
  for (const Buffer &result : results) {
    EXPECT_EQ(result.size(), 64U * 32U * 4U);
    EXPECT_EQ(result, results[0]);
  }
}

TEST(HppConvert, TakesOptionsAndThreads) {
  const kivo::Format &format = *kivo::findFormat("BayerGB8");
  const std::uint32_t width = 640, height = 480;
  const Buffer frame = randomFrame(format, width, height, 5);
  const FrameView view = viewOf(frame, format, width, height);
  Buffer expected(std::size_t{width} * height * 3);
  ASSERT_EQ(ConvByrGB8ToBGRACPI(expected.data(), frame.data(), width, height), CAMUTL_STS_SUCCESS);
  kivo::Options options;
  options.pixels = kivo::Pixels::Bgr8;
  options.bayer = Bayer::Acpi;
  auto pool = kivo::Pool::make(3);
  ASSERT_TRUE(pool);
  EXPECT_EQ(pixelsOf(kivo::convert(view, options)), expected);
  EXPECT_EQ(pixelsOf(kivo::convert(view, options, &*pool)), expected);
  options.bayer = Bayer::Half;
  const auto half = kivo::convert(view, options);
  ASSERT_TRUE(half);
  EXPECT_EQ(half->width, width / 2);
  EXPECT_EQ(half->height, height / 2);
  EXPECT_EQ(half->pixelBytes(), 3U);
  EXPECT_EQ(half->kind, kivo::Pixels::Bgr8);
  EXPECT_EQ(half->row(1), half->pixels.data() + 3 * width / 2);
}

TEST(HppReverse, CommutesWithConversion) {
  const std::uint32_t width = 12, height = 6;
  for (const kivo::Format &format : kivo::formats()) {
    const Buffer frame = randomFrame(format, width, height, 8);
    const auto straight = kivo::convert(viewOf(frame, format, width, height));
    ASSERT_TRUE(straight);
    for (const bool mirror : {false, true}) {
      for (const bool flip : {false, true}) {
        SCOPED_TRACE(format.name + std::string(mirror ? " mirror" : "") + (flip ? " flip" : ""));
        const auto turned = kivo::reverse(viewOf(frame, format, width, height), mirror, flip);
        ASSERT_TRUE(turned) << turned.message();
        const auto image = kivo::convert(turned->view());
        ASSERT_TRUE(image);
        for (std::uint32_t y = 0; y < height; ++y)
          for (std::uint32_t x = 0; x < width; ++x)
            for (std::size_t c = 0; c < 4; ++c)
              ASSERT_EQ(image->pixel(x, y)[c],
                        straight->pixel(mirror ? width - 1 - x : x, flip ? height - 1 - y : y)[c])
                  << "pixel " << x << ", " << y;
      }
    }
  }
}

TEST(HppReverse, RefusesWhatItCannotTurn) {
  const Buffer bytes(64);
  EXPECT_EQ(kivo::reverse({bytes.data(), 64, CAMUTL_PFNC_YUV422_8_UYVY, 3, 2}, true, false).error(),
            Errc::PartialGroup);
  EXPECT_EQ(kivo::reverse({bytes.data(), 63, CAMUTL_PFNC_MONO8, 8, 8}, true, false).error(),
            Errc::ShortBuffer);
  EXPECT_EQ(kivo::reverse({bytes.data(), 64, 1, 8, 8}, true, false).error(), Errc::UnknownFormat);
}

}  // namespace
