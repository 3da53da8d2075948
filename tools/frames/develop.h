// SPDX-License-Identifier: Apache-2.0
// From a raw frame to what a picture file holds.
#pragma once

#include <KivoCamUtl.hpp>
#include <optional>
#include <string>

#include "files/byte_sink.h"
#include "frames/colour_rule.h"
#include "frames/raw_input.h"
#include "pictures/picture.h"
#include "pictures/picture_tiff.h"

namespace tool {

// What is done to a frame, in this order: crop, auto-range, shift or colour, demosaic, mirror and flip.
struct Treatment {
  std::optional<kivo::Region> crop;
  bool mirror = false;
  bool flip = false;
  bool autoRange = false;
  std::optional<std::uint32_t> shift;
  ColourRule colour;
  kivo::Bayer bayer = kivo::Bayer::Standard;
  bool bgr = false;
  bool raw = false;   // the samples themselves, at their own depth
  bool wide = false;  // 16 bits a sample, spread over all of them
};

// A frame on its way to a picture of some type.
class Developed {
 public:
  // Does everything but the conversion, which fails of missing memory only. `subject` is for messages. Throws
  // Failure.
  Developed(RawInput input, const Treatment &treatment, PictureType type, const std::string &subject);
  // Converts, with a pool on its threads. Throws Failure.
  void convert(kivo::Pool *pool);
  // Repeats the conversion into the same picture, as a viewer does frame after frame: the median in
  // milliseconds. Throws Failure.
  double timeConversion(kivo::Pool *pool);

  void write(int pngLevel, ByteSink &sink) const;

  // Of the frame.
  const kivo::Format &format() const noexcept { return *input_.format; }
  // Of the picture, once it is there.
  const kivo::Image &image() const noexcept { return image_; }
  // The colour settings that it has got, if any.
  const std::optional<kivo::Colour> &colour() const noexcept { return options_.colour; }
  // What convert() makes: the pixels, for a mosaic with what was done to it in front. Throws Failure.
  std::string conversionName() const;

 private:
  kivo::Plan plan() const;
  [[noreturn]] void refuse(kivo::Errc error) const;
  bool isGrey() const noexcept;
  void choosePixels(const Treatment &treatment);
  void setColour(const ColourRule &rule);
  Rows rows() const;
  DngFacts dngFacts() const;

  RawInput input_;
  PictureType type_;
  kivo::Options options_;
  std::string subject_;
  kivo::Image image_;
};

}  // namespace tool
