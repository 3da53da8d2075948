// SPDX-License-Identifier: Apache-2.0
// What a camera of a given pixel format would deliver of a picture.
#pragma once

#include <KivoCamUtl.hpp>

#include "pictures/picture.h"

namespace tool {

// Throws Failure, naming `subject`, when the picture's width does not fit the format.
kivo::Frame makeFrame(const Picture &picture, const kivo::Format &format, const std::string &subject);

}  // namespace tool
