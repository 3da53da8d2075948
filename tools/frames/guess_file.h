// SPDX-License-Identifier: Apache-2.0
// What a file may be that nobody described.
#pragma once

#include <KivoFrame.h>

#include <cstdint>
#include <string>
#include <vector>

#include "pictures/picture.h"

namespace tool {

struct GuessedFile {
  std::vector<std::uint8_t> head;  // as much of it as is looked at
  std::uint64_t fileBytes = 0;
  std::vector<kivo_candidate> candidates;  // the likeliest first; empty where the content tells nothing
};

// Of a regular file. Throws Failure.
GuessedFile guessFile(const std::string &file);

// The options that describe such a frame to the other commands.
std::string optionsOf(const kivo_candidate &candidate);

// A picture of what the head has of such a frame, as convert --auto makes it.
Picture pictureOf(const GuessedFile &file, const kivo_candidate &candidate);

}  // namespace tool
