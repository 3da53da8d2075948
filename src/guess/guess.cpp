// SPDX-License-Identifier: Apache-2.0
// What a file may be that nobody described. Every distance from row to row after which the file repeats
// itself is tried with every layout of samples on a few rows; the best are looked at closely, and placed in
// the file.
#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include "KivoFrame.h"
#include "frame/formats.h"
#include "guess/place.h"
#include "guess/row_period.h"

namespace Kivo::Guess {
namespace {

constexpr std::size_t c_uiPeriods = 16;
constexpr std::size_t c_uiKept = 16, c_uiPlaced = 8;
constexpr std::uint64_t c_uiLongestRow = std::uint64_t{1} << 17;

constexpr std::uint64_t c_uiLongestFile = std::uint64_t{1} << 60;  // counted in bits

struct Trial {
  Grid sGrid;
  Cost sCost;
  double dDoubt = 1;
  double dScore = 0;  // bits of a megabyte, and what speaks against its place
  Place sPlace;
};

// Formats that are rare have to explain a file better than others.
double LayoutBits(const Layout &s) noexcept {
  if (s.eKind == Kind::Stream && s.uiBits < 8) return 4096;
  switch (s.ePattern) {
    case Pattern::Grey:
    case Pattern::Bayer:
      return 0;
    case Pattern::Rgb:
    case Pattern::RgbLinked:
      return 16;
    default:
      return 64;
  }
}

double ScoreOf(const File &sFile, const Trial &s) {
  const double dBytes = static_cast<double>(std::min<std::uint64_t>(sFile.uiBytes, std::uint64_t{1} << 20));
  return s.sCost.dBitsPerByte * s.dDoubt * dBytes + LayoutBits(s.sGrid.sLayout) + s.sPlace.dBits;
}

// Where the padding of every row ends, if that is in front of where rows begin otherwise: the padding of the
// last row is not in the file then.
std::uint64_t PaddingInFront(const File &sFile, std::uint64_t uiPeriod) {
  constexpr std::uint64_t c_uiRows = 24;
  const std::uint64_t uiBase = sFile.uiBytes % uiPeriod;
  if (sFile.uiHead < uiBase + 4 * uiPeriod) return 0;
  const std::uint64_t uiAll = (sFile.uiHead - uiBase) / uiPeriod - 1;
  const std::uint64_t uiTaken = std::min(c_uiRows, uiAll);
  const auto At = [&](std::uint64_t i, std::uint64_t x) {
    return sFile.puc[uiBase + (2 * i + 1) * uiAll / (2 * uiTaken) * uiPeriod + x];
  };
  std::uint64_t x = 0;
  for (; x < uiPeriod / 2; ++x)
    for (std::uint64_t i = 1; i < uiTaken; ++i)
      if (At(i, x) != At(0, x)) return x;
  return 0;
}

void AddGrids(const File &sFile, const Layout &sLayout, std::uint64_t uiPeriod, std::uint64_t uiPadding,
              std::vector<Grid> &as) {
  const std::uint64_t uiBase = sFile.uiBytes % uiPeriod;
  const std::size_t uiSamples = SamplesIn(sLayout, uiPeriod);
  as.push_back({sLayout, 8 * uiBase, 8 * uiPeriod, uiSamples, 0});
  if (uiPadding != 0)
    as.push_back({sLayout, 8 * ((uiBase + uiPadding) % uiPeriod), 8 * uiPeriod, uiSamples, 8 * uiPadding});
  if (sLayout.eKind != Kind::Stream && sLayout.eKind != Kind::Packed) return;
  // Rows that share bytes: the file repeats itself after two, four or eight of them.
  const std::uint64_t uiSampleBits = BitsOf(sLayout, 2) / 2;
  for (std::uint64_t uiShare = 2; uiShare <= 8; uiShare *= 2) {
    if (8 * uiPeriod % uiShare != 0) break;
    const std::uint64_t uiRowBits = 8 * uiPeriod / uiShare;
    if (uiRowBits % 8 == 0 || uiRowBits % uiSampleBits != 0) continue;
    const std::uint64_t uiRows = 8 * sFile.uiBytes / uiRowBits;
    for (std::uint64_t i = 0; i < uiShare && i < uiRows; ++i) {
      const std::uint64_t uiFirst = sFile.uiBytes - ((uiRows - i) * uiRowBits + 7) / 8;
      as.push_back({sLayout, 8 * uiFirst, uiRowBits, static_cast<std::size_t>(uiRowBits / uiSampleBits), 0});
    }
  }
}

bool Better(const Trial &a, const Trial &b) noexcept {
  return a.dScore < b.dScore;
}

void Try(const File &sFile, const Grid &sGrid, bool bClosely, std::vector<Trial> &as) {
  Trial s;
  s.sGrid = sGrid;
  s.sCost = CostOf(sFile, sGrid, bClosely ? c_sClosely : c_sBriefly);
  if (!std::isfinite(s.sCost.dBitsPerByte)) return;
  s.dScore = ScoreOf(sFile, s);
  as.push_back(s);
}

// Periods with every layout, on few rows.
void Coarse(const File &sFile, const std::vector<std::uint64_t> &auiPeriods, std::vector<Trial> &as) {
  std::vector<Grid> asGrids;
  for (const std::uint64_t uiPeriod : auiPeriods) {
    const std::uint64_t uiPadding = PaddingInFront(sFile, uiPeriod);
    for (const Layout &sLayout : Layouts()) {
      asGrids.clear();
      AddGrids(sFile, sLayout, uiPeriod, uiPadding, asGrids);
      for (const Grid &s : asGrids) Try(sFile, s, false, as);
    }
    std::sort(as.begin(), as.end(), Better);
    if (as.size() > 4 * c_uiKept) as.resize(4 * c_uiKept);
  }
}

// What repeats itself after a row does so after several; a mosaic even more exactly after two. These are the
// fractions of the best periods that are not among those that were tried.
std::vector<std::uint64_t> FractionsOf(const std::vector<Trial> &as,
                                       const std::vector<std::uint64_t> &auiTried) {
  std::vector<std::uint64_t> aui;
  const auto Has = [](const std::vector<std::uint64_t> &auiOf, std::uint64_t ui) {
    return std::find(auiOf.begin(), auiOf.end(), ui) != auiOf.end();
  };
  for (std::size_t i = 0; i < as.size() && i < c_uiKept; ++i) {
    const std::uint64_t uiPeriod = as[i].sGrid.uiRowBits / 8;
    for (std::uint64_t uiParts = 2; uiParts <= 4 && as[i].sGrid.uiRowBits % 8 == 0; ++uiParts) {
      const std::uint64_t uiPart = uiPeriod / uiParts;
      if (uiPeriod % uiParts == 0 && uiPart >= 16 && !Has(auiTried, uiPart) && !Has(aui, uiPart))
        aui.push_back(uiPart);
    }
  }
  return aui;
}

// The same with more rows, and with periods that are almost the same.
std::vector<Trial> Fine(const File &sFile, const std::vector<Trial> &asCoarse) {
  std::vector<Trial> as;
  for (std::size_t i = 0; i < c_uiKept && i < asCoarse.size(); ++i) Try(sFile, asCoarse[i].sGrid, true, as);
  std::sort(as.begin(), as.end(), Better);
  std::vector<Grid> asGrids;
  for (std::size_t i = 0; i < 2 && i < as.size(); ++i) {
    const Grid sGrid = as[i].sGrid;
    if (sGrid.uiRowBits % 8 != 0) continue;
    // Where noise is stronger than what it lies on, a mosaic is as good an explanation as a grey frame.
    if (sGrid.sLayout.ePattern == Pattern::Bayer) {
      asGrids.push_back(sGrid);
      asGrids.back().sLayout.ePattern = Pattern::Grey;
    }
    const std::uint64_t uiPeriod = sGrid.uiRowBits / 8;
    for (std::uint64_t ui = uiPeriod - std::min<std::uint64_t>(uiPeriod - 1, 4); ui <= uiPeriod + 4; ++ui)
      if (ui != uiPeriod) AddGrids(sFile, sGrid.sLayout, ui, 0, asGrids);
  }
  for (const Grid &s : asGrids) Try(sFile, s, true, as);
  std::sort(as.begin(), as.end(), Better);
  return as;
}

bool SameFrame(const kivo_candidate &a, const kivo_candidate &b) noexcept {
  return a.code == b.code && a.width == b.width && a.height == b.height && a.offset == b.offset &&
         a.stride == b.stride && a.byte_order == b.byte_order;
}

void Add(std::vector<kivo_candidate> &as, const Trial &sTrial, const kivo_format *psFormat,
         std::uint32_t uiHeight) {
  if (psFormat == nullptr) return;
  kivo_candidate s = {};
  s.code = psFormat->code;
  s.width = sTrial.sPlace.uiWidth;
  s.height = uiHeight;
  s.byte_order = sTrial.sGrid.sLayout.eKind == Kind::Big ? KIVO_BIG_ENDIAN : KIVO_LITTLE_ENDIAN;
  s.offset = sTrial.sPlace.uiOffset;
  const std::uint64_t uiRow = RowBytes(*psFormat, s.width);
  s.stride = sTrial.sPlace.uiRowBytes == uiRow ? 0 : sTrial.sPlace.uiRowBytes;
  s.bits = sTrial.sCost.dBitsPerByte;
  if (std::none_of(as.begin(), as.end(), [&s](const auto &sOther) { return SameFrame(s, sOther); }))
    as.push_back(s);
}

std::vector<kivo_candidate> Candidates(const File &sFile) {
  std::vector<std::uint64_t> auiPeriods = RowPeriods(sFile, c_uiPeriods);
  const std::uint64_t uiLongest = std::min(c_uiLongestRow, sFile.uiBytes / 2);
  std::erase_if(auiPeriods, [&](std::uint64_t ui) { return ui > uiLongest; });
  std::vector<Trial> asCoarse;
  Coarse(sFile, auiPeriods, asCoarse);
  Coarse(sFile, FractionsOf(asCoarse, auiPeriods), asCoarse);
  std::vector<Trial> as = Fine(sFile, asCoarse);
  if (as.size() > c_uiPlaced) as.resize(c_uiPlaced);
  for (Trial &s : as) {
    s.sPlace = PlaceOf(sFile, s.sGrid, s.sCost);
    s.sCost.dBitsPerByte = s.sPlace.dBitsPerByte;
    if (s.sPlace.uiWidth != 0) s.dDoubt = DoubtOf(sFile, s.sGrid, s.sPlace);
    s.dScore = ScoreOf(sFile, s);
  }
  std::erase_if(as, [](const Trial &s) { return s.sPlace.uiWidth == 0; });
  std::stable_sort(as.begin(), as.end(), Better);
  std::vector<kivo_candidate> asFound;
  for (const Trial &s : as) {
    const FormatPair sPair = FormatsAt(sFile, s.sGrid, s.sPlace);
    Add(asFound, s, sPair.psFirst, sPair.uiHeight);
    Add(asFound, s, sPair.psSecond, sPair.uiHeight);
  }
  return asFound;
}

}  // namespace
}  // namespace Kivo::Guess

using namespace Kivo::Guess;

kivo_status kivo_guess(const void *data, size_t size, uint64_t file_bytes, kivo_candidate *candidates,
                       size_t most, size_t *count) KIVO_NOEXCEPT {
  if (count != nullptr) *count = 0;
  if (data == nullptr || candidates == nullptr || count == nullptr) return KIVO_NULL_POINTER;
  const std::size_t uiHead =
      static_cast<std::size_t>(std::min({std::uint64_t{size}, std::uint64_t{KIVO_GUESS_BYTES}, file_bytes}));
  const File sFile = {static_cast<const std::uint8_t *>(data), uiHead, file_bytes};
  // Nothing to be told apart.
  if (uiHead < 64 || file_bytes > c_uiLongestFile ||
      std::all_of(sFile.puc, sFile.puc + uiHead, [&](std::uint8_t uc) { return uc == *sFile.puc; }))
    return KIVO_OK;
  try {
    const std::vector<kivo_candidate> as = Candidates(sFile);
    *count = std::min(most, as.size());
    std::copy_n(as.begin(), *count, candidates);
  } catch (const std::bad_alloc &) {
    return KIVO_OUT_OF_MEMORY;
  }
  return KIVO_OK;
}
