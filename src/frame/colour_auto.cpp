// SPDX-License-Identifier: Apache-2.0
// Colour settings from a frame: a grid of places, what they say of each colour, and what follows from it.
#include <algorithm>
#include <cstring>

#include "frame/plan.h"
#include "frame/run.h"
#include "frame/source.h"

namespace Kivo {
namespace {

enum Site : unsigned { c_eRed, c_eGreenOfRed, c_eGreenOfBlue, c_eBlue, c_eSites };

constexpr std::size_t c_uiGridRows = 64, c_uiGridColumns = 128;
constexpr std::size_t c_uiMostPlaces = c_uiGridRows * c_uiGridColumns;
constexpr std::size_t c_uiMargin = 32;  // of so many parts the outer ones are left out
constexpr unsigned c_uiBinBits = 12;    // of what percentiles can tell apart
constexpr std::size_t c_uiBins = std::size_t{1} << c_uiBinBits;
constexpr std::size_t c_uiLeastPlaces = 16;
constexpr double c_dLargestGain = 8;

struct Place {
  std::uint16_t aus[c_eSites];
};

// What was found. On the stack of the call: 64 KiB.
struct Places {
  Place as[c_uiMostPlaces];
  std::size_t uiCount = 0;
};

// Samples by their value, for each colour that the frame has.
struct Histogram {
  std::uint16_t aaus[c_eSites][c_uiBins] = {};
  std::uint32_t auiCount[c_eSites] = {};
  unsigned uiShift = 0;

  std::uint32_t Value(std::size_t uiBin) const noexcept {
    return static_cast<std::uint32_t>(uiBin << uiShift);
  }
  // The first value that at least so many samples of a colour do not exceed.
  std::uint32_t Percentile(unsigned uiSite, std::uint32_t uiWanted) const noexcept {
    std::size_t i = 0;
    for (std::uint32_t uiSum = aaus[uiSite][0]; uiSum < uiWanted && i + 1 < c_uiBins;
         uiSum += aaus[uiSite][i])
      ++i;
    return Value(i);
  }
};

// Places along one side: so many, evenly, within the margins.
struct Axis {
  std::size_t uiFirst, uiInner, uiCount;

  Axis(std::size_t uiAll, std::size_t uiMost) noexcept
      : uiFirst(uiAll / c_uiMargin), uiInner(uiAll - 2 * uiFirst), uiCount(std::min(uiInner, uiMost)) {}
  std::size_t At(std::size_t i) const noexcept { return uiFirst + i * uiInner / uiCount; }
};

// Fills the places from the rows of a frame.
class Collector {
 public:
  Collector(const kivo_plan &s, const kivo_frame &sFrame, std::uint8_t *pucScratch) noexcept
      : m_s(s),
        m_sSource(s, sFrame),
        m_sSpaces{{pucScratch + s.sScratch.auiSpaces[0], pucScratch + s.sScratch.auiSpaces[1]}},
        m_bDirect(s.uiStagesToPlain == 0),
        m_uiChannels(s.psFormat->family == KIVO_RGB ? 3 : 1),
        m_uiUnit(s.psFormat->family == KIVO_RGB ? 1 : 2),
        m_uiTop((1U << s.psFormat->plain_depth) - 1) {
    const kivo_format &sPlain = *s.psPlain;
    if (sPlain.family == KIVO_RGB) {
      constexpr unsigned c_aauiSites[2][c_eSites] = {{0, 1, 1, 2}, {2, 1, 1, 0}};
      std::copy_n(c_aauiSites[BlueFirst(sPlain) ? 1 : 0], c_eSites, m_auiFrom);
    } else if (sPlain.family == KIVO_BAYER) {
      // Which of the four samples each colour is; GR, RG, GB, BG.
      constexpr unsigned c_aauiSites[4][c_eSites] = {{1, 0, 3, 2}, {0, 1, 2, 3}, {2, 3, 0, 1}, {3, 2, 1, 0}};
      std::copy_n(c_aauiSites[sPlain.order - KIVO_ORDER_GR], c_eSites, m_auiFrom);
    }
  }

  void Collect(Places &sPlaces) const noexcept {
    const Axis sRows(m_s.uiHeight / m_uiUnit, c_uiGridRows);
    const Axis sColumns(m_s.uiWidth / m_uiUnit, c_uiGridColumns);
    for (std::size_t r = 0; r < sRows.uiCount; ++r) {
      const std::size_t y = sRows.At(r) * m_uiUnit;
      for (std::size_t c = 0; c < sColumns.uiCount;) c = CollectPiece(sPlaces, sColumns, y, c);
    }
  }

