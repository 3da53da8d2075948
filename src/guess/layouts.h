// SPDX-License-Identifier: Apache-2.0
// The ways in which samples may lie in a file that nobody described.
#ifndef KIVO_GUESS_LAYOUTS_H
#define KIVO_GUESS_LAYOUTS_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace Kivo::Guess {

// The beginning of a file, and how long it is in all.
struct File {
  const std::uint8_t *puc;
  std::size_t uiHead;
  std::uint64_t uiBytes;
};

// How samples lie in bytes.
enum class Kind { Bytes, Little, Big, Stream, Packed, Words32 };

// Which samples of a row and of the rows above are of the same colour. Linked are R, G and B that change
// together, as those of grey things do.
enum class Pattern { Grey, Bayer, Rgb, RgbLinked, Alpha, Uyvy, Yuyv, Uyyvyy, Yyuyyv };

struct Layout {
  Kind eKind;
  unsigned uiBits;  // significant bits of a sample that are looked at
  Pattern ePattern;
};

// All that are tried.
std::span<const Layout> Layouts() noexcept;

// So many samples lie in so many bytes.
struct Unit {
  unsigned uiSamples;
  unsigned uiBytes;
};
Unit UnitOf(const Layout &sLayout) noexcept;

// Whole samples in a row of so many bytes, and the bits that so many samples take.
std::size_t SamplesIn(const Layout &sLayout, std::uint64_t uiBytes) noexcept;
std::uint64_t BitsOf(const Layout &sLayout, std::uint64_t uiSamples) noexcept;

// Samples of a pixel; of YUV groups those of the whole group.
unsigned Period(Pattern ePattern) noexcept;

// Rows from a sample to the next of its colour above it.
inline unsigned RowsApart(Pattern ePattern) noexcept {
  return ePattern == Pattern::Bayer ? 2 : 1;
}

// Samples from bit `uiBit` of the file on; all of them must lie within the head. Those with bits around them
// that are never set in this layout become larger than any other.
void Unpack(const Layout &sLayout, const File &sFile, std::uint64_t uiBit, std::size_t uiSamples,
            std::uint16_t *puiTo) noexcept;

}  // namespace Kivo::Guess

#endif  // KIVO_GUESS_LAYOUTS_H
