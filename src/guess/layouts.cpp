// SPDX-License-Identifier: Apache-2.0
#include "guess/layouts.h"

#include <numeric>

namespace Kivo::Guess {
namespace {

// A bit far above the others: what has it is like none of its neighbours.
constexpr std::uint32_t c_uiStray = 0x8000;

constexpr Layout c_asLayouts[] = {
    {Kind::Bytes, 8, Pattern::Grey},        {Kind::Bytes, 8, Pattern::Bayer},
    {Kind::Bytes, 8, Pattern::Rgb},         {Kind::Bytes, 8, Pattern::RgbLinked},
    {Kind::Bytes, 8, Pattern::Alpha},       {Kind::Bytes, 8, Pattern::Uyvy},
    {Kind::Bytes, 8, Pattern::Yuyv},        {Kind::Bytes, 8, Pattern::Uyyvyy},
    {Kind::Bytes, 8, Pattern::Yyuyyv},      {Kind::Little, 16, Pattern::Grey},
    {Kind::Little, 16, Pattern::Bayer},     {Kind::Little, 16, Pattern::Rgb},
    {Kind::Little, 16, Pattern::RgbLinked}, {Kind::Big, 16, Pattern::Grey},
    {Kind::Big, 16, Pattern::Bayer},        {Kind::Big, 16, Pattern::Rgb},
    {Kind::Big, 16, Pattern::RgbLinked},    {Kind::Stream, 10, Pattern::Grey},
    {Kind::Stream, 10, Pattern::Bayer},     {Kind::Stream, 10, Pattern::Rgb},
    {Kind::Stream, 10, Pattern::RgbLinked}, {Kind::Stream, 12, Pattern::Grey},
    {Kind::Stream, 12, Pattern::Bayer},     {Kind::Stream, 12, Pattern::Rgb},
    {Kind::Stream, 12, Pattern::RgbLinked}, {Kind::Stream, 14, Pattern::Grey},
    {Kind::Stream, 14, Pattern::Bayer},     {Kind::Stream, 1, Pattern::Grey},
    {Kind::Stream, 2, Pattern::Grey},       {Kind::Stream, 4, Pattern::Grey},
    {Kind::Packed, 10, Pattern::Grey},      {Kind::Packed, 10, Pattern::Bayer},
    {Kind::Packed, 12, Pattern::Grey},      {Kind::Packed, 12, Pattern::Bayer},
    {Kind::Words32, 10, Pattern::Rgb},      {Kind::Words32, 10, Pattern::RgbLinked},
};

}  // namespace

std::span<const Layout> Layouts() noexcept {
  return c_asLayouts;
}

Unit UnitOf(const Layout &sLayout) noexcept {
  const unsigned uiShared = std::gcd(8U, sLayout.uiBits);
  switch (sLayout.eKind) {
    case Kind::Bytes:
      return {1, 1};
    case Kind::Little:
    case Kind::Big:
      return {1, 2};
    case Kind::Stream:
      return {8 / uiShared, sLayout.uiBits / uiShared};
    case Kind::Packed:
      return {2, 3};
    case Kind::Words32:
      break;
  }
  return {3, 4};
}

std::size_t SamplesIn(const Layout &sLayout, std::uint64_t uiBytes) noexcept {
  const Unit sUnit = UnitOf(sLayout);
  // A word is read as a whole.
  if (sLayout.eKind == Kind::Words32) return static_cast<std::size_t>(uiBytes / 4 * 3);
  return static_cast<std::size_t>(uiBytes * sUnit.uiSamples / sUnit.uiBytes);
}

std::uint64_t BitsOf(const Layout &sLayout, std::uint64_t uiSamples) noexcept {
  const Unit sUnit = UnitOf(sLayout);
  return (uiSamples * 8 * sUnit.uiBytes + sUnit.uiSamples - 1) / sUnit.uiSamples;
}

unsigned Period(Pattern ePattern) noexcept {
  switch (ePattern) {
    case Pattern::Rgb:
    case Pattern::RgbLinked:
      return 3;
    case Pattern::Alpha:
    case Pattern::Uyvy:
    case Pattern::Yuyv:
      return 4;
    case Pattern::Uyyvyy:
    case Pattern::Yyuyyv:
      return 6;
    default:
      return 1;
  }
}

void Unpack(const Layout &sLayout, const File &sFile, std::uint64_t uiBit, std::size_t uiSamples,
            std::uint16_t *puiTo) noexcept {
  const std::uint8_t *puc = sFile.puc + uiBit / 8;
  switch (sLayout.eKind) {
    case Kind::Bytes:
      for (std::size_t i = 0; i < uiSamples; ++i) puiTo[i] = puc[i];
      break;
    case Kind::Little:
      for (std::size_t i = 0; i < uiSamples; ++i)
        puiTo[i] = static_cast<std::uint16_t>(puc[2 * i] | puc[2 * i + 1] << 8);
      break;
    case Kind::Big:
      for (std::size_t i = 0; i < uiSamples; ++i)
        puiTo[i] = static_cast<std::uint16_t>(puc[2 * i + 1] | puc[2 * i] << 8);
      break;
    case Kind::Stream: {
      const std::uint32_t uiMask = (1U << sLayout.uiBits) - 1;
      unsigned uiHave = 8 - static_cast<unsigned>(uiBit % 8);
      std::uint32_t uiWaiting = uiSamples == 0 ? 0 : std::uint32_t{*puc++} >> (8 - uiHave);
      for (std::size_t i = 0; i < uiSamples; ++i) {
        for (; uiHave < sLayout.uiBits; uiHave += 8) uiWaiting |= std::uint32_t{*puc++} << uiHave;
        puiTo[i] = static_cast<std::uint16_t>(uiWaiting & uiMask);
        uiWaiting >>= sLayout.uiBits;
        uiHave -= sLayout.uiBits;
      }
      break;
    }
    case Kind::Packed: {
      const unsigned uiLow = sLayout.uiBits - 8;
      const unsigned uiMask = (1U << uiLow) - 1;
      bool bSecond = uiBit % 8 != 0;
      for (std::size_t i = 0; i < uiSamples; ++i, bSecond = !bSecond) {
        const unsigned uiNibble = bSecond ? puc[0] >> 4U : puc[1] & 15U;
        const unsigned uiHigh = bSecond ? puc[1] : puc[0];
        puiTo[i] = static_cast<std::uint16_t>(uiHigh << uiLow | (uiNibble & uiMask) |
                                              (uiNibble > uiMask ? c_uiStray : 0));
        puc += bSecond ? 2 : 1;
      }
      break;
    }
    case Kind::Words32:
      for (std::size_t i = 0; i < uiSamples; ++i) {
        const std::uint8_t *const pucWord = puc + i / 3 * 4;
        const std::uint32_t uiWord = pucWord[0] | std::uint32_t{pucWord[1]} << 8 |
                                     std::uint32_t{pucWord[2]} << 16 | std::uint32_t{pucWord[3]} << 24;
        const std::uint32_t uiSample = uiWord >> 10 * (i % 3) & 1023;
        puiTo[i] = static_cast<std::uint16_t>(uiSample | (uiWord >> 30 != 0 ? c_uiStray : 0));
      }
      break;
  }
}

}  // namespace Kivo::Guess