 private:
  static constexpr std::size_t c_uiPiece = 512;
  static constexpr std::size_t c_uiLead = 64;

  // Places of a row from place c on, as far as one piece of it goes; the first that is left.
  std::size_t CollectPiece(Places &sPlaces, const Axis &sColumns, std::size_t y,
                           std::size_t c) const noexcept {
    alignas(64) std::uint8_t aauc[2][c_uiLead + c_uiPiece * 6];
    const std::size_t x = sColumns.At(c) * m_uiUnit;
    std::size_t n = m_s.uiWidth - x;
    const std::uint8_t *apuc[2];
    if (!m_bDirect) n = std::min({n, c_uiPiece, m_s.sScratch.uiPiece / m_uiUnit * m_uiUnit});
    for (unsigned i = 0; i < m_uiUnit; ++i) {
      apuc[i] = m_bDirect ? m_sSource.Row(y + i) + x * PixelBytes() : aauc[i] + c_uiLead;
      if (!m_bDirect)
        m_sSource.Bring(y + i, m_s.bMirrorSamples ? m_s.uiWidth - x - n : x, n, aauc[i] + c_uiLead, m_sSpaces,
                        m_s.uiStagesToPlain);
    }
    if (m_uiUnit == 1) apuc[1] = apuc[0];
    for (; c < sColumns.uiCount; ++c) {
      const std::size_t uiAt = sColumns.At(c) * m_uiUnit - x;
      if (uiAt + m_uiUnit > n) break;
      Add(sPlaces, apuc, uiAt);
    }
    return c;
  }

  void Add(Places &sPlaces, const std::uint8_t *const *apuc, std::size_t uiAt) const noexcept {
    std::uint32_t aui[4];
    for (unsigned i = 0; i < 4; ++i)
      aui[i] = std::min(
          m_uiChannels == 3 ? Sample(apuc[0], uiAt * 3 + i % 3) : Sample(apuc[i / 2], uiAt + i % 2), m_uiTop);
    Place &sPlace = sPlaces.as[sPlaces.uiCount++];
    for (unsigned i = 0; i < c_eSites; ++i) sPlace.aus[i] = static_cast<std::uint16_t>(aui[m_auiFrom[i]]);
  }

  std::uint32_t Sample(const std::uint8_t *puc, std::size_t i) const noexcept {
    if (m_s.psFormat->plain_bytes == 1) return puc[i];
    std::uint16_t us;
    std::memcpy(&us, puc + 2 * i, 2);
    return us;
  }
  std::size_t PixelBytes() const noexcept { return std::size_t{m_s.psFormat->plain_bytes} * m_uiChannels; }

