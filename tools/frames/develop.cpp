// SPDX-License-Identifier: Apache-2.0
#include "frames/develop.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cinttypes>
#include <cmath>
#include <utility>

#include "words/failure.h"
#include "words/text.h"

namespace tool {

Developed::Developed(RawInput input, const Treatment &treatment, PictureType type, const std::string &subject)
    : input_(std::move(input)), type_(type), subject_(subject) {
  options_.bayer = treatment.raw ? kivo::Bayer::Off : treatment.bayer;
  options_.mirror = treatment.mirror;
  options_.flip = treatment.flip;
  options_.shift = treatment.shift;
  if (treatment.crop) options_.crop = *treatment.crop;
  choosePixels(treatment);
  // What is wrong with a range is wrong with any.
  if (treatment.autoRange) options_.range = kivo::Range();
  const kivo::Errc error = kivo::check(input_.view(), options_);
  if (error != kivo::Errc::Ok) refuse(error);
  if (!treatment.colour.empty()) setColour(treatment.colour);
  if (!treatment.autoRange) return;
  const kivo::Result<kivo::Range> range = kivo::sampleRange(input_.view(), options_);
  if (!range) refuse(range.error());
  options_.range = *range;
}

void Developed::setColour(const ColourRule &rule) {
  kivo::Result<std::optional<kivo::Colour>> colour = rule.of(input_.view(), options_.crop);
  if (!colour) refuse(colour.error());
  options_.colour = *colour;
  const kivo::Errc error = kivo::check(input_.view(), options_);
  if (error != kivo::Errc::Ok) refuse(error);
}

void Developed::choosePixels(const Treatment &treatment) {
  using kivo::Pixels;
  const kivo::Format &of = format();
  if (treatment.raw && of.family == KIVO_YUV)
    throw Failure(Exit::Unsupported, subject_,
                  printed("--raw is for grey, Bayer and RGB samples; it is %s", of.name));
  if (type_ == PictureType::Pgm && !isGrey())
    throw Failure(Exit::Unsupported, subject_,
                  printed("a PGM is grey and %s becomes a picture in colour: make it a PPM%s", of.name,
                          of.family == KIVO_BAYER ? ", or say --bayer off or --raw" : ""));
  if (treatment.raw && type_ == PictureType::Ppm && isGrey())
    throw Failure(Exit::Unsupported, subject_, "its raw samples are grey: make it a PGM");
  if (type_ == PictureType::Dng && of.family != KIVO_BAYER && of.family != KIVO_MONO)
    throw Failure(Exit::Unsupported, subject_,
                  printed("a DNG is of grey or Bayer samples; it is %s", of.name));
  if (treatment.wide) options_.levels = kivo::Levels::Spread;
  const bool wide = treatment.wide || (treatment.raw && of.plain_bytes == 2),
             grey = isGrey() && type_ != PictureType::Ppm;
  if (type_ == PictureType::Bmp)
    options_.pixels = treatment.bgr ? Pixels::Bgr8 : Pixels::Bgra8;
  else if (wide)
    options_.pixels = grey ? Pixels::Gray16 : Pixels::Rgb16;
  else
    options_.pixels = grey ? Pixels::Gray8 : Pixels::Rgb8;
}

void Developed::refuse(kivo::Errc error) const {
  throw Failure(failureOf(error, subject_, Exit::Input).code(), subject_,
                printed("%s; it is %" PRIu32 " x %" PRIu32 " pixels of %s", kivo::message(error),
                        input_.frame.width, input_.frame.height, format().name));
}

void Developed::convert(kivo::Pool *pool) {
  kivo::Result<kivo::Image> image = kivo::convert(input_.view(), options_, pool);
  if (!image) refuse(image.error());
  image_ = *std::move(image);
}

kivo::Plan Developed::plan() const {
  kivo::Options options = options_;
  options.byteOrder = input_.byteOrder;
  kivo::Result<kivo::Plan> plan =
      kivo::Plan::make(&format(), input_.frame.width, input_.frame.height, options);
  if (!plan) refuse(plan.error());
  return *std::move(plan);
}

double Developed::timeConversion(kivo::Pool *pool) {
  const kivo::Plan plan = this->plan();
  const kivo_frame frame = {input_.frame.data.data(), input_.frame.data.size(), input_.frame.stride};
  const kivo_picture picture = {image_.pixels.data(), image_.pixels.size(), 0};
  std::array<double, 9> milliseconds{};
  for (double &ms : milliseconds) {
    const auto start = std::chrono::steady_clock::now();
    const kivo::Errc error = pool == nullptr ? plan.run(frame, picture) : plan.runOn(*pool, frame, picture);
    if (error != kivo::Errc::Ok) refuse(error);
    ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  }
  std::nth_element(milliseconds.begin(), milliseconds.begin() + 4, milliseconds.end());
  return milliseconds[4];
}

bool Developed::isGrey() const noexcept {
  return format().family == KIVO_MONO ||
         (format().family == KIVO_BAYER && options_.bayer == kivo::Bayer::Off);
}

std::string Developed::conversionName() const {
  static const char *const kPixels[] = {"BGRA8",  "BGR8",  "RGBA8",  "RGB8",  "Gray8",
                                        "BGRA16", "BGR16", "RGBA16", "RGB16", "Gray16"};
  static const char *const kBayer[] = {"standard", "acpi", "best", "off", "half"};
  std::string pixels = kPixels[static_cast<std::size_t>(options_.pixels)];
  if (format().family != KIVO_BAYER) return pixels;
  return kBayer[static_cast<std::size_t>(plan().bayer())] + ("/" + pixels);
}

// 16-bit samples of PNG and PNM files have the high byte first.
Rows Developed::rows() const {
  const std::size_t row = image_.rowBytes, samples = row / 2;
  const bool grey = options_.pixels == kivo::Pixels::Gray8 || options_.pixels == kivo::Pixels::Gray16;
  const bool wide = options_.pixels == kivo::Pixels::Gray16 || options_.pixels == kivo::Pixels::Rgb16;
  Rows rows{image_.width, image_.height, grey ? 1U : 3U, wide ? 16U : 8U, 0, {}};
  // A PNM file tells what white is. Samples above what the format can have make it the largest of all.
  if (wide && options_.levels == kivo::Levels::Own && type_ != PictureType::Png) {
    const kivo::Result<kivo::Range> range = kivo::sampleRange(input_.view(), options_);
    const std::uint32_t top = (1U << format().plain_depth) - 1;
    if (range && range->high <= top) rows.most = top;
  }
  rows.row = [this, wide, samples](std::uint32_t y, std::uint8_t *space) -> const std::uint8_t * {
    const std::uint8_t *from = image_.row(y);
    if (!wide) return from;
    for (std::size_t i = 0; i < samples; ++i) {
      space[2 * i] = from[2 * i + 1];
      space[2 * i + 1] = from[2 * i];
    }
    return space;
  };
  return rows;
}

// Black level and neutral are the engine's suggestions. Where they are those of whole frames, so is the
// order.
DngFacts Developed::dngFacts() const {
  const kivo_format &plain = *kivo_format_of_code(format().plain);
  DngFacts facts;
  facts.white = (1U << plain.plain_depth) - 1;
  kivo_colour colour = KIVO_COLOUR_INIT;
  const kivo::Plan made = plan();
  const kivo_frame frame = {input_.frame.data.data(), input_.frame.data.size(), input_.frame.stride};
  if (kivo_auto_black(made.c(), &frame, &colour) == KIVO_OK)
    facts.black = static_cast<std::uint32_t>(std::lround(colour.black[1]));
  if (format().family != KIVO_BAYER) return facts;
  if (kivo_auto_balance(made.c(), &frame, KIVO_BALANCE_MEDIAN, &colour) == KIVO_OK)
    for (std::size_t i = 0; i < 3; ++i) facts.neutral[i] = static_cast<float>(1 / colour.gain[i]);
  static const char *const kOrders[] = {"", "GRBG", "RGGB", "GBRG", "BGGR"};
  // A plan for the samples says what the region and the mirroring have made of the order.
  kivo::Options samples = options_;
  samples.pixels = kivo::Pixels::Samples;
  samples.bayer = kivo::Bayer::Standard;
  const kivo::Result<kivo::Plan> turned =
      kivo::Plan::make(&format(), input_.frame.width, input_.frame.height, samples);
  if (!turned) refuse(turned.error());
  facts.order = kOrders[kivo_format_of_code(turned->samplesFormat())->order];
  return facts;
}

void Developed::write(int pngLevel, ByteSink &sink) const {
  if (type_ == PictureType::Bmp) return encodeBmp(image_, sink);
  if (type_ == PictureType::Png) return encodePng(rows(), sink, pngLevel);
  if (type_ == PictureType::Tiff) return encodeTiff(rows(), sink);
  if (type_ == PictureType::Dng) return encodeDng(rows(), dngFacts(), sink);
  encodePnm(rows(), sink);
}

}  // namespace tool
