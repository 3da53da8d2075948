// SPDX-License-Identifier: Apache-2.0
// After how many bytes a file repeats itself: the candidates for the bytes from row to row.
#ifndef KIVO_GUESS_ROW_PERIOD_H
#define KIVO_GUESS_ROW_PERIOD_H

#include <cstdint>
#include <vector>

#include "guess/layouts.h"

namespace Kivo::Guess {

// The likeliest first. Throws std::bad_alloc.
std::vector<std::uint64_t> RowPeriods(const File &sFile, std::size_t uiMost);

}  // namespace Kivo::Guess

#endif  // KIVO_GUESS_ROW_PERIOD_H
