// SPDX-License-Identifier: Apache-2.0
// From a raw frame to what a picture file holds.
#pragma once

#include <KivoCamUtl.hpp>
#include <optional>
#include <string>

#include "files/byte_sink.h"
#include "frames/raw_input.h"
#include "pictures/picture.h"

namespace tool {

// What is done to a frame, in this order: crop, mirror and flip, auto-range or shift, conversion.
struct Treatment {
  std::optional<kivo::Rect> crop;
  bool mirror = false;
  bool flip = false;
  bool autoRange = false;
  int shift = -1;  // as kivo::ConvertOptions has it
  kivo::Bayer bayer = kivo::Bayer::Standard;
  bool bgr = false;
  bool anyBayerSize = false;
  bool raw = false;  // no conversion: the samples themselves
};

// A frame on its way. It is moved, not copied: `view` may look into `frame`.
class Developed {
 public:
  // Does everything but the conversion, which does not fail then. `subject` is for messages. Throws Failure.
  Developed(RawInput input, const Treatment &treatment, const std::string &subject);
  // Converts; not for raw. Throws Failure.
  void convert();
  // Repeats the conversion into the same picture, as a viewer does frame after frame: the median in
  // milliseconds.
  double timeConversion();

  // Throws Failure where this frame does not fit that type.
  void write(PictureType type, int pngLevel, ByteSink &sink) const;

  const kivo::Format &format() const noexcept { return *format_; }
  const kivo::FrameView &view() const noexcept { return view_; }
  // The library function that convert() calls.
  std::string converterName() const;

 private:
  kivo::ConvertOptions options() const noexcept;
  void adopt(kivo::Result<kivo::Frame> frame);
  [[noreturn]] void refuse(kivo::Errc error) const;
  bool isGrey() const noexcept;
  Rows rawRows() const;
  Rows imageRows(bool grey) const;

  kivo::Frame frame_;
  kivo::FrameView view_;
  const kivo::Format *format_ = nullptr;
  Treatment treatment_;
  std::string subject_;
  kivo::Image image_;
};

}  // namespace tool