  const kivo_plan &m_s;
  const Source m_sSource;
  Spaces m_sSpaces;
  bool m_bDirect;
  unsigned m_uiChannels;
  unsigned m_uiUnit;  // rows and columns of a place
  std::uint32_t m_uiTop;
  unsigned m_auiFrom[c_eSites] = {0, 1, 2, 3};
};

void Collect(const kivo_plan &s, const kivo_frame &sFrame, Places &sPlaces) noexcept {
  WithScratch(s, [&](std::uint8_t *puc) {
    // The offsets of the layout begin at an aligned address.
    Collector(s, sFrame, puc - reinterpret_cast<std::uintptr_t>(puc) % 64).Collect(sPlaces);
  });
}

unsigned Depth(const kivo_plan &s) noexcept {
  return s.psFormat->plain_depth;
}

// Grey frames have all their samples where the greens of red rows are.
void Count(const kivo_plan &s, const Places &sPlaces, Histogram &sHistogram) noexcept {
  const bool bMono = s.psFormat->family == KIVO_MONO;
  sHistogram.uiShift = Depth(s) > c_uiBinBits ? Depth(s) - c_uiBinBits : 0;
  for (std::size_t i = 0; i < sPlaces.uiCount; ++i)
    for (unsigned k = 0; k < c_eSites; ++k)
      ++sHistogram.aaus[bMono ? c_eGreenOfRed : k][sPlaces.as[i].aus[k] >> sHistogram.uiShift];
  for (unsigned k = 0; k < c_eSites; ++k)
    sHistogram.auiCount[k] = static_cast<std::uint32_t>(!bMono               ? sPlaces.uiCount
                                                        : k == c_eGreenOfRed ? 4 * sPlaces.uiCount
                                                                             : 0);
}

// Samples above black of one place that count for a balance: red, the mean of the greens, blue.
struct Light {
  float afl[3];
};

struct Lights {
  Light as[c_uiMostPlaces];
  std::size_t uiCount = 0;
};

void Usable(const Places &sPlaces, const double (&adBlack)[4], unsigned uiDepth, Lights &sLights) noexcept {
  const double dTop = (1U << uiDepth) - 1;
  const double dClipped = dTop * 63 / 64;
  float aflBlack[c_eSites], aflLeast[c_eSites];
  for (unsigned k = 0; k < c_eSites; ++k) {
    aflBlack[k] = static_cast<float>(adBlack[k]);
    aflLeast[k] = static_cast<float>(std::max(0.0, dTop - adBlack[k]) / 256);
  }
  for (std::size_t i = 0; i < sPlaces.uiCount; ++i) {
    float afl[c_eSites];
    bool bUsable = true;
    for (unsigned k = 0; k < c_eSites; ++k) {
      afl[k] = static_cast<float>(sPlaces.as[i].aus[k]) - aflBlack[k];
      bUsable = bUsable && afl[k] > aflLeast[k] && sPlaces.as[i].aus[k] <= dClipped;
    }
    if (bUsable)
      sLights.as[sLights.uiCount++] = {
          {afl[c_eRed], (afl[c_eGreenOfRed] + afl[c_eGreenOfBlue]) / 2, afl[c_eBlue]}};
  }
}

// What grey is: the light of each colour that is to become the same.
struct Grey {
  double ad[3];
};

// The mean of the lights that a condition takes; how many those are.
template <class Condition>
std::size_t Mean(const Lights &sLights, const Condition &condition, Grey &sGrey) noexcept {
  double ad[3] = {};
  std::size_t n = 0;
  for (std::size_t i = 0; i < sLights.uiCount; ++i) {
    if (!condition(sLights.as[i])) continue;
    for (unsigned c = 0; c < 3; ++c) ad[c] += static_cast<double>(sLights.as[i].afl[c]);
    ++n;
  }
  if (n != 0)
    for (unsigned c = 0; c < 3; ++c) sGrey.ad[c] = ad[c] / static_cast<double>(n);
  return n;
}

Grey WhitePatch(const Lights &sLights) noexcept {
  constexpr std::size_t c_uiKeys = 4096, c_uiPart = 20;
  float flMost = 0;
  const auto Sum = [](const Light &s) { return s.afl[0] + 2 * s.afl[1] + s.afl[2]; };
  for (std::size_t i = 0; i < sLights.uiCount; ++i) flMost = std::max(flMost, Sum(sLights.as[i]));
  const auto Key = [&](const Light &s) { return static_cast<std::size_t>(Sum(s) / flMost * (c_uiKeys - 1)); };
  std::uint16_t aus[c_uiKeys] = {};
  for (std::size_t i = 0; i < sLights.uiCount; ++i) ++aus[Key(sLights.as[i])];
  std::size_t uiKey = c_uiKeys - 1;
  for (std::size_t uiSum = aus[uiKey]; uiSum * c_uiPart < sLights.uiCount; uiSum += aus[uiKey]) --uiKey;
  Grey sGrey = {};
  Mean(
      sLights, [&](const Light &s) { return Key(s) >= uiKey; }, sGrey);
  return sGrey;
}

// The mean, and twice more of what the mean before makes nearly grey, while enough is left.
Grey GreyWorld(const Lights &sLights) noexcept {
  constexpr double c_dFar = 1.5;
  Grey sGrey = {};
  Mean(
      sLights, [](const Light &) { return true; }, sGrey);
  for (unsigned i = 0; i < 2; ++i) {
    const float flRed = static_cast<float>(sGrey.ad[1] / sGrey.ad[0]);
    const float flBlue = static_cast<float>(sGrey.ad[1] / sGrey.ad[2]);
    const auto Near = [=](const Light &s) {
      const float flR = s.afl[0] * flRed, flG = s.afl[1], flB = s.afl[2] * flBlue;
      return std::max({flR, flG, flB}) <= static_cast<float>(c_dFar) * std::min({flR, flG, flB});
    };
    Grey sNext = {};
    if (Mean(sLights, Near, sNext) * c_uiLeastPlaces < sLights.uiCount) break;
    sGrey = sNext;
  }
  return sGrey;
}

// The median of one colour in parts of green, told apart by 1/512 up to 8.
double MedianRatio(const Lights &sLights, unsigned uiColour) noexcept {
  constexpr float c_flParts = 512;
  constexpr std::size_t c_uiRatios = 4096;
  std::uint16_t aus[c_uiRatios] = {};
  for (std::size_t i = 0; i < sLights.uiCount; ++i) {
    const float fl = sLights.as[i].afl[uiColour] / sLights.as[i].afl[1] * c_flParts;
    ++aus[fl < c_uiRatios - 1 ? static_cast<std::size_t>(fl) : c_uiRatios - 1];
  }
  const double dHalf = static_cast<double>(sLights.uiCount) / 2;
  std::size_t i = 0, uiSum = 0;
  for (; static_cast<double>(uiSum + aus[i]) < dHalf; ++i) uiSum += aus[i];
  return (static_cast<double>(i) + (dHalf - static_cast<double>(uiSum)) / aus[i]) /
         static_cast<double>(c_flParts);
}

void Balance(const kivo_plan &s, const Places &sPlaces, std::uint32_t uiBalance, kivo_colour &c) noexcept {
  for (double &d : c.gain) d = 1;
  if (s.psFormat->family == KIVO_MONO) return;
  Lights sLights;
  Usable(sPlaces, c.black, Depth(s), sLights);
  if (sLights.uiCount < c_uiLeastPlaces) return;
  Grey sGrey;
  if (uiBalance == KIVO_BALANCE_WHITE_PATCH) {
    sGrey = WhitePatch(sLights);
  } else if (uiBalance == KIVO_BALANCE_GREY_WORLD) {
    sGrey = GreyWorld(sLights);
  } else {
    sGrey = {{MedianRatio(sLights, 0), 1, MedianRatio(sLights, 2)}};
  }
  const double dMost = std::max({sGrey.ad[0], sGrey.ad[1], sGrey.ad[2]});
  for (unsigned i = 0; i < 3; ++i) c.gain[i] = std::min(dMost / sGrey.ad[i], c_dLargestGain);
}

void Black(const kivo_plan &s, const Places &sPlaces, kivo_colour &c) noexcept {
  Histogram sHistogram;
  Count(s, sPlaces, sHistogram);
  std::uint32_t uiLeast = ((1U << Depth(s)) - 1) / 16;
  for (unsigned k = 0; k < c_eSites; ++k)
    if (sHistogram.auiCount[k] != 0)
      uiLeast = std::min(uiLeast, sHistogram.Percentile(k, (sHistogram.auiCount[k] + 999) / 1000));
  for (double &d : c.black) d = sPlaces.uiCount == 0 ? 0 : uiLeast;
}

// How many samples, gained, do not exceed a value.
class Gained {
 public:
  Gained(const Histogram &sHistogram, const kivo_colour &c) noexcept : m_s(sHistogram), m_c(c) {
    for (unsigned k = 0; k < c_eSites; ++k) {
      std::uint32_t uiSum = 0;
      for (std::size_t i = 0; i < c_uiBins; ++i) m_aauiSums[k][i] = uiSum += sHistogram.aaus[k][i];
      m_uiAll += sHistogram.auiCount[k];
    }
  }

