// SPDX-License-Identifier: Apache-2.0
// Where in a file the frame is whose rows and samples are known: header, padding, size, and what of its
// format only its content tells.
#ifndef KIVO_GUESS_PLACE_H
#define KIVO_GUESS_PLACE_H

#include "KivoFrame.h"
#include "guess/code_length.h"

namespace Kivo::Guess {

// Bits of what is known before a file is looked at: sizes and headers are more often round than not.
double SizeBits(std::uint64_t uiWidth, std::uint64_t uiHeight) noexcept;
double HeaderBits(std::uint64_t uiBytes) noexcept;

// Headers are not longer.
constexpr std::uint64_t c_uiLongestHeader = 65536;

// While there is much to try, and for what remains.
constexpr Look c_sBriefly = {12, 1536}, c_sClosely = {64, 6144};

struct Place {
  std::uint32_t uiWidth = 0;
  std::uint32_t uiHeight = 0;
  std::uint64_t uiOffset = 0;
  std::uint64_t uiRowBytes = 0;  // from row to row; 0 where rows share bytes
  double dBits = 0;              // of what speaks against it
  double dBitsPerByte = 0;       // of the frame and the padding
};

// Width 0 if there is no frame. Throws std::bad_alloc.
Place PlaceOf(const File &sFile, const Grid &sGrid, const Cost &sCost);

// The format of a frame there, and the same with red and blue exchanged, or null. Throws std::bad_alloc.
struct FormatPair {
  const kivo_format *psFirst = nullptr;
  const kivo_format *psSecond = nullptr;
  std::uint32_t uiHeight = 0;  // of the picture: a third where three planes follow each other
};
FormatPair FormatsAt(const File &sFile, const Grid &sGrid, const Place &sPlace);

// How many times longer the code of a frame counts because its content looks as if it were read in another
// way. Throws std::bad_alloc.
double DoubtOf(const File &sFile, const Grid &sGrid, const Place &sPlace);

}  // namespace Kivo::Guess

#endif  // KIVO_GUESS_PLACE_H
