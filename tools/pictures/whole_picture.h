// SPDX-License-Identifier: Apache-2.0
// Whether a picture file is there already, for runs that continue where another one ended.
#pragma once

#include <string>

#include "pictures/picture.h"

namespace tool {

// Whether `output` is a whole picture of that type and not older than `input`. Its pixels are not looked at:
// the length that a BMP or PNM header tells, or the beginning and the end of a PNG.
bool isDone(const std::string &input, const std::string &output, PictureType type);

}  // namespace tool