  double Gain(unsigned uiSite) const noexcept { return m_c.gain[(uiSite + 1) / 2]; }

  std::uint32_t UpTo(double d) const noexcept {
    std::uint32_t uiSum = 0;
    for (unsigned k = 0; k < c_eSites; ++k) {
      const double dGain = Gain(k);
      const double dBins = static_cast<double>(c_uiBins - 1);
      const double dBin =
          dGain == 0 ? dBins : (d / dGain + m_c.black[k]) / static_cast<double>(1U << m_s.uiShift);
      uiSum += m_aauiSums[k][static_cast<std::size_t>(std::min(dBin, dBins))];
    }
    return uiSum;
  }

  // The least value that this percentage of the samples does not exceed, to a millionth of the largest.
  double Percentile(double dPercent) const noexcept {
    const double dWanted = dPercent / 100 * m_uiAll;
    double dLow = 0, dHigh = 65536.0 * 1024;
    if (UpTo(0) >= dWanted && UpTo(0) > 0) return 0;
    for (unsigned i = 0; i < 50 && dHigh - dLow > dHigh * 1e-9; ++i) {
      const double dMiddle = (dLow + dHigh) / 2;
      const std::uint32_t ui = UpTo(dMiddle);
      (ui >= dWanted && ui > 0 ? dHigh : dLow) = dMiddle;
    }
    return dHigh;
  }

