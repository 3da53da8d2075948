// SPDX-License-Identifier: Apache-2.0
#include "frames/develop.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cinttypes>
#include <new>
#include <utility>

#include "words/failure.h"
#include "words/text.h"

namespace tool {

Developed::Developed(RawInput input, const Treatment &treatment, const std::string &subject)
    : frame_(std::move(input.frame)),
      view_(frame_.view()),
      format_(input.format),
      treatment_(treatment),
      subject_(subject) {
  if (format_->packing != kivo::Packing::None && (treatment.crop || treatment.raw))
    adopt(kivo::unpack(view_));
  if (treatment.crop) {
    const kivo::Result<kivo::FrameView> part = kivo::crop(view_, *treatment.crop);
    if (!part) refuse(part.error());
    view_ = *part;
    format_ = kivo::findFormat(view_.format);
  }
  if (treatment.mirror || treatment.flip) adopt(kivo::reverse(view_, treatment.mirror, treatment.flip));
  if (treatment.autoRange) {
    const kivo::Result<kivo::SampleRange> range = kivo::sampleRange(view_);
    if (!range) refuse(range.error());
    adopt(kivo::stretch(view_, *range));
  }
  const kivo::Errc error = treatment.raw ? kivo::Errc::Ok : kivo::check(view_, options());
  if (error != kivo::Errc::Ok) refuse(error);
}

void Developed::adopt(kivo::Result<kivo::Frame> frame) {
  if (!frame) refuse(frame.error());
  frame_ = *std::move(frame);
  view_ = frame_.view();
  format_ = kivo::findFormat(view_.format);
}

void Developed::refuse(kivo::Errc error) const {
  const bool size = error == kivo::Errc::OddSize || error == kivo::Errc::TooSmall;
  const bool adaptive = error == kivo::Errc::AcpiNeedsBayer8;
  const char *hint = size ? " (or --any-size)" : adaptive ? " (or --auto-range)" : "";
  throw Failure(failureOf(error, subject_, Exit::Input).code(), subject_,
                printed("%s; it is %" PRIu32 " x %" PRIu32 " pixels of %s%s", kivo::message(error),
                        view_.width, view_.height, format_->name, hint));
}

kivo::ConvertOptions Developed::options() const noexcept {
  kivo::ConvertOptions how;
  how.bayer = treatment_.bayer;
  how.output = treatment_.bgr ? kivo::Output::Bgr : kivo::Output::Bgra;
  how.anyBayerSize = treatment_.anyBayerSize;
  how.shift = treatment_.shift;
  return how;
}

void Developed::convert() {
  kivo::Result<kivo::Image> image = kivo::convert(view_, options());
  if (!image) refuse(image.error());
  image_ = *std::move(image);
}

double Developed::timeConversion() {
  const kivo::ConvertOptions how = options();
  std::array<double, 9> milliseconds{};
  for (double &ms : milliseconds) {
    const auto start = std::chrono::steady_clock::now();
    const kivo::Errc error =
        how.output == kivo::Output::Bgra
            ? kivo::convertTo(static_cast<std::uint32_t *>(static_cast<void *>(image_.pixels.data())),
                              image_.pixels.size() / 4, view_, how)
            : kivo::convertTo(image_.pixels.data(), image_.pixels.size(), view_, how);
    if (error != kivo::Errc::Ok) throw std::bad_alloc();
    ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  }
  std::nth_element(milliseconds.begin(), milliseconds.begin() + 4, milliseconds.end());
  return milliseconds[4];
}

bool Developed::isGrey() const noexcept {
  const bool off = treatment_.raw || treatment_.bayer == kivo::Bayer::Off;
  return format_->family == kivo::Family::Mono || (format_->isBayer() && off);
}

std::string Developed::converterName() const {
  const kivo::Format &plain = *kivo::findFormat(format_->unpacked);
  const std::string to = treatment_.bgr ? "BGR" : "BGRA";
  // Depths without a converter of their own, and every shift that is asked for, take the one with a shift.
  const bool own = plain.family == kivo::Family::Yuv || plain.depth <= 12 || (plain.depth == 16 && isGrey());
  const std::string depth = treatment_.shift < 0 && own ? std::to_string(plain.depth) : "N";
  switch (plain.family) {
    case kivo::Family::Mono:
      return "ConvMono" + depth + "To" + to;
    case kivo::Family::Bayer:
      if (isGrey()) return "ConvMono" + depth + "To" + to;
      return "ConvByr" + std::string(plain.name + 5, 2) + depth + "To" + to +
             (treatment_.bayer == kivo::Bayer::Acpi && kivo::detail::fitsAcpi(view_) ? "ACPI" : "");
    case kivo::Family::Rgb:
      return "Conv" + std::string(plain.name, 3) + depth + (depth == "N" ? "To" : "PTo") + to;
    case kivo::Family::Yuv:
      return std::string("ConvYUV") +
             (plain.groupPixels == 4   ? "411"
              : plain.groupPixels == 2 ? "422"
                                       : "444") +
             "PTo" + to;
  }
  return {};
}

Rows Developed::rawRows() const {
  if (format_->family == kivo::Family::Yuv)
    throw Failure(Exit::Unsupported, subject_,
                  printed("--raw is for grey, Bayer and RGB samples; it is %s", format_->name));
  Rows rows{view_.width, view_.height, isGrey() ? 1U : 3U, 8U * format_->wordBytes, {}};
  const std::size_t stride = view_.stride == 0 ? rows.rowBytes() : view_.stride;
  const std::size_t samples = std::size_t{rows.width} * rows.channels;
  const bool wide = rows.bits == 16;
  const bool blueFirst = rows.channels == 3 && format_->name[0] == 'B';
  rows.row = [=, data = view_.data](std::uint32_t y, std::uint8_t *space) -> const std::uint8_t * {
    const std::uint8_t *from = data + y * stride;
    if (!wide && !blueFirst) return from;
    for (std::size_t i = 0; i < samples; ++i) {
      const std::size_t source = blueFirst ? i + 2 - 2 * (i % 3) : i;
      if (wide) {
        space[2 * i] = from[2 * source + 1];
        space[2 * i + 1] = from[2 * source];
      } else {
        space[i] = from[source];
      }
    }
    return space;
  };
  return rows;
}

Rows Developed::imageRows(bool grey) const {
  Rows rows{image_.width, image_.height, grey ? 1U : 3U, 8, {}};
  rows.row = [this, grey](std::uint32_t y, std::uint8_t *space) -> const std::uint8_t * {
    const std::size_t step = image_.channels();
    const std::uint8_t *from = image_.row(y);
    std::uint8_t *to = space;
    for (std::uint32_t x = 0; x < image_.width; ++x, from += step) {
      if (!grey) *to++ = from[2], *to++ = from[1];
      *to++ = from[0];
    }
    return space;
  };
  return rows;
}

void Developed::write(PictureType type, int pngLevel, ByteSink &sink) const {
  if (type == PictureType::Pgm && !isGrey())
    throw Failure(Exit::Unsupported, subject_,
                  printed("a PGM is grey and %s becomes a picture in colour: make it a PPM%s", format_->name,
                          format_->isBayer() ? ", or say --bayer off or --raw" : ""));
  if (treatment_.raw && type == PictureType::Ppm && isGrey())
    throw Failure(Exit::Unsupported, subject_, "its raw samples are grey: make it a PGM");
  if (type == PictureType::Bmp) return encodeBmp(image_, sink);
  const bool grey = isGrey() && type != PictureType::Ppm;
  const Rows rows = treatment_.raw ? rawRows() : imageRows(grey);
  if (type == PictureType::Png) return encodePng(rows, sink, pngLevel);
  encodePnm(rows, sink);
}

}  // namespace tool
