// SPDX-License-Identifier: Apache-2.0
#include "guess/code_length.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace Kivo::Guess {
namespace {

struct Neighbours {
  std::array<unsigned, 6> auiLeft;
  std::array<bool, 6> abChroma;
};

Neighbours NeighboursOf(Pattern ePattern) noexcept {
  switch (ePattern) {
    case Pattern::Grey:
      return {{1}, {}};
    case Pattern::Bayer:
      return {{2}, {}};
    case Pattern::Rgb:
    case Pattern::RgbLinked:
      return {{3, 3, 3}, {}};
    case Pattern::Alpha:
      return {{4, 4, 4, 4}, {}};
    case Pattern::Uyvy:
      return {{4, 2, 4, 2}, {true, false, true, false}};
    case Pattern::Yuyv:
      return {{2, 4, 2, 4}, {false, true, false, true}};
    case Pattern::Uyyvyy:
      return {{6, 2, 1, 6, 2, 1}, {true, false, false, true, false, false}};
    case Pattern::Yyuyyv:
      break;
  }
  return {{2, 1, 6, 2, 1, 6}, {false, false, true, false, false, true}};
}

// The median of left, above, and what a plane through the three neighbours would be.
int Predicted(int iLeft, int iAbove, int iCorner) noexcept {
  const int iLow = std::min(iLeft, iAbove), iHigh = std::max(iLeft, iAbove);
  return std::clamp(iLeft + iAbove - iCorner, iLow, iHigh);
}

double FrequencyBits(const std::array<std::uint32_t, 256> &aui) noexcept {
  double dAll = 0, dBits = 0, dKinds = 0;
  for (const std::uint32_t ui : aui) dAll += ui;
  for (const std::uint32_t ui : aui) {
    if (ui == 0) continue;
    dBits += ui * std::log2(dAll / ui);
    ++dKinds;
  }
  return dBits + dKinds * (4 + std::log2(dAll + 1) / 2);
}

// One of `uiTaken` rows all over a frame of `uiAll`, at no regular distance: half a row is not taken for a
// row because all that are looked at are left halves.
std::uint64_t Spread(std::uint64_t i, std::uint64_t uiTaken, std::uint64_t uiAll) noexcept {
  return (i * 256 + i * 157 % 256) * uiAll / (256 * uiTaken);
}

}  // namespace

double Classes::Bits() const noexcept {
  double dAll = 0, dBits = 0;
  for (const std::uint32_t ui : aui) dAll += ui;
  for (std::size_t i = 0; i < c_uiClasses; ++i)
    if (aui[i] != 0) dBits += aui[i] * (std::log2(dAll / aui[i]) + static_cast<double>(i));
  return dBits;
}

std::array<float, c_uiClasses> Classes::Costs() const noexcept {
  double dAll = 0;
  for (const std::uint32_t ui : aui) dAll += ui + 0.5;
  std::array<float, c_uiClasses> af{};
  for (std::size_t i = 0; i < c_uiClasses; ++i)
    af[i] = static_cast<float>(std::log2(dAll / (aui[i] + 0.5)) + static_cast<double>(i));
  return af;
}

double PlainBytes::Bits() const noexcept {
  if (m_uiCount == 0) return 0;
  std::array<std::uint32_t, 256> aui{};
  double dWords = 0;
  for (const auto &auiOf : m_aaui) {
    dWords += FrequencyBits(auiOf);
    for (std::size_t i = 0; i < 256; ++i) aui[i] += auiOf[i];
  }
  return std::min({8 * static_cast<double>(m_uiCount), FrequencyBits(aui), dWords});
}

std::uint64_t Grid::RowsIn(const File &sFile) const noexcept {
  const std::uint64_t uiBits = std::uint64_t{8} * sFile.uiHead;
  const std::uint64_t uiLast = BitsOf(sLayout, uiSamples);
  return uiBits < uiFirstBit + uiLast ? 0 : (uiBits - uiFirstBit - uiLast) / uiRowBits + 1;
}

std::uint64_t Grid::RowsInFile(const File &sFile) const noexcept {
  return (8 * sFile.uiBytes + uiMissingBits - uiFirstBit) / uiRowBits;
}

RowReader::RowReader(const File &sFile, const Grid &sGrid)
    : m_sFile(sFile),
      m_sGrid(sGrid),
      m_uiPeriod(Period(sGrid.sLayout.ePattern)),
      m_auiRow(sGrid.uiSamples),
      m_auiAbove(sGrid.uiSamples),
      m_auiClasses(sGrid.uiSamples),
      m_auiContexts(sGrid.uiSamples) {
  const Neighbours s = NeighboursOf(sGrid.sLayout.ePattern);
  m_auiLeft = s.auiLeft;
  m_abChroma = s.abChroma;
}