 private:
  const Histogram &m_s;
  const kivo_colour &m_c;
  std::uint32_t m_aauiSums[c_eSites][c_uiBins];
  std::uint32_t m_uiAll = 0;
};

void Range(const kivo_plan &s, const Places &sPlaces, double dLow, double dHigh, kivo_colour &c) noexcept {
  c.low = c.high = 0;
  if (sPlaces.uiCount == 0) return;
  Histogram sHistogram;
  Count(s, sPlaces, sHistogram);
  const Gained sGained(sHistogram, c);
  const double dTop = (1U << Depth(s)) - 1;
  // Where a colour is saturated: near full scale, if so much of the frame is there that it cannot be defects.
  double dWhite = 0;
  for (unsigned k = 0; k < c_eSites; ++k)
    if (sHistogram.auiCount[k] != 0)
      dWhite = std::max<double>(
          dWhite, sHistogram.Percentile(k, sHistogram.auiCount[k] - sHistogram.auiCount[k] / 1000));
  if (dWhite < dTop * 63 / 64) dWhite = dTop;
  double dMost = 0;
  for (unsigned k = 0; k < c_eSites; ++k) {
    if (sHistogram.auiCount[k] == 0) continue;
    const double d = (dWhite - c.black[k]) * sGained.Gain(k);
    if (d > 0 && (dMost == 0 || d < dMost)) dMost = d;
  }
  const double dFrom = sGained.Percentile(dLow), dTo = std::min(sGained.Percentile(dHigh), dMost);
  if (!(dFrom < dTo)) return;
  c.low = dFrom;
  c.high = dTo;
}

kivo_status Check(const kivo_plan *plan, const kivo_frame *frame, const kivo_colour *colour) noexcept {
  if (plan == nullptr || frame == nullptr || frame->data == nullptr || colour == nullptr)
    return KIVO_NULL_POINTER;
  kivo_colour sCopy;
  return ReadColour(colour, sCopy) ? KIVO_OK : KIVO_BAD_STRUCT;
}

kivo_status Family(const kivo_plan &s) noexcept {
  return s.psFormat->family == KIVO_YUV ? KIVO_BAD_COLOUR : KIVO_OK;
}

}  // namespace
}  // namespace Kivo

using namespace Kivo;

kivo_status kivo_auto_black(const kivo_plan *plan, const kivo_frame *frame,
                            kivo_colour *colour) KIVO_NOEXCEPT {
  kivo_status eStatus = Check(plan, frame, colour);
  if (eStatus == KIVO_OK) eStatus = Family(*plan);
  if (eStatus == KIVO_OK) eStatus = CheckFrame(*plan, *frame);
  if (eStatus != KIVO_OK) return eStatus;
  Places sPlaces;
  Collect(*plan, *frame, sPlaces);
  Black(*plan, sPlaces, *colour);
  return KIVO_OK;
}

kivo_status kivo_auto_balance(const kivo_plan *plan, const kivo_frame *frame, uint32_t balance,
                              kivo_colour *colour) KIVO_NOEXCEPT {
  kivo_status eStatus = Check(plan, frame, colour);
  if (eStatus == KIVO_OK && balance > KIVO_BALANCE_MEDIAN) eStatus = KIVO_UNKNOWN_OPTION;
  if (eStatus == KIVO_OK) eStatus = Family(*plan);
  if (eStatus == KIVO_OK) eStatus = CheckBlack(*colour);
  if (eStatus == KIVO_OK) eStatus = CheckFrame(*plan, *frame);
  if (eStatus != KIVO_OK) return eStatus;
  Places sPlaces;
  Collect(*plan, *frame, sPlaces);
  Balance(*plan, sPlaces, balance, *colour);
  return KIVO_OK;
}

kivo_status kivo_auto_range(const kivo_plan *plan, const kivo_frame *frame, double low, double high,
                            kivo_colour *colour) KIVO_NOEXCEPT {
  kivo_status eStatus = Check(plan, frame, colour);
  if (eStatus == KIVO_OK) eStatus = Family(*plan);
  if (eStatus == KIVO_OK) eStatus = CheckBlack(*colour);
  if (eStatus == KIVO_OK) eStatus = CheckGain(*colour);
  if (eStatus == KIVO_OK && !(low >= 0 && low < high && high <= 100)) eStatus = KIVO_BAD_PERCENT;
  if (eStatus == KIVO_OK) eStatus = CheckFrame(*plan, *frame);
  if (eStatus != KIVO_OK) return eStatus;
  Places sPlaces;
  Collect(*plan, *frame, sPlaces);
  Range(*plan, sPlaces, low, high, *colour);
  return KIVO_OK;
}
