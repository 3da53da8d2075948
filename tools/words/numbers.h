// SPDX-License-Identifier: Apache-2.0
// Numbers, sizes and regions as the command line has them.
#pragma once

#include <KivoCamUtl.hpp>
#include <cstdint>
#include <string>

namespace tool {

struct Size {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

// "640x480"; `option` names the option in the message. Throws Failure.
Size parseSize(const std::string &text, const std::string &option);
// A decimal number. Throws Failure.
std::uint64_t parseNumber(const std::string &text, const std::string &option);
// "640x480+16+8" as other tools write regions; without the offset it begins in the upper left corner. Throws
// Failure.
kivo::Region parseRegion(const std::string &text, const std::string &option);

}  // namespace tool
