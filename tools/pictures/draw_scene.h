// SPDX-License-Identifier: Apache-2.0
// The project's own test scene: what shows whether a demosaic is any good.
#pragma once

#include "pictures/picture.h"

namespace tool {

constexpr std::uint32_t kSmallestScene = 160;
constexpr std::uint32_t kLargestScene = 16384;

// Zone plate, colour patches, slanted edges, fine text, line gratings and smooth ramps. Integer arithmetic
// only: the same size gives the same bytes everywhere. Both sides must be within kSmallestScene and
// kLargestScene.
Picture drawScene(std::uint32_t width, std::uint32_t height);

}  // namespace tool
