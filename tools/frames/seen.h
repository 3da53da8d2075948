// SPDX-License-Identifier: Apache-2.0
// Frames as pages show them.
#pragma once

#include <KivoCamUtl.hpp>
#include <optional>
#include <string>

#include "frames/raw_input.h"

namespace tool {

// The picture of a frame. `subject` is for messages. Throws Failure.
kivo::Image imageOf(const RawInput &raw, const kivo::Options &options, const std::string &subject);

// A frame as convert --auto shows it, in R, G, B, and the settings that this takes.
struct Seen {
  kivo::Image image;
  kivo::Colour colour;
};

// None of YUV: the camera has done it. Throws Failure.
std::optional<Seen> seenOf(const RawInput &raw, const std::string &subject);

}  // namespace tool
