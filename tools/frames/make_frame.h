// SPDX-License-Identifier: Apache-2.0
// What a camera of a given pixel format would deliver of a picture.
#pragma once

#include <KivoCamUtl.hpp>

#include "pictures/picture.h"

namespace tool {

// How light becomes samples.
enum class Exposure {
  Ideal,  // as in the picture: what converting gives back
  Sensor  // as a real sensor in weak light: linear, green, dark, above a black level, with noise; not for YUV
};

// Throws Failure, naming `subject`, when the picture's width does not fit the format.
kivo::Frame makeFrame(const Picture &picture, const kivo::Format &format, Exposure exposure,
                      const std::string &subject);

}  // namespace tool
