// SPDX-License-Identifier: Apache-2.0
// How many bits a frame would take if it were compressed without loss. A frame that is read in the right way
// is predictable, sample by sample, from its neighbours of the same colour; read in a wrong way it is noise.
// So the length is one measure for everything that is to be found out: what it takes fewest bits to say is
// how the samples lie.
#ifndef KIVO_GUESS_CODE_LENGTH_H
#define KIVO_GUESS_CODE_LENGTH_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "guess/layouts.h"

namespace Kivo::Guess {

// A residual r is coded as its class, the bits that |r| has, and as many bits more for its sign and the rest.
constexpr std::size_t c_uiClasses = 18;

struct Classes {
  std::array<std::uint32_t, c_uiClasses> aui{};

  void Count(std::uint32_t uiClass) noexcept { ++aui[uiClass]; }
  void Add(const Classes &s) noexcept {
    for (std::size_t i = 0; i < c_uiClasses; ++i) aui[i] += s.aui[i];
  }
  // Bits of everything that was counted, if the shares of the classes are known.
  double Bits() const noexcept;
  // Bits of one residual of each class, in a frame where they are as frequent as here.
  std::array<float, c_uiClasses> Costs() const noexcept;
};

// Bits of bytes that follow no rule but their frequencies, which have to be told too: of all together, or of
// each byte of words of 32 bits.
class PlainBytes {
 public:
  void Count(std::uint8_t uc) noexcept { ++m_aaui[m_uiCount++ % 4][uc]; }
  double Bits() const noexcept;

 private:
  std::array<std::array<std::uint32_t, 256>, 4> m_aaui{};
  std::uint64_t m_uiCount = 0;
};

// Samples of luma and of chroma have their own shares of classes, and so have those whose neighbours are all
// equal: drawings are flat, and whatever is taken for a sample there is predicted.
constexpr std::size_t c_uiContexts = 3;

// A frame as it may be: where its rows are, the first at the earliest place that is possible.
struct Grid {
  Layout sLayout;
  std::uint64_t uiFirstBit = 0;
  std::uint64_t uiRowBits = 0;
  std::size_t uiSamples = 0;        // of a row, those of the padding among them
  std::uint64_t uiMissingBits = 0;  // of the padding behind the last row

  // Whole rows within the head, and in the file.
  std::uint64_t RowsIn(const File &sFile) const noexcept;
  std::uint64_t RowsInFile(const File &sFile) const noexcept;
};

// Reads rows of a grid and says of each sample how large its residual is.
class RowReader {
 public:
  RowReader(const File &sFile, const Grid &sGrid);

  // Goes to row y, predicted from that above, or, without one, from its own samples alone.
  void Go(std::uint64_t y, bool bAbove) { GoTo(y, 0, m_sGrid.uiSamples, bAbove); }
  // The same for a part of it that begins at a multiple of c_uiStep samples.
  void GoTo(std::uint64_t y, std::size_t uiFirst, std::size_t uiSamples, bool bAbove);
  // Class of sample i, and which classes it belongs to.
  std::uint32_t ClassAt(std::size_t i) const noexcept { return m_auiClasses[i]; }
  std::size_t ContextAt(std::size_t i) const noexcept { return m_auiContexts[i]; }
  std::uint16_t SampleAt(std::size_t i) const noexcept { return m_auiRow[i]; }
  std::uint16_t AboveAt(std::size_t i) const noexcept { return m_auiAbove[i]; }

 private:
  const File &m_sFile;
  const Grid &m_sGrid;
  unsigned m_uiPeriod;
  std::array<unsigned, 6> m_auiLeft{};  // samples to the one of the same colour
  std::array<bool, 6> m_abChroma{};
  std::vector<std::uint16_t> m_auiRow, m_auiAbove;
  std::vector<std::uint8_t> m_auiClasses, m_auiContexts;
};

// Samples after which every layout and pattern begins anew.
constexpr std::size_t c_uiStep = 24;

// What a grid costs, from pieces all over the head: the same bytes, whatever the grid.
struct Look {
  std::uint64_t uiPieces;
  std::uint64_t uiBytes;  // of a piece
};
struct Cost {
  double dBitsPerByte = 0;
  std::array<Classes, c_uiContexts> asClasses;

  double MeanClass() const noexcept;
};
Cost CostOf(const File &sFile, const Grid &sGrid, const Look &sLook);

}  // namespace Kivo::Guess

#endif  // KIVO_GUESS_CODE_LENGTH_H
