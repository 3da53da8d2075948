// SPDX-License-Identifier: Apache-2.0
// How much memory a thread needs beside the frame and the picture. Pieces are chosen so that what passes
// through it stays in the first-level cache; rings of whole rows stay in the second.
#include <algorithm>

#include "frame/plan.h"
#include "frame/source.h"
#include "simd/tiles.h"

namespace Kivo {
namespace {

constexpr std::size_t c_uiAlignment = 64;
constexpr std::size_t c_uiVectorPixels = 64;  // that a kernel may store behind the last
constexpr std::size_t c_uiLeadBytes = 64;     // in front of samples, c_uiLeadSamples among them

// Plain samples of a piece, half as many where planes are made of them, and what its pixels are a multiple
// of: the groups of every format, and a line of any picture.
constexpr std::size_t c_uiPieceBytes = 8192;
constexpr std::size_t c_uiPieceStep = 64;
constexpr std::size_t c_uiPlanesTile = 2048;
constexpr std::size_t c_uiColourTile = 1024;  // planes that are read and written several times
constexpr std::size_t c_uiWalkedTile = 1024;

constexpr std::size_t Aligned(std::size_t uiBytes) noexcept {
  return (uiBytes + c_uiAlignment - 1) / c_uiAlignment * c_uiAlignment;
}

// Bytes that a pixel's plain samples take before the range, or behind the gain, at the most.
std::size_t SampleBytes(const kivo_plan &s) noexcept {
  const std::size_t uiChannels = s.psFormat->channels == 1 ? 1 : 3;
  return uiChannels * std::max(s.psFormat->plain_bytes, s.psPlain->plain_bytes);
}

}  // namespace

ScratchLayout LayOut(const kivo_plan &s) noexcept {
  ScratchLayout l = {};
  std::size_t uiNext = c_uiAlignment;  // the caller's memory may begin anywhere
  const auto Take = [&](std::size_t uiBytes) {
    const std::size_t ui = uiNext;
    uiNext += Aligned(uiBytes);
    return ui;
  };
  const auto TakeSamples = [&](std::size_t uiBytes) { return Take(c_uiLeadBytes + uiBytes) + c_uiLeadBytes; };

  const bool bColours = s.eCourse == Course::MosaicColours;
  const bool bMosaic = bColours || s.eCourse == Course::Mosaic || s.eCourse == Course::MosaicPlanes;
  const bool bAdaptive = s.uiBayer == KIVO_BAYER_ACPI;
  const bool bPlanes =
      s.eCourse == Course::Planes || s.eCourse == Course::MosaicPlanes || s.eCourse == Course::Half;
  // Where pixels of an adaptive mosaic come out of the scratch memory, or go through it, a kernel that walks
  // down its columns gets rows enough for a walk.
  const bool bThroughOut = s.eCourse == Course::Mosaic && s.bMirror && !s.bMirrorSamples;
  const bool bLong = s.eCourse == Course::Mosaic && bAdaptive && (s.uiStages != 0 || bThroughOut);
  if (bMosaic) {
    const std::size_t uiPlanesTile = s.sColour.bFinish ? c_uiColourTile : c_uiPlanesTile;
    const std::size_t uiTile = bPlanes ? uiPlanesTile : bLong ? c_uiWalkedTile : c_uiLargestTile;
    l.uiPiece = std::min<std::size_t>(uiTile, s.uiWidth);
  } else {
    l.uiPiece =
        (bPlanes ? c_uiPieceBytes / 2 : c_uiPieceBytes) / SampleBytes(s) / c_uiPieceStep * c_uiPieceStep;
  }
  // An adaptive band reads three rows more on either side, a standard one a row, out of the ring.
  l.uiBand = bLong ? 26 : bAdaptive ? 2 : 4;
  l.uiRingRows = bLong ? 32 : 8;

  // Bytes of the samples of a piece before the range, and of what a ring of a mosaic holds.
  const bool bWiden = bMosaic && MosaicOfWords(s) && !IsWords(s);
  const std::size_t uiPieceBytes = (s.eCourse == Course::Half ? 2 : 1) * l.uiPiece * SampleBytes(s);
  // A block that begins in the last column, and a column behind it.
  const std::size_t uiRoom = bColours ? 2 * c_uiVectorPixels : 0;
  const std::size_t uiRowBytes = bMosaic ? (l.uiPiece + uiRoom) * (MosaicOfWords(s) ? 2 : 1) : uiPieceBytes;
  for (std::size_t &uiSpace : l.auiSpaces) uiSpace = TakeSamples(s.uiStages != 0 ? uiPieceBytes : 0);
  l.uiSamplesPitch = Aligned(c_uiLeadBytes + uiRowBytes);
  if (s.uiStages != 0 || bWiden)
    l.uiSamples = TakeSamples(l.uiSamplesPitch * (bMosaic                     ? l.uiRingRows
                                                  : s.eCourse == Course::Half ? 2
                                                                              : 1));
  if (bPlanes) {
    l.uiPlanePitch = Aligned((l.uiPiece + c_uiVectorPixels) * 2);
    l.uiPlanes = Take(3 * l.uiPlanePitch * (bMosaic ? l.uiBand : 1));
  }
  if (bAdaptive) {
    l.uiGreensPitch = Aligned((l.uiPiece + GreenRing::c_uiRoom) * (MosaicOfWords(s) ? 2 : 1));
    l.uiGreens = Take(GreenRing::c_uiRows * l.uiGreensPitch);
  }
  if (s.eCourse == Course::Swapped || (s.psPlain->family == KIVO_YUV && bPlanes) || bThroughOut) {
    l.uiOutPitch = Aligned(l.uiPiece * 4);
    l.uiOut = Take(l.uiOutPitch * l.uiBand);
  }
  l.uiTotal = uiNext;
  return l;
}

}  // namespace Kivo
