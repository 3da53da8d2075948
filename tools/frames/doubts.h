// SPDX-License-Identifier: Apache-2.0
// What is odd about the samples of a frame.
#pragma once

#include <string>

#include "frames/raw_input.h"

namespace tool {

// How many samples are above what the format's depth can have, and what would hold them; empty if none is.
// Throws std::bad_alloc.
std::string doubtOf(const RawInput &input);

}  // namespace tool
