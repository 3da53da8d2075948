// SPDX-License-Identifier: Apache-2.0
// What only the samples tell: their depth, where green is, what the channels are, whether planes follow.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "frame/formats.h"
#include "guess/place.h"

namespace Kivo::Guess {
namespace {

constexpr std::uint64_t c_uiRows = 256;

// The rows of a frame that are within the head.
struct Rows {
  Rows(const File &sFile, const Grid &sGrid, const Place &sPlace) : sFrame(sGrid), m_sFile(sFile) {
    sFrame.uiFirstBit = 8 * sPlace.uiOffset;
    const Layout &s = sGrid.sLayout;
    const std::uint64_t uiPeriod = Period(s.ePattern);
    const std::uint64_t uiGroup = s.ePattern == Pattern::Uyvy || s.ePattern == Pattern::Yuyv ? 2
                                  : uiPeriod == 6                                            ? 4
                                                                                             : 1;
    sFrame.uiSamples = static_cast<std::size_t>(sPlace.uiWidth / uiGroup * uiPeriod);
    uiRows = std::min<std::uint64_t>(sFrame.RowsIn(sFile), sPlace.uiHeight);
    auiRow.resize(sFrame.uiSamples);
  }
  const std::vector<std::uint16_t> &At(std::uint64_t y) {
    Unpack(sFrame.sLayout, m_sFile, sFrame.uiFirstBit + y * sFrame.uiRowBits, auiRow.size(), auiRow.data());
    return auiRow;
  }

  Grid sFrame;
  std::uint64_t uiRows = 0;
  std::vector<std::uint16_t> auiRow;

