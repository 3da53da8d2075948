// SPDX-License-Identifier: Apache-2.0
#include "frames/seen.h"

#include <utility>

#include "frames/colour_rule.h"
#include "words/failure.h"

namespace tool {

kivo::Image imageOf(const RawInput &raw, const kivo::Options &options, const std::string &subject) {
  kivo::Result<kivo::Image> image = kivo::convert(raw.view(), options);
  if (!image) throw failureOf(image.error(), subject, Exit::Input);
  return *std::move(image);
}

std::optional<Seen> seenOf(const RawInput &raw, const std::string &subject) {
  ColourWords words;
  words.automatic = true;
  kivo::Result<std::optional<kivo::Colour>> colour = ColourRule(words).of(raw.view(), kivo::Region());
  if (!colour) throw failureOf(colour.error(), subject, Exit::Input);
  if (!*colour) return std::nullopt;
  kivo::Options options;
  options.pixels = kivo::Pixels::Rgb8;
  options.colour = *colour;
  return Seen{imageOf(raw, options, subject), **colour};
}

}  // namespace tool