void RowReader::GoTo(std::uint64_t y, std::size_t uiFirst, std::size_t n, bool bAbove) {
  const Layout &sLayout = m_sGrid.sLayout;
  const std::uint64_t uiBit = m_sGrid.uiFirstBit + y * m_sGrid.uiRowBits + BitsOf(sLayout, uiFirst);
  Unpack(sLayout, m_sFile, uiBit, n, m_auiRow.data());
  if (bAbove)
    Unpack(sLayout, m_sFile, uiBit - RowsApart(sLayout.ePattern) * m_sGrid.uiRowBits, n, m_auiAbove.data());
  const bool bLinked = sLayout.ePattern == Pattern::RgbLinked;
  int iLast = 0;
  for (std::size_t i = 0, k = 0; i < n; ++i, k = k + 1 == m_uiPeriod ? 0 : k + 1) {
    const std::size_t uiLeft = m_auiLeft[k];
    const bool bLeft = i >= uiLeft;
    int iPredicted = 0;
    m_auiContexts[i] = m_abChroma[k] ? 1 : 0;
    if (bAbove && bLeft) {
      const int iBeside = m_auiRow[i - uiLeft], iCorner = m_auiAbove[i - uiLeft];
      iPredicted = Predicted(iBeside, m_auiAbove[i], iCorner);
      if (iBeside == iCorner && iCorner == m_auiAbove[i]) m_auiContexts[i] = 2;
    } else if (bAbove) {
      iPredicted = m_auiAbove[i];
    } else if (bLeft) {
      iPredicted = m_auiRow[i - uiLeft];
    }
    int iResidual = m_auiRow[i] - iPredicted;
    if (bLinked) {
      const int iOwn = iResidual;
      if (k != 0) iResidual -= iLast;
      iLast = iOwn;
    }
    m_auiClasses[i] = static_cast<std::uint8_t>(std::bit_width(static_cast<unsigned>(std::abs(iResidual))));
  }
}

double Cost::MeanClass() const noexcept {
  double dSum = 0, dAll = 0;
  for (const Classes &s : asClasses)
    for (std::size_t i = 0; i < c_uiClasses; ++i) {
      dSum += static_cast<double>(i) * s.aui[i];
      dAll += s.aui[i];
    }
  return dAll > 0 ? dSum / dAll : 0;
}

Cost CostOf(const File &sFile, const Grid &sGrid, const Look &sLook) {
  Cost sCost;
  const std::uint64_t uiApart = RowsApart(sGrid.sLayout.ePattern);
  const std::uint64_t uiAll = sGrid.RowsIn(sFile);
  sCost.dBitsPerByte = std::numeric_limits<double>::infinity();
  if (uiAll < uiApart + 2 || sGrid.uiSamples == 0) return sCost;
  RowReader sReader(sFile, sGrid);
  double dBits = 0, dCovered = 0;
  for (std::uint64_t i = 0; i < sLook.uiPieces; ++i) {
    std::uint64_t uiBit = 8 * Spread(i, sLook.uiPieces, sFile.uiHead);
    const std::uint64_t uiEnd = uiBit + 8 * sLook.uiBytes;
    while (uiBit < uiEnd) {
      const std::uint64_t y = uiBit < sGrid.uiFirstBit ? 0 : (uiBit - sGrid.uiFirstBit) / sGrid.uiRowBits;
      if (y >= uiAll) break;
      const std::uint64_t uiRow = sGrid.uiFirstBit + y * sGrid.uiRowBits;
      const std::uint64_t uiStepBits = BitsOf(sGrid.sLayout, c_uiStep);
      const std::size_t uiFirst =
          uiBit < uiRow ? 0 : static_cast<std::size_t>((uiBit - uiRow) / uiStepBits * c_uiStep);
      uiBit = uiRow + sGrid.uiRowBits;
      if (y < uiApart || uiFirst >= sGrid.uiSamples) continue;
      const std::uint64_t uiLeft = (uiEnd - uiRow + uiStepBits - 1) / uiStepBits * c_uiStep;
      const std::size_t n =
          static_cast<std::size_t>(std::min<std::uint64_t>(uiLeft, sGrid.uiSamples)) - uiFirst;
      sReader.GoTo(y, uiFirst, n, true);
      const std::size_t uiSkipped = uiFirst == 0 ? 0 : std::min<std::size_t>(6, n);
      for (std::size_t x = uiSkipped; x < n; ++x)
        sCost.asClasses[sReader.ContextAt(x)].Count(sReader.ClassAt(x));
      dCovered += static_cast<double>(BitsOf(sGrid.sLayout, n - uiSkipped));
    }
  }
  for (const Classes &s : sCost.asClasses) dBits += s.Bits();
  if (dCovered > 0) sCost.dBitsPerByte = 8 * dBits / dCovered;
  return sCost;
}

}  // namespace Kivo::Guess
