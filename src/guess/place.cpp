// SPDX-License-Identifier: Apache-2.0
#include "guess/place.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

namespace Kivo::Guess {
namespace {

// Sizes that sensors and video have.
constexpr std::pair<std::uint16_t, std::uint16_t> c_auiSizes[] = {
    {160, 120},   {320, 240},   {352, 288},   {640, 480},   {640, 512},   {656, 492},   {659, 494},
    {720, 480},   {720, 540},   {720, 576},   {728, 544},   {744, 480},   {752, 480},   {768, 512},
    {768, 576},   {780, 580},   {782, 582},   {800, 600},   {808, 608},   {816, 624},   {1024, 768},
    {1032, 776},  {1280, 720},  {1280, 800},  {1280, 960},  {1280, 1024}, {1288, 964},  {1296, 966},
    {1360, 1024}, {1388, 1038}, {1392, 1040}, {1440, 1080}, {1456, 1088}, {1600, 1200}, {1624, 1228},
    {1624, 1234}, {1628, 1236}, {1920, 1080}, {1920, 1200}, {1936, 1216}, {1936, 1464}, {2040, 1086},
    {2040, 2040}, {2048, 1088}, {2048, 1536}, {2048, 2048}, {2064, 1544}, {2448, 2048}, {2464, 2056},
    {2472, 2064}, {2560, 1440}, {2560, 1600}, {2560, 1920}, {2560, 2048}, {2592, 1944}, {2592, 2048},
    {2688, 1520}, {2840, 2840}, {3072, 2048}, {3088, 2064}, {3208, 2200}, {3280, 2464}, {3376, 2704},
    {3840, 2160}, {3840, 2748}, {4000, 3000}, {4024, 3036}, {4056, 3040}, {4096, 2160}, {4096, 2168},
    {4096, 3000}, {4096, 3072}, {4112, 2176}, {4112, 3008}, {4608, 2592}, {4608, 3288}, {5120, 5120},
    {5320, 3032}, {5320, 4600}, {5328, 3040}, {5328, 4608}, {5472, 3648}, {5496, 3672}, {6464, 4852},
};

double Roundness(std::uint64_t ui) noexcept {
  return ui % 16 == 0 ? 0 : ui % 8 == 0 ? 2 : ui % 4 == 0 ? 4 : ui % 2 == 0 ? 7 : 14;
}

// Samples of a row that its pixels are made of, and pixels that so many samples are; YUV groups are whole.
unsigned GroupPixels(Pattern ePattern) noexcept {
  switch (ePattern) {
    case Pattern::Uyvy:
    case Pattern::Yuyv:
      return 2;
    case Pattern::Uyyvyy:
    case Pattern::Yyuyyv:
      return 4;
    default:
      return 1;
  }
}

std::uint64_t PixelsOf(Pattern ePattern, std::size_t uiSamples) noexcept {
  return uiSamples / Period(ePattern) * GroupPixels(ePattern);
}

std::uint64_t RowBytesOf(const Layout &sLayout, std::size_t uiSamples) noexcept {
  return (BitsOf(sLayout, uiSamples) + 7) / 8;
}

// Rows of padding are rounded up to a power of two more often than to anything else.
double PaddingBits(std::uint64_t uiRow, std::uint64_t uiStride) noexcept {
  if (uiRow == uiStride) return 0;
  for (std::uint64_t ui = 4096; ui >= 4; ui /= 2)
    if (uiStride % ui == 0 && uiStride - uiRow < ui) return 12;
  return 20;
}

// Of a residual of each context and class.
using Costs = std::array<std::array<float, c_uiClasses>, c_uiContexts>;

// Bits of a row as a part of the frame, if the frame's own shares hold, and, if it is smoother than others,
// by shares of its own. A row of nothing but black or white is rather one of a header.
double RowBits(const RowReader &sReader, std::size_t uiSamples, double dMeanClass, const Costs &aafCosts) {
  std::array<Classes, c_uiContexts> asOwn;
  double dShared = 0, dClasses = 0;
  bool bFlat = true;
  for (std::size_t x = 0; x < uiSamples; ++x) {
    const std::size_t uiContext = sReader.ContextAt(x);
    dShared += aafCosts[uiContext][sReader.ClassAt(x)];
    dClasses += sReader.ClassAt(x);
    asOwn[uiContext].Count(sReader.ClassAt(x));
    bFlat = bFlat && sReader.SampleAt(x) == sReader.SampleAt(0);
  }
  if (dClasses > dMeanClass * static_cast<double>(uiSamples)) return dShared;
  double dOwn = 40;
  for (const Classes &s : asOwn) dOwn += s.Bits();
  return std::min(dShared, bFlat ? 16 : dOwn);
}

// Bits of a frame's columns and of the padding behind them, over all splits of the row; the padding may be
// constant, or left from something else.
std::size_t FindWidth(const File &sFile, const Grid &sGrid, const Costs &aafCosts, std::uint64_t uiHeight) {
  constexpr std::uint64_t c_uiRows = 64;
  constexpr std::size_t c_uiWidest = 131072;
  constexpr double c_dHopeless = 4000;  // bits that no further column makes good
  const std::uint64_t uiApart = RowsApart(sGrid.sLayout.ePattern);
  const std::uint64_t uiAll = sGrid.RowsIn(sFile), uiStride = sGrid.uiRowBits / 8;
  if (uiAll <= uiApart || sGrid.uiSamples > c_uiWidest) return sGrid.uiSamples;
  const std::uint64_t uiTaken = std::min(c_uiRows, uiAll - uiApart);
  const auto RowAt = [&](std::uint64_t i) {
    return uiApart + (2 * i + 1) * (uiAll - uiApart) / (2 * uiTaken);
  };
  std::vector<float> afColumns(sGrid.uiSamples);
  std::vector<Classes> asColumns(sGrid.uiSamples);
  std::vector<std::uint16_t> auiFirst(sGrid.uiSamples);
  std::vector<bool> abFlat(sGrid.uiSamples, true);
  RowReader sReader(sFile, sGrid);
  for (std::uint64_t i = 0; i < uiTaken; ++i) {
    sReader.Go(RowAt(i), true);
    for (std::size_t x = 0; x < sGrid.uiSamples; ++x) {
      afColumns[x] += aafCosts[sReader.ContextAt(x)][sReader.ClassAt(x)];
      asColumns[x].Count(sReader.ClassAt(x));
      if (i == 0) auiFirst[x] = sReader.SampleAt(x);
      if (auiFirst[x] != sReader.SampleAt(x)) abFlat[x] = false;
    }
  }
  const unsigned uiStep = Period(sGrid.sLayout.ePattern);
  std::size_t uiWidth = sGrid.uiSamples / uiStep * uiStep, uiBest = uiWidth;
  std::uint64_t uiPadding = uiStride;  // where the padding that was counted begins
  PlainBytes sPadding;
  // Of the columns behind the width: their bits as a part of the frame, by its shares of classes or by
  // theirs. Columns that never change do not belong to one.
  double dBehind = 0, dFlat = 0, dLeast = 0;
  Classes sBehind;
  const double dFirst = SizeBits(PixelsOf(sGrid.sLayout.ePattern, uiWidth), uiHeight) +
                        PaddingBits(RowBytesOf(sGrid.sLayout, uiWidth), uiStride);
  for (; uiWidth > sGrid.uiSamples / 2; uiWidth -= uiStep) {
    const std::uint64_t uiRow = RowBytesOf(sGrid.sLayout, uiWidth);
    for (; uiPadding > uiRow; --uiPadding)
      for (std::uint64_t i = 0; i < uiTaken; ++i) {
        const std::uint64_t uiAt = sGrid.uiFirstBit / 8 + RowAt(i) * uiStride + uiPadding - 1;
        if (uiAt < sFile.uiHead) sPadding.Count(sFile.puc[uiAt]);
      }
    // A row may end within a byte.
    const double dRest = 8 * static_cast<double>(uiRow) - static_cast<double>(BitsOf(sGrid.sLayout, uiWidth));
    const double dPadding = sPadding.Bits() + (uiRow == uiStride ? 0 : dRest * static_cast<double>(uiTaken)) +
                            PaddingBits(uiRow, uiStride) +
                            SizeBits(PixelsOf(sGrid.sLayout.ePattern, uiWidth), uiHeight) - dFirst;
    // Dark columns, too, are hardly more than their frequencies; what is left from something else is wild.
    const double dPlain = sPadding.Bits();
    const bool bTame = dPlain < 5 * static_cast<double>((uiStride - uiRow) * uiTaken);
    const double dOwn = std::min(sBehind.Bits() + 40, bTame ? dPlain : dBehind);
    const double dFrame = dFlat + std::min(dBehind, dOwn);
    if (dPadding - dFrame < dLeast) dLeast = dPadding - dFrame, uiBest = uiWidth;
    if (dPadding - dFrame > dLeast + c_dHopeless) break;
    for (std::size_t x = uiWidth - uiStep; x < uiWidth; ++x) {
      if (abFlat[x]) {
        dFlat += afColumns[x];
      } else {
        dBehind += afColumns[x];
        sBehind.Add(asColumns[x]);
      }
    }
  }
  return uiBest;
}

// Bits for each byte of the frame and of its padding together.
double WholeCost(const File &sFile, const Grid &sFrame) {
  constexpr std::uint64_t c_uiRows = 96;
  const double dFrame = static_cast<double>(BitsOf(sFrame.sLayout, sFrame.uiSamples)) / 8;
  const double dRow = static_cast<double>(sFrame.uiRowBits) / 8;
  const std::uint64_t uiAll = sFrame.RowsIn(sFile), uiTaken = std::min(c_uiRows, uiAll);
  PlainBytes sPadding;
  for (std::uint64_t i = 0; i + 1 < uiTaken; ++i) {
    const std::uint64_t uiBit = sFrame.uiFirstBit + i * uiAll / uiTaken * sFrame.uiRowBits;
    const std::uint64_t uiEnd = std::min<std::uint64_t>((uiBit + sFrame.uiRowBits) / 8, sFile.uiHead);
    for (std::uint64_t ui = (uiBit + BitsOf(sFrame.sLayout, sFrame.uiSamples) + 7) / 8; ui < uiEnd; ++ui)
      sPadding.Count(sFile.puc[ui]);
  }
  const double dPadding = uiTaken > 1 ? sPadding.Bits() / static_cast<double>(uiTaken - 1) : 0;
  return (CostOf(sFile, sFrame, c_sClosely).dBitsPerByte * dFrame + dPadding) / dRow;
}

}  // namespace

double SizeBits(std::uint64_t uiWidth, std::uint64_t uiHeight) noexcept {
  const auto Is = [&](const auto &s) { return s.first == uiWidth && s.second == uiHeight; };
  if (std::any_of(std::begin(c_auiSizes), std::end(c_auiSizes), Is)) return 0;
  const auto IsWide = [&](const auto &s) { return s.first == uiWidth; };
  const double dWidth = std::any_of(std::begin(c_auiSizes), std::end(c_auiSizes), IsWide) ? 0 : 8;
  return 12 + dWidth + Roundness(uiWidth) + Roundness(uiHeight);
}

double HeaderBits(std::uint64_t uiBytes) noexcept {
  if (uiBytes == 0) return 0;
  if (uiBytes % 4096 == 0 || (uiBytes >= 16 && (uiBytes & (uiBytes - 1)) == 0)) return 10;
  return uiBytes % 64 == 0 ? 14 : uiBytes % 16 == 0 ? 17 : uiBytes % 4 == 0 ? 20 : 26;
}

Place PlaceOf(const File &sFile, const Grid &sGrid, const Cost &sCost) {
  Costs aafCosts;
  for (std::size_t i = 0; i < c_uiContexts; ++i) aafCosts[i] = sCost.asClasses[i].Costs();
  const double dMeanClass = sCost.MeanClass();
  const Layout &sLayout = sGrid.sLayout;
  const bool bShared = sGrid.uiRowBits % 8 != 0;
  const std::uint64_t uiRowsInFile = sGrid.RowsInFile(sFile);
  Place sPlace;
  std::size_t uiSamples = sGrid.uiSamples;
  if (!bShared && sGrid.uiMissingBits == 0) uiSamples = FindWidth(sFile, sGrid, aafCosts, uiRowsInFile);
  if (!bShared && sGrid.uiMissingBits != 0)
    uiSamples = SamplesIn(sLayout, (sGrid.uiRowBits - sGrid.uiMissingBits) / 8);
  const unsigned uiPeriod = Period(sLayout.ePattern);
  uiSamples = uiSamples / uiPeriod * uiPeriod;
  const std::uint64_t uiWidth = PixelsOf(sLayout.ePattern, uiSamples);
  if (uiWidth < 8 || uiWidth > UINT32_MAX) return sPlace;

  // How many of the first rows are still the header: it is plain bytes, the frame is what it is like further
  // on. The rows behind those that are looked at are the frame's in any case.
  Grid sFrame = sGrid;
  sFrame.uiSamples = uiSamples;
  RowReader sReader(sFile, sFrame);
  const std::uint64_t uiApart = RowsApart(sLayout.ePattern);
  const std::uint64_t uiRows = std::min(sFrame.RowsIn(sFile), 8 * c_uiLongestHeader / sGrid.uiRowBits + 8);
  std::vector<double> adAlone(uiRows), adBelow(uiRows);
  for (std::uint64_t y = 0; y < uiRows; ++y) {
    sReader.Go(y, false);
    adAlone[y] = RowBits(sReader, uiSamples, dMeanClass, aafCosts);
    if (y < uiApart) continue;
    sReader.Go(y, true);
    adBelow[y] = RowBits(sReader, uiSamples, dMeanClass, aafCosts);
  }
  double dRest = 0;
  for (std::uint64_t y = uiApart; y < uiRows; ++y) dRest += adBelow[y];
  PlainBytes sHeader;
  std::uint64_t uiCounted = 0;
  double dLeast = std::numeric_limits<double>::infinity();
  for (std::uint64_t y = 0; y + uiApart < uiRows; ++y) {
    const std::uint64_t uiHeight = uiRowsInFile - y;
    const std::uint64_t uiBit = sGrid.uiFirstBit + y * sGrid.uiRowBits;
    const std::uint64_t uiOffset = uiBit / 8;
    if (uiOffset > c_uiLongestHeader || uiHeight < 2) break;
    for (; uiCounted < uiOffset; ++uiCounted) sHeader.Count(sFile.puc[uiCounted]);
    double dBits = sHeader.Bits() + dRest + SizeBits(uiWidth, uiHeight) + HeaderBits(uiOffset);
    for (std::uint64_t k = 0; k < uiApart; ++k) dBits += adAlone[y + k];
    dRest -= adBelow[y + uiApart];
    // A frame whose rows share bytes begins on a byte.
    if (uiBit % 8 != 0 || uiHeight > UINT32_MAX || dBits >= dLeast) continue;
    dLeast = dBits;
    sPlace = {static_cast<std::uint32_t>(uiWidth),
              static_cast<std::uint32_t>(uiHeight),
              uiOffset,
              bShared ? 0 : sGrid.uiRowBits / 8,
              0,
              0};
  }
  if (sPlace.uiWidth == 0) return sPlace;
  sFrame.uiFirstBit = 8 * sPlace.uiOffset;
  sPlace.dBitsPerByte = WholeCost(sFile, sFrame);
  sPlace.dBits = SizeBits(uiWidth, sPlace.uiHeight) + HeaderBits(sPlace.uiOffset) +
                 (bShared ? 0 : PaddingBits(RowBytesOf(sLayout, uiSamples), sGrid.uiRowBits / 8));
  return sPlace;
}

}  // namespace Kivo::Guess
