// SPDX-License-Identifier: Apache-2.0
#include "frame/colour.h"

#include <cmath>
#include <cstring>

namespace Kivo {
namespace {

constexpr double c_dLargestBlack = 65535;
constexpr double c_dLargestGain = 1024;
constexpr double c_dLargestPoint = 67108864;
constexpr double c_dLargestCoefficient = 4;
constexpr double c_dLeastGamma = 0.1, c_dLargestGamma = 10;
constexpr std::uint32_t c_uiLeastTable = 256, c_uiLargestTable = 4096;
constexpr std::int32_t c_iUnit = 4096;      // of a matrix
constexpr std::uint32_t c_uiWhite = 32766;  // what full scale is behind the demosaic

// Whether a number lies between two others, which NaN does not.
bool Within(double d, double dLeast, double dMost) noexcept {
  return d >= dLeast && d <= dMost;
}

std::int32_t Round(double d) noexcept {
  return static_cast<std::int32_t>(d < 0 ? -std::floor(0.5 - d) : std::floor(d + 0.5));
}

// x^p for x from 0 to 1 and p above 0, by series, in operations whose results are the same everywhere. The
// error is a few times that of a double.
double Power(double dX, double dP) noexcept {
  if (dX <= 0) return 0;
  if (dX >= 1) return 1;
  constexpr double c_dLn2 = 0.693147180559945309417;
  int iExponent = 0;
  while (dX < 0.70710678118654752) {
    dX *= 2;
    --iExponent;
  }
  // ln x = 2 artanh((x - 1) / (x + 1))
  const double dZ = (dX - 1) / (dX + 1);
  double dSum = 0;
  for (int i = 25; i >= 1; i -= 2) dSum = dSum * dZ * dZ + 1.0 / i;
  const double dExponent = dP * (2 * dZ * dSum + iExponent * c_dLn2);
  // exp, of the part that is no whole power of two
  const int iHalvings = static_cast<int>(-dExponent / c_dLn2);
  const double dRest = dExponent + iHalvings * c_dLn2;
  double dResult = 1;
  for (int i = 22; i >= 1; --i) dResult = 1 + dResult * dRest / i;
  for (int i = 0; i < iHalvings; ++i) dResult /= 2;
  return dResult;
}

double Srgb(double dX) noexcept {
  return dX <= 0.0031308 ? 12.92 * dX : 1.055 * Power(dX, 1 / 2.4) - 0.055;
}

// 0 to 1 for what lies behind the demosaic.
double Position(std::uint32_t uiU) noexcept {
  return static_cast<double>(uiU < c_uiWhite ? uiU : c_uiWhite) / c_uiWhite;
}

// The distance from one knot of the curve to the next.
constexpr std::uint32_t KnotStep(std::uint32_t uiU) noexcept {
  return uiU < 1024 ? 64 : uiU < 6144 ? 256 : 1024;
}

// The curve at a knot, for pictures of 8 or of 16 bits.
std::int32_t Knot(unsigned uiBits, std::uint32_t uiU) noexcept {
  return uiBits == 8 ? Round(65280 * Srgb(Position(uiU))) + 128 : Round(65535 * Srgb(Position(uiU)));
}

// Each entry and what it becomes.
template <class Value>
void ForSrgb(unsigned uiBits, const Value &value) noexcept {
  for (std::uint32_t uiFirst = 0; uiFirst < c_uiToneEntries;) {
    const std::uint32_t uiStep = KnotStep(uiFirst);
    const std::int32_t iFrom = Knot(uiBits, uiFirst), iTo = Knot(uiBits, uiFirst + uiStep);
    for (std::uint32_t i = 0; i < uiStep; ++i)
      value(uiFirst + i,
            iFrom + static_cast<std::int32_t>(i) * (iTo - iFrom) / static_cast<std::int32_t>(uiStep));
    uiFirst += uiStep;
  }
}

// The caller's table at u, as a word.
std::uint32_t TableAt(const kivo_colour &s, std::uint32_t uiU) noexcept {
  const std::uint32_t uiP = (uiU < c_uiWhite ? uiU : c_uiWhite) * (s.table_size - 1);
  const std::uint32_t i = uiP / c_uiWhite;
  const std::int64_t iPart = uiP % c_uiWhite;
  const std::int64_t iFrom = s.table[i];
  const std::int64_t iTo = i + 1 < s.table_size ? s.table[i + 1] : iFrom;
  // Above zero before it is divided, so that it is rounded down.
  const std::int64_t iScaled = iFrom * c_uiWhite + (iTo - iFrom) * iPart + (c_uiWhite + 1) / 2;
  return static_cast<std::uint32_t>(iScaled / c_uiWhite);
}

template <class Value>
void ForTone(const kivo_colour &s, unsigned uiBits, const Value &value) noexcept {
  if (s.tone == KIVO_TONE_SRGB) {
    ForSrgb(uiBits, value);
  } else {
    for (std::uint32_t i = 0; i < c_uiToneEntries; ++i) value(i, static_cast<std::int32_t>(TableAt(s, i)));
  }
}

}  // namespace

bool ReadColour(const kivo_colour *psGiven, kivo_colour &sColour) noexcept {
  std::size_t uiSize;
  std::memcpy(&uiSize, psGiven, sizeof uiSize);
  constexpr std::size_t c_uiLargest = 4096;
  if (uiSize < sizeof sColour || uiSize > c_uiLargest) return false;
  const auto *const puc = reinterpret_cast<const unsigned char *>(psGiven);
  for (std::size_t i = sizeof sColour; i < uiSize; ++i)
    if (puc[i] != 0) return false;
  std::memcpy(&sColour, psGiven, sizeof sColour);
  return true;
}

kivo_status CheckBlack(const kivo_colour &s) noexcept {
  for (const double d : s.black)
    if (!Within(d, 0, c_dLargestBlack)) return KIVO_BAD_BLACK;
  return KIVO_OK;
}

kivo_status CheckGain(const kivo_colour &s) noexcept {
  for (const double d : s.gain)
    if (!Within(d, 0, c_dLargestGain)) return KIVO_BAD_GAIN;
  return KIVO_OK;
}

kivo_status CheckColour(const kivo_colour &s) noexcept {
  if (CheckBlack(s) != KIVO_OK) return KIVO_BAD_BLACK;
  if (CheckGain(s) != KIVO_OK) return KIVO_BAD_GAIN;
  for (const double d : s.matrix)
    if (!(d > -c_dLargestCoefficient && d < c_dLargestCoefficient)) return KIVO_BAD_MATRIX;
  if (!Within(s.low, 0, c_dLargestPoint) || !Within(s.high, 0, c_dLargestPoint)) return KIVO_BAD_POINTS;
  return KIVO_OK;
}

kivo_status CheckTone(const kivo_colour &s) noexcept {
  if (s.tone == KIVO_TONE_GAMMA && !Within(s.gamma, c_dLeastGamma, c_dLargestGamma)) return KIVO_BAD_GAMMA;
  const bool bTable =
      s.table != nullptr && s.table_size >= c_uiLeastTable && s.table_size <= c_uiLargestTable;
  return s.tone == KIVO_TONE_TABLE && !bTable ? KIVO_BAD_TABLE : KIVO_OK;
}

bool ChangesNothing(const kivo_colour &s) noexcept {
  const kivo_colour sNone = KIVO_COLOUR_INIT;
  for (unsigned i = 0; i < 4; ++i)
    if (s.black[i] != 0) return false;
  for (unsigned i = 0; i < 3; ++i)
    if (s.gain[i] != 1) return false;
  for (unsigned i = 0; i < 9; ++i)
    if (s.matrix[i] != sNone.matrix[i]) return false;
  return s.low == 0 && s.high == 0 && s.tone == KIVO_TONE_LINEAR;
}

GainSite MakeGain(double dBlack, double dGain, double dLow, double dHigh, unsigned uiDepth) noexcept {
  constexpr double c_dTop = 16383, c_dMost = 32767;
  if (dGain == 0) return {0, 32767 + 1, 1, 0};
  const double dUnit = uiDepth == 16 ? 0.5 : 1 << (15 - uiDepth);  // of the scale, for a sample
  const double dB = (dBlack + dLow / dGain) * dUnit;
  GainSite s = {};
  s.usBlack = static_cast<std::uint16_t>(dB < c_dMost ? Round(dB) : 32767);
  double dM = c_dTop * dGain / ((dHigh - dLow) * dUnit) * 32768;
  unsigned uiE = 0;
  for (; uiE < 15 && dM + 0.5 >= 32768; ++uiE) dM /= 2;
  s.usGain = static_cast<std::uint16_t>(dM < c_dMost ? Round(dM) : 32767);
  s.usMost = static_cast<std::uint16_t>((32767U >> uiE) + 1);
  s.usFactor = static_cast<std::uint16_t>(1U << uiE);
  return s;
}

void MakeMatrix(const double (&adMatrix)[9], std::int16_t (&aasRows)[3][3]) noexcept {
  for (unsigned y = 0; y < 3; ++y) {
    const double *const pd = adMatrix + std::size_t{3} * y;
    std::int32_t aiRow[3];
    for (unsigned x = 0; x < 3; ++x) aiRow[x] = Round(pd[x] * c_iUnit);
    aiRow[y] += Round((pd[0] + pd[1] + pd[2]) * c_iUnit) - (aiRow[0] + aiRow[1] + aiRow[2]);
    for (unsigned x = 0; x < 3; ++x) aasRows[y][x] = static_cast<std::int16_t>(aiRow[x]);
  }
}

void MakeCurve(unsigned uiBits, ToneCurve &s) noexcept {
  s = {};
  unsigned i = 0;
  for (std::uint32_t ui = 0; ui < c_uiToneEntries; ui += KnotStep(ui), ++i) {
    const std::int32_t iKnot = Knot(uiBits, ui);
    s.ausKnots[i] = static_cast<std::uint16_t>(iKnot);
    s.ausSteps[i] = static_cast<std::uint16_t>(Knot(uiBits, ui + KnotStep(ui)) - iKnot);
  }
  for (i = 0; i < 64; ++i) {
    const unsigned uiKnot = s.ausKnots[i] ^ (i < 16 ? 0U : s.ausKnots[i - 16]);
    const unsigned uiStep = s.ausSteps[i] ^ (i < 16 ? 0U : s.ausSteps[i - 16]);
    for (unsigned k = 0; k < 2; ++k) {
      s.aaucBytes[k][i] = static_cast<std::uint8_t>(uiKnot >> 8 * k);
      s.aaucBytes[2 + k][i] = static_cast<std::uint8_t>(uiStep >> 8 * k);
    }
  }
}

void MakeTone(const kivo_colour &s, std::uint8_t *puc) noexcept {
  if (s.tone == KIVO_TONE_GAMMA) {
    for (std::uint32_t i = 0; i < c_uiToneEntries; ++i)
      puc[i] = static_cast<std::uint8_t>(Round(255 * Power(Position(i), 1 / s.gamma)));
    return;
  }
  const bool bTable = s.tone == KIVO_TONE_TABLE;
  ForTone(s, 8, [=](std::uint32_t i, std::int32_t iValue) {
    puc[i] = static_cast<std::uint8_t>(bTable ? (255 * iValue + 32767) / 65535 : iValue / 256);
  });
}

void MakeTone(const kivo_colour &s, std::uint16_t *pus, unsigned uiDown) noexcept {
  if (s.tone == KIVO_TONE_GAMMA) {
    for (std::uint32_t i = 0; i < c_uiToneEntries; ++i)
      pus[i] = static_cast<std::uint16_t>(Round(65535 * Power(Position(i), 1 / s.gamma)) >> uiDown);
    return;
  }
  ForTone(s, 16, [=](std::uint32_t i, std::int32_t iValue) {
    pus[i] = static_cast<std::uint16_t>(iValue >> uiDown);
  });
}

}  // namespace Kivo
