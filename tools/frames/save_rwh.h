// SPDX-License-Identifier: Apache-2.0
// RWH files.
#pragma once

#include <KivoCamUtl.hpp>
#include <string>

#include "files/output_file.h"

namespace tool {

// The same bytes as kivo::saveRwh() writes, for standard output ("-") too: little-endian words, packed rows.
// Throws Failure.
void saveRwh(const kivo::FrameView &view, const std::string &path, const OutputRules &rules);

}  // namespace tool
