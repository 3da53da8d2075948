// SPDX-License-Identifier: Apache-2.0
#include "works.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "KivoCamUtl.hpp"
#include "KivoFrame.h"
#include "support/converters.h"

namespace KivoBench {
namespace {

using KivoTest::Converter;

// What the workers that take any shift are timed with: 14-bit samples.
constexpr std::uint32_t kWorkerShift = 6;

std::string FamilyName(const Converter &converter) {
  const auto source = [&]() -> std::string {
    switch (converter.family) {
      case KivoTest::Family::kMonoRgb8:
        return converter.layout == KivoTest::Layout::kMono ? "mono8" : "rgb8";
      case KivoTest::Family::kYuv8:
        return "yuv8";
      case KivoTest::Family::kBayer8:
        return "bayer8";
      case KivoTest::Family::kAcpi8:
        return "acpi8";
      case KivoTest::Family::kMonoRgb16:
        return converter.layout == KivoTest::Layout::kMono ? "mono16" : "rgb16";
      case KivoTest::Family::kBayer16:
        return "bayer16";
    }
    return "?";
  };
  return source() + (converter.output() == KivoTest::Output::kBgra ? "-bgra" : "-bgr");
}

Layout LayoutOf(const Converter &converter) {
  const std::size_t bytes = converter.is_wide() ? 2 : 1;
  const unsigned depth = converter.is_wide() ? 8 + converter.EffectiveShift(kWorkerShift) : 8;
  switch (converter.layout) {
    case KivoTest::Layout::kMono:
      return {bytes, depth, 1, 1, 0, false};
    case KivoTest::Layout::kRgb:
    case KivoTest::Layout::kBgr:
      return {bytes, depth, 3, 1, 0, false};
    case KivoTest::Layout::kYuv411:
      return {1, 8, 6, 4, 0b001001, false};
    case KivoTest::Layout::kYuv422:
      if (converter.output() == KivoTest::Output::kBgra) return {1, 8, 4, 2, 0b0101, false};
      return {1, 8, 5, 2, 0b00101, false};
    case KivoTest::Layout::kYuv444:
      return {1, 8, 4, 1, 0b0101, false};
    case KivoTest::Layout::kBayer:
      break;
  }
  return {bytes, depth, 1, 1, 0, true};
}

Work ConverterWork(const Converter &converter) {
  const Layout layout = LayoutOf(converter);
  return {FamilyName(converter),
          converter.name,
          layout,
          8 * layout.sample_bytes * layout.group / layout.group_pixels,
          8 * converter.pixel_bytes(),
          false,
          [&converter](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            converter(dst, src, geometry.width, geometry.height, kWorkerShift);
          }};
}

struct ReversedFormat {
  const char *name;
  std::uint32_t code;
  Layout layout;
};

constexpr ReversedFormat kReversedFormats[] = {
    {"1byte", CAMUTL_PFNC_MONO8, {1, 8, 1, 1, 0, false}},
    {"2bytes", CAMUTL_PFNC_MONO12, {2, 12, 1, 1, 0, false}},
    {"3bytes", CAMUTL_PFNC_RGB8, {1, 8, 3, 1, 0, false}},
    {"6bytes", CAMUTL_PFNC_BGR12, {2, 12, 3, 1, 0, false}},
    {"yuv422", CAMUTL_PFNC_YUV422_8_UYVY, {1, 8, 4, 2, 0b0101, false}},
    {"yuv411", CAMUTL_PFNC_YUV411_8_UYYVYY, {1, 8, 6, 4, 0b001001, false}},
};

struct Direction {
  const char *name;
  bool horizontal;
  bool vertical;
};

constexpr Direction kDirections[] = {
    {"copy", false, false}, {"flip", false, true}, {"mirror", true, false}, {"halfturn", true, true}};

Work ReverseWork(const ReversedFormat &format, const Direction &direction) {
  const std::size_t bits = 8 * format.layout.sample_bytes * format.layout.group / format.layout.group_pixels;
  const std::uint32_t code = format.code;
  return {direction.horizontal ? "reverse" : "reverse-rows",
          std::string("ReverseImg-") + direction.name + "-" + format.name,
          format.layout,
          bits,
          bits,
          !direction.horizontal,
          [code, direction](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            ReverseImg(dst, src, code, geometry.width, geometry.height, direction.horizontal,
                       direction.vertical);
          }};
}

struct SharedFormat {
  const char *name;
  kivo::ByteOrder byte_order;
};

// One layout of shared bytes serves grey and Bayer frames alike.
constexpr SharedFormat kSharedFormats[] = {{"Mono10p", kivo::ByteOrder::Little},
                                           {"Mono12p", kivo::ByteOrder::Little},
                                           {"Mono10Packed", kivo::ByteOrder::Little},
                                           {"Mono12Packed", kivo::ByteOrder::Little},
                                           {"Mono16", kivo::ByteOrder::Big}};

Work UnpackWork(const SharedFormat &shared) {
  const kivo::Format &format = *kivo::findFormat(shared.name);
  const std::size_t bits = format.code >> 16 & 0xFF;
  const std::size_t dst_bits = 16;
  const kivo::ByteOrder byte_order = shared.byte_order;
  return {"unpack",
          std::string("kivo::convertTo samples of ") + shared.name +
              (byte_order == kivo::ByteOrder::Big ? " big-endian" : ""),
          {1, 8, 1, 1, 0, false},
          bits,
          dst_bits,
          false,
          [&format, bits, byte_order](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            const std::size_t src_bytes = geometry.pixels() * bits / 8;
            const kivo::FrameView view = {src, src_bytes, format.code, geometry.width, geometry.height,
                                          0,   byte_order};
            kivo::Options options;
            options.pixels = kivo::Pixels::Samples;
            const kivo_picture words = {dst, geometry.pixels() * dst_bits / 8, 0};
            if (kivo::convertTo(words, view, options) != kivo::Errc::Ok) std::abort();
          }};
}

// To BGRA words.
Work ConvertWork(const char *name) {
  const kivo::Format &format = *kivo::findFormat(name);
  return {"convert",
          std::string("kivo::convertTo ") + name,
          {1, 8, 1, 1, 0, false},
          format.code >> 16 & 0xFF,
          32,
          false,
          [&format](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
            const std::size_t src_bytes = geometry.pixels() * (format.code >> 16 & 0xFF) / 8;
            const kivo::FrameView view = {src, src_bytes, format.code, geometry.width, geometry.height};
            if (kivo::convertTo({dst, geometry.pixels() * 4, 0}, view) != kivo::Errc::Ok) std::abort();
          }};
}

// Links of the colour chain, one bit each.
constexpr unsigned kGain = 1, kMatrix = 2, kSrgb = 4, kGamma = 8;

kivo_colour ColourOf(unsigned links) {
  kivo_colour colour = KIVO_COLOUR_INIT;
  if ((links & kGain) != 0) {
    for (double &black : colour.black) black = 64;
    colour.gain[0] = 2;
    colour.gain[2] = 1.5;
  }
  if ((links & kMatrix) != 0) {
    constexpr double kRows[9] = {1.6, -0.4, -0.2, -0.3, 1.5, -0.2, 0, -0.6, 1.6};
    std::copy(std::begin(kRows), std::end(kRows), colour.matrix);
  }
  if ((links & kSrgb) != 0) colour.tone = KIVO_TONE_SRGB;
  if ((links & kGamma) != 0) {
    colour.tone = KIVO_TONE_GAMMA;
    colour.gamma = 2.2;
  }
  return colour;
}

struct PlannedPicture {
  const char *family;
  const char *format;
  const char *picture;  // as the row calls it
  std::uint32_t pixels;
  std::uint32_t pixel_bytes;
  std::uint32_t bayer = KIVO_BAYER_STANDARD;
  std::uint32_t flags = 0;
  unsigned links = 0;
};

// Every pair of the first rows and of a later one differs in one thing.
constexpr PlannedPicture kPlannedPictures[] = {
    {"plan", "BayerRG8", "BGRA8", KIVO_BGRA8, 4},
    {"plan", "BayerRG8", "RGBA8", KIVO_RGBA8, 4},
    {"plan", "BayerRG8", "BGRA8, mirrored", KIVO_BGRA8, 4, KIVO_BAYER_STANDARD, KIVO_MIRROR},
    {"plan", "BayerRG8", "BGRA8, flipped", KIVO_BGRA8, 4, KIVO_BAYER_STANDARD, KIVO_FLIP},
    {"plan", "BayerRG8", "BGRA8, ACPI", KIVO_BGRA8, 4, KIVO_BAYER_ACPI},
    {"plan", "BayerRG12", "BGRA8", KIVO_BGRA8, 4},
    {"plan", "BayerRG12", "BGRA8, ACPI", KIVO_BGRA8, 4, KIVO_BAYER_ACPI},
    {"plan", "BayerRG12", "BGR16", KIVO_BGR16, 6},
    {"plan", "YUV422_8", "BGRA8", KIVO_BGRA8, 4},
    {"plan", "YCbCr422_8", "BGRA8", KIVO_BGRA8, 4},
    {"plan", "YUV422_8_UYVY", "BGR8", KIVO_BGR8, 3},
    {"plan-packed", "BayerRG10p", "BGRA8", KIVO_BGRA8, 4},
    {"plan-packed", "BayerRG12p", "BGRA8", KIVO_BGRA8, 4},
    {"plan-packed", "BayerRG12p", "BGR8", KIVO_BGR8, 3},
    {"plan-packed", "BayerRG12Packed", "BGRA8", KIVO_BGRA8, 4},
    {"plan-packed", "Mono10p", "BGRA8", KIVO_BGRA8, 4},
    {"plan-packed", "Mono12p", "BGRA8", KIVO_BGRA8, 4},
    {"plan-colour", "BayerRG12", "BGRA8, gain", KIVO_BGRA8, 4, KIVO_BAYER_STANDARD, 0, kGain},
    {"plan-colour", "BayerRG12", "BGRA8, gain and sRGB", KIVO_BGRA8, 4, KIVO_BAYER_STANDARD, 0,
     kGain | kSrgb},
    {"plan-colour", "BayerRG12", "BGRA8, gain and matrix", KIVO_BGRA8, 4, KIVO_BAYER_STANDARD, 0,
     kGain | kMatrix},
    {"plan-colour", "BayerRG12", "BGRA8, all links", KIVO_BGRA8, 4, KIVO_BAYER_STANDARD, 0,
     kGain | kMatrix | kSrgb},
    {"plan-colour", "BayerRG12", "BGRA8, all with gamma", KIVO_BGRA8, 4, KIVO_BAYER_STANDARD, 0,
     kGain | kMatrix | kGamma},
    {"plan-colour", "BayerRG12p", "BGRA8, all links", KIVO_BGRA8, 4, KIVO_BAYER_STANDARD, 0,
     kGain | kMatrix | kSrgb},
};

// A plan is made once for a geometry, as programs do.
Work PlanWork(const PlannedPicture &picture) {
  const kivo_format &format = *kivo_format_find(picture.format);
  struct State {
    Geometry geometry{};
    kivo_plan *plan = nullptr;
    ~State() { kivo_plan_free(plan); }
  };
  const auto state = std::make_shared<State>();
  return {
      picture.family,
      std::string("kivo_run ") + picture.format + " to " + picture.picture,
      picture.links != 0 && format.packing == KIVO_PLAIN ? Layout{2, 12, 1, 1, 0, true}
                                                         : Layout{1, 8, 1, 1, 0, false},
      format.code >> 16 & 0xFF,
      8 * picture.pixel_bytes,
      false,
      [&picture, &format, state](std::uint8_t *dst, const std::uint8_t *src, Geometry geometry) {
        if (state->geometry != geometry) {
          kivo_plan_free(state->plan);
          kivo_options options = KIVO_OPTIONS_INIT;
          options.pixels = picture.pixels;
          options.bayer = picture.bayer;
          options.flags = picture.flags;
          const kivo_colour colour = ColourOf(picture.links);
          if (picture.links != 0) options.colour = &colour;
          if (kivo_plan_make(format.code, geometry.width, geometry.height, &options, &state->plan) != KIVO_OK)
            std::abort();
          state->geometry = geometry;
        }
        const kivo_frame frame = {
            src, static_cast<std::size_t>(kivo_frame_bytes(format.code, geometry.width, geometry.height)), 0};
        const kivo_picture result = {dst, kivo_plan_picture_bytes(state->plan), 0};
        if (kivo_run(state->plan, &frame, &result, nullptr, 0) != KIVO_OK) std::abort();
      },
      picture.links != 0 ? std::string("kivo_run ") + picture.format + " to BGRA8" : std::string()};
}

std::vector<Work> MakeWorks() {
  std::vector<Work> works;
  for (const Converter &converter : KivoTest::AllConverters()) works.push_back(ConverterWork(converter));
  for (const ReversedFormat &format : kReversedFormats) {
    for (const Direction &direction : kDirections) works.push_back(ReverseWork(format, direction));
  }
  for (const SharedFormat &shared : kSharedFormats) works.push_back(UnpackWork(shared));
  for (const char *name :
       {"Mono10p", "Mono12p", "Mono12Packed", "BayerRG10p", "BayerRG12p", "BayerRG12Packed"})
    works.push_back(ConvertWork(name));
  for (const PlannedPicture &picture : kPlannedPictures) works.push_back(PlanWork(picture));
  return works;
}

}  // namespace

const std::vector<Work> &AllWorks() {
  static const std::vector<Work> works = MakeWorks();
  return works;
}

const Work &FindWork(const std::string &name) {
  for (const Work &work : AllWorks()) {
    if (work.name == name) return work;
  }
  throw std::invalid_argument("no work is called " + name);
}

}  // namespace KivoBench