 private:
  const File &m_sFile;
};

// Bits that the samples of words have: those that more than a few samples use. Cameras put other things than
// samples into a row or a column now and then.
unsigned DepthOf(Rows &sRows) {
  std::array<std::uint64_t, 17> auiBits{};
  std::uint64_t uiAll = 0;
  const std::uint64_t uiStep = std::max<std::uint64_t>(1, sRows.uiRows / 2048);
  for (std::uint64_t y = 0; y < sRows.uiRows; y += uiStep) {
    for (const std::uint16_t ui : sRows.At(y)) ++auiBits[static_cast<std::size_t>(std::bit_width(ui))];
    uiAll += sRows.auiRow.size();
  }
  const std::uint64_t uiFew = uiAll / 50000;
  std::uint64_t uiSeen = 0;
  unsigned uiDepth = 16;
  while (uiDepth > 10 && (uiSeen += auiBits[uiDepth]) <= uiFew) --uiDepth;
  return (uiDepth + 1) / 2 * 2;
}

// Whether the first sample of a mosaic is green: the two greens are equal on the whole, red and blue are not.
bool GreenFirst(Rows &sRows) {
  double adDifferences[2] = {0, 0};
  std::vector<std::uint16_t> auiUpper;
  const std::uint64_t uiStep = std::max<std::uint64_t>(2, sRows.uiRows / c_uiRows / 2 * 2);
  for (std::uint64_t y = 0; y + 1 < sRows.uiRows; y += uiStep) {
    auiUpper = sRows.At(y);
    const std::vector<std::uint16_t> &auiLower = sRows.At(y + 1);
    // Noise is averaged out over a few cells before differences are taken.
    constexpr std::size_t c_uiCells = 16;
    for (std::size_t x = 0; x + 2 * c_uiCells <= auiUpper.size(); x += 2 * c_uiCells) {
      double ad[4] = {0, 0, 0, 0};
      for (std::size_t i = x; i < x + 2 * c_uiCells; i += 2)
        ad[0] += auiUpper[i], ad[1] += auiUpper[i + 1], ad[2] += auiLower[i], ad[3] += auiLower[i + 1];
      adDifferences[0] += std::abs(ad[0] - ad[3]);
      adDifferences[1] += std::abs(ad[1] - ad[2]);
    }
  }
  return adDifferences[0] < adDifferences[1];
}

struct Channels {
  double adMean[6] = {0, 0, 0, 0, 0, 0};
  double adDeviation[6] = {0, 0, 0, 0, 0, 0};
};

Channels ChannelsOf(Rows &sRows, unsigned uiChannels) {
  Channels s;
  double dCount = 0, adSquares[6] = {0, 0, 0, 0, 0, 0};
  const std::uint64_t uiStep = std::max<std::uint64_t>(1, sRows.uiRows / c_uiRows);
  for (std::uint64_t y = 0; y < sRows.uiRows; y += uiStep) {
    const std::vector<std::uint16_t> &aui = sRows.At(y);
    for (std::size_t i = 0; i < aui.size(); ++i) {
      s.adMean[i % uiChannels] += aui[i];
      adSquares[i % uiChannels] += double{1} * aui[i] * aui[i];
    }
    dCount += static_cast<double>(aui.size()) / uiChannels;
  }
  for (unsigned k = 0; k < uiChannels && dCount > 0; ++k) {
    s.adMean[k] /= dCount;
    s.adDeviation[k] = std::sqrt(std::max(0.0, adSquares[k] / dCount - s.adMean[k] * s.adMean[k]));
  }
  return s;
}

// How alike the vertical edges of a frame are to those so many rows further down.
double Likeness(Rows &sRows, std::uint64_t uiDown) {
  double dBoth = 0, dUpper = 0, dLower = 0;
  std::vector<std::uint16_t> auiUpper;
  const std::uint64_t uiUsable = sRows.uiRows - std::min(sRows.uiRows, uiDown);
  const std::uint64_t uiStep = std::max<std::uint64_t>(1, uiUsable / c_uiRows);
  for (std::uint64_t y = 0; y < uiUsable; y += uiStep) {
    auiUpper = sRows.At(y);
    const std::vector<std::uint16_t> &auiLower = sRows.At(y + uiDown);
    for (std::size_t x = 2; x < auiUpper.size(); ++x) {
      const double a = auiUpper[x] - auiUpper[x - 2], b = auiLower[x] - auiLower[x - 2];
      dBoth += a * b, dUpper += a * a, dLower += b * b;
    }
  }
  return dUpper > 0 && dLower > 0 ? dBoth / std::sqrt(dUpper * dLower) : 0;
}

// Three planes are three times the same edges.
bool ArePlanes(Rows &sRows, const Place &sPlace) {
  const std::uint64_t uiPlane = sPlace.uiHeight / 3;
  if (sPlace.uiHeight % 3 != 0 || uiPlane < 16 || sRows.uiRows < 2 * uiPlane) return false;
  const double d = Likeness(sRows, uiPlane);
  return d > 0.1 && d > 2 * Likeness(sRows, uiPlane - 7) && d > 2 * Likeness(sRows, uiPlane - 3);
}

const kivo_format *Find(std::uint32_t uiFamily, std::uint32_t uiOrder, std::uint32_t uiDepth,
                        std::uint32_t uiPacking, bool bBlueFirst = false) noexcept {
  for (const kivo_format &s : Formats())
    if (s.family == uiFamily && s.order == uiOrder && s.depth == uiDepth && s.packing == uiPacking &&
        BlueFirst(s) == bBlueFirst)
      return &s;
  return nullptr;
}

const kivo_format *Named(std::string_view strName) noexcept {
  for (const kivo_format &s : Formats())
    if (s.name == strName) return &s;
  return nullptr;
}

std::uint32_t PackingOf(const Layout &s) noexcept {
  if (s.ePattern == Pattern::Alpha) return KIVO_ALPHA;
  switch (s.eKind) {
    case Kind::Stream:
      return KIVO_P;
    case Kind::Packed:
      return KIVO_PACKED;
    case Kind::Words32:
      return KIVO_P32;
    default:
      return KIVO_PLAIN;
  }
}

// Chroma is grey on the whole and changes less than luma. The arguments are the places of U, V and Y.
bool IsYuv(const Channels &s, int iU, int iV, int iY) noexcept {
  const auto IsChroma = [&](int k) {
    return std::abs(s.adMean[k] - 128) < 40 && s.adDeviation[k] < 0.8 * s.adDeviation[iY];
  };
  return IsChroma(iU) && IsChroma(iV);
}

// Where a group has U, V and the first Y, and what the format is called.
struct YuvGroup {
  int iU, iV, iY;
  const char *pszName;
};

FormatPair YuvAt(Rows &sRows, const YuvGroup &s, std::uint32_t uiHeight) {
  const unsigned uiPeriod = Period(sRows.sFrame.sLayout.ePattern);
  if (!IsYuv(ChannelsOf(sRows, uiPeriod), s.iU, s.iV, s.iY)) return {};
  return {Named(s.pszName), nullptr, uiHeight};
}

// How alike the edges of rows are to those of rows further down, or further to the right in the same rows, in
// blocks of samples that hold as many of each colour and average out their noise.
double BlockLikeness(Rows &sRows, std::uint64_t uiDown, std::size_t uiRight) {
  constexpr std::size_t c_uiBlock = 24;
  double dBoth = 0, dFirst = 0, dSecond = 0;
  if (sRows.uiRows <= uiDown + 1) return 0;
  const std::uint64_t uiUsable = sRows.uiRows - uiDown, uiTaken = std::min(c_uiRows, uiUsable);
  std::vector<double> adFirst, adSecond;
  const auto Blocks = [](const std::vector<std::uint16_t> &aui, std::size_t uiFrom, std::vector<double> &ad) {
    ad.clear();
    for (std::size_t x = uiFrom; x + c_uiBlock <= aui.size(); x += c_uiBlock) {
      double dSum = 0;
      for (std::size_t i = x; i < x + c_uiBlock; ++i) dSum += aui[i];
      ad.push_back(dSum);
    }
  };
  for (std::uint64_t i = 0; i < uiTaken; ++i) {
    const std::uint64_t y = (i * 256 + i * 157 % 256) * uiUsable / (256 * uiTaken);
    Blocks(sRows.At(y), 0, adFirst);
    Blocks(sRows.At(y + uiDown), uiRight, adSecond);
    for (std::size_t x = 1; x < std::min(adFirst.size(), adSecond.size()); ++x) {
      const double a = adFirst[x] - adFirst[x - 1], b = adSecond[x] - adSecond[x - 1];
      dBoth += a * b, dFirst += a * a, dSecond += b * b;
    }
  }
  return dFirst > 0 && dSecond > 0 ? dBoth / std::sqrt(dFirst * dSecond) : 0;
}

// How far apart the even and the odd samples of a row are on the whole, as a share of their mean.
double Contrast(Rows &sRows) {
  double aad[2][2] = {{0, 0}, {0, 0}};
  const std::uint64_t uiStep = std::max<std::uint64_t>(1, sRows.uiRows / c_uiRows) | 1;
  for (std::uint64_t y = 0; y < sRows.uiRows; y += uiStep) {
    const std::vector<std::uint16_t> &aui = sRows.At(y);
    for (std::size_t x = 0; x + 1 < aui.size(); x += 2) aad[y % 2][0] += aui[x], aad[y % 2][1] += aui[x + 1];
  }
  double dMost = 0;
  for (const auto &ad : aad)
    if (ad[0] + ad[1] > 0) dMost = std::max(dMost, 2 * std::abs(ad[0] - ad[1]) / (ad[0] + ad[1]));
  return dMost;
}

}  // namespace

double DoubtOf(const File &sFile, const Grid &sGrid, const Place &sPlace) {
  Rows sRows(sFile, sGrid, sPlace);
  double dDoubt = 1;
  // Every other row is like each other: these are halves of rows.
  const double dNext = BlockLikeness(sRows, 1, 0), dNextButOne = BlockLikeness(sRows, 2, 0);
  if (dNextButOne > 0.1 && dNext < 0.5 * dNextButOne) dDoubt *= 1.06;
  // Rows repeat themselves: these are several in one.
  const double dHalf = BlockLikeness(sRows, 0, sRows.sFrame.uiSamples / 2);
  const double dThird = BlockLikeness(sRows, 0, sRows.sFrame.uiSamples / 3);
  if (dNext > 0.1 && std::max(dHalf, dThird) > 0.5 * dNext) dDoubt *= 1.06;
  // Red, green and blue are not equally bright on the whole, those of a row that is none are.
  if (sGrid.sLayout.ePattern == Pattern::Rgb || sGrid.sLayout.ePattern == Pattern::RgbLinked) {
    const Channels s = ChannelsOf(sRows, 3);
    const auto [dLeast, dMost] = std::minmax_element(s.adMean, s.adMean + 3);
    if (*dMost - *dLeast < 0.005 * *dMost) dDoubt *= 1.01;
  }
  const double dContrast = Contrast(sRows);
  if (sGrid.sLayout.ePattern == Pattern::Bayer && dContrast < 0.005) dDoubt *= 1.03;
  if (sGrid.sLayout.ePattern == Pattern::Grey && dContrast > 0.02) dDoubt *= 1.03;
  return dDoubt;
}

FormatPair FormatsAt(const File &sFile, const Grid &sGrid, const Place &sPlace) {
  const Layout &sLayout = sGrid.sLayout;
  Rows sRows(sFile, sGrid, sPlace);
  const bool bWords = sLayout.eKind == Kind::Little || sLayout.eKind == Kind::Big;
  unsigned uiDepth = bWords ? DepthOf(sRows) : sLayout.uiBits;
  const std::uint32_t uiPacking = PackingOf(sLayout);
  const std::uint32_t uiHeight = sPlace.uiHeight;
  switch (sLayout.ePattern) {
    case Pattern::Uyvy:
      return YuvAt(sRows, {0, 2, 1, "YUV422_8_UYVY"}, uiHeight);
    case Pattern::Yuyv:
      return YuvAt(sRows, {1, 3, 0, "YUV422_8"}, uiHeight);
    case Pattern::Uyyvyy:
      return YuvAt(sRows, {0, 3, 1, "YUV411_8_UYYVYY"}, uiHeight);
    case Pattern::Yyuyyv:
      return YuvAt(sRows, {2, 5, 0, "YCbCr411_8"}, uiHeight);
    case Pattern::Grey:
      if (uiPacking == KIVO_PLAIN && ArePlanes(sRows, sPlace)) {
        if (uiDepth == 14) uiDepth = 16;
        return {Find(KIVO_RGB, KIVO_ORDER_NONE, uiDepth, KIVO_PLANAR), nullptr, uiHeight / 3};
      }
      return {Find(KIVO_MONO, KIVO_ORDER_NONE, uiDepth, uiPacking), nullptr, uiHeight};
    case Pattern::Bayer: {
      // Which of the two others is red nothing tells: more cameras deliver it first.
      const bool bGreenFirst = GreenFirst(sRows);
      const std::uint32_t uiRed = bGreenFirst ? KIVO_ORDER_GR : KIVO_ORDER_RG;
      const std::uint32_t uiBlue = bGreenFirst ? KIVO_ORDER_GB : KIVO_ORDER_BG;
      return {Find(KIVO_BAYER, uiRed, uiDepth, uiPacking), Find(KIVO_BAYER, uiBlue, uiDepth, uiPacking),
              uiHeight};
    }
    case Pattern::Alpha: {
      const Channels s = ChannelsOf(sRows, 4);
      const kivo_format *const psRed = Find(KIVO_RGB, KIVO_ORDER_NONE, 8, KIVO_ALPHA, false);
      const kivo_format *const psBlue = Find(KIVO_RGB, KIVO_ORDER_NONE, 8, KIVO_ALPHA, true);
      return s.adMean[0] >= s.adMean[2] ? FormatPair{psRed, psBlue, uiHeight}
                                        : FormatPair{psBlue, psRed, uiHeight};
    }
    case Pattern::Rgb:
    case Pattern::RgbLinked:
      break;
  }
  const Channels s = ChannelsOf(sRows, 3);
  if (sLayout.eKind == Kind::Bytes && IsYuv(s, 0, 2, 1)) return {Named("YUV8_UYV"), nullptr, uiHeight};
  if (uiDepth == 14) uiDepth = 16;
  const kivo_format *const psRed = Find(KIVO_RGB, KIVO_ORDER_NONE, uiDepth, uiPacking, false);
  const kivo_format *const psBlue = Find(KIVO_RGB, KIVO_ORDER_NONE, uiDepth, uiPacking, true);
  if (psRed == nullptr || psBlue == nullptr) return {psRed == nullptr ? psBlue : psRed, nullptr, uiHeight};
  return s.adMean[0] >= s.adMean[2] ? FormatPair{psRed, psBlue, uiHeight}
                                    : FormatPair{psBlue, psRed, uiHeight};
}

}  // namespace Kivo::Guess
