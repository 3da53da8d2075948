// SPDX-License-Identifier: Apache-2.0
// The parts of the guess once more, by plain loops over bits, samples and columns, everything counted anew
// each time. Of the library it takes the types alone.
#ifndef KIVO_TESTS_FRAME_GUESS_MODEL_H
#define KIVO_TESTS_FRAME_GUESS_MODEL_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "guess/place.h"

namespace KivoTest::GuessModel {

namespace Guess = Kivo::Guess;

// The colours of a period of samples, a letter each; x where all are of one.
std::string ColoursOf(Guess::Pattern pattern);
// Pixels that a period is.
unsigned PixelsOf(Guess::Pattern pattern);
unsigned RowsBetween(Guess::Pattern pattern);

std::uint64_t BitsFor(const Guess::Layout &layout, std::uint64_t samples);
std::uint64_t SamplesFor(const Guess::Layout &layout, std::uint64_t bytes);
// Sample `at` of those that begin at a bit of the file.
unsigned Sample(const Guess::Layout &layout, const Guess::File &file, std::uint64_t bit, std::uint64_t at);

std::uint64_t RowsIn(const Guess::Grid &grid, const Guess::File &file);

using Counts = std::array<std::uint32_t, Guess::c_uiClasses>;
double ClassBits(const Counts &counts);
std::array<float, Guess::c_uiClasses> ClassCosts(const Counts &counts);
double PlainBits(const std::vector<std::uint8_t> &bytes);

// Of each sample of a part of a row that begins at sample `first`: itself, its class and its context.
struct Residuals {
  std::vector<unsigned> samples, classes, contexts;
};
Residuals RowOf(const Guess::File &file, const Guess::Grid &grid, std::uint64_t y, std::uint64_t first,
                std::uint64_t count, bool above);

struct Cost {
  double bits_per_byte;
  std::array<Counts, Guess::c_uiContexts> classes;
};
Cost CostFor(const Guess::File &file, const Guess::Grid &grid, const Guess::Look &look);

// How high the correlation at each distance stands out, 0 where there is no peak.
std::vector<double> Peaks(const Guess::File &file);

// What the library has for sizes, for headers, and for the cost of what was placed is taken from there.
Guess::Place PlaceFor(const Guess::File &file, const Guess::Grid &grid, const Cost &cost);

struct Formats {
  std::string first, second;  // names, empty where there is none
  std::uint32_t height;
};
Formats FormatsFor(const Guess::File &file, const Guess::Grid &grid, const Guess::Place &place);
double DoubtFor(const Guess::File &file, const Guess::Grid &grid, const Guess::Place &place);

// What the parts of the library come to together.
std::vector<kivo_candidate> Candidates(const Guess::File &file);
// But for their bits.
bool Same(const kivo_candidate &a, const kivo_candidate &b);

}  // namespace KivoTest::GuessModel

#endif  // KIVO_TESTS_FRAME_GUESS_MODEL_H
