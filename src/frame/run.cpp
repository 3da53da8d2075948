// SPDX-License-Identifier: Apache-2.0
#include "frame/run.h"

#include <algorithm>
#include <cstring>

#include "frame/frame_targets.h"
#include "frame/source.h"
#include "simd/stream_fence.h"
#include "simd/tiles.h"

namespace Kivo {
namespace {

// A kernel of runs, and how many of its items so many pixels are.
struct PixelRun {
  RunKernel pfn;
  std::size_t uiItems, uiPixels;
};

// Chroma and luma as the kernel meets them: in the order of the frame unless a stage has put chroma first.
YuvLayout LayoutOf(const kivo_plan &s) noexcept {
  const bool bLumaFirst = s.psFormat->packing == KIVO_LUMA_FIRST && s.uiStages == 0;
  switch (s.psPlain->group_pixels) {
    case 1:
      return YuvLayout::Uyv;
    case 2:
      return bLumaFirst ? YuvLayout::Yuyv : YuvLayout::Uyvy;
    default:
      return bLumaFirst ? YuvLayout::Yyuyyv : YuvLayout::Uyyvyy;
  }
}

// The kernel that makes pictures of bytes from plain samples. bRedFirst: as if the picture were.
PixelRun FusedRun(const kivo_plan &s, Output eOut, bool bRedFirst) noexcept {
  const Kernels &k = ActiveKernels();
  const bool bWords = IsWords(s);
  switch (s.psPlain->family) {
    case KIVO_RGB:
      // Samples in the order of the picture go through the kernels that are named after BGR.
      if (BlueFirst(*s.psPlain) != bRedFirst) {
        if (bWords) return {k.psMonoRgb16->apfnBGR[eOut], 1, 1};
        return eOut == c_eBGRA ? PixelRun{k.psMonoRgb8->pfnBGRToBGRA, 1, 1}
                               : PixelRun{k.psReverse->pfnCopy, 3, 1};
      }
      return {bWords ? k.psMonoRgb16->apfnRGB[eOut] : k.psMonoRgb8->apfnRGB[eOut], 1, 1};
    case KIVO_YUV:
      return {ActiveFrameKernels().psYuvFrames->apfn[static_cast<unsigned>(LayoutOf(s))]
                                                    [static_cast<unsigned>(MatrixOf(*s.psPlain))][eOut],
              1, s.psPlain->group_pixels};
    default:
      return {bWords ? k.psMonoRgb16->apfnMono[eOut] : k.psMonoRgb8->apfnMono[eOut], 1, 1};
  }
}

constexpr PictureKind KindOf(const PixelsOf &s, bool bMono) noexcept {
  const bool bWords = s.uiBits == 16;
  if (s.bGrey && bMono) return bWords ? PictureKind::Mono16 : PictureKind::Mono8;
  if (s.bGrey) return bWords ? PictureKind::Gray16 : PictureKind::Gray8;
  if (s.bAlpha) return bWords ? PictureKind::Bgra16 : PictureKind::Bgra8;
  return bWords ? PictureKind::Bgr16 : PictureKind::Bgr8;
}

constexpr bool BeginsWithGreen(BayerOrder eOrder) noexcept {
  return eOrder == BayerOrder::GR || eOrder == BayerOrder::GB;
}

// Rows of one picture from one frame. Rows are those of the region as the camera saw it, top row first, until
// they reach the picture.
class Maker {
 public:
  Maker(const kivo_plan &sPlan, const kivo_frame &sFrame, const kivo_picture &sPicture,
        std::uint8_t *pucScratch) noexcept
      : m_s(sPlan), m_l(sPlan.sScratch), m_sSource(sPlan, sFrame) {
    // The offsets are aligned, and leave room for aligning what they are added to.
    m_pucScratch = pucScratch - reinterpret_cast<std::uintptr_t>(pucScratch) % 64;
    // A single row knows no stride, however extreme.
    const bool bPacked = sPicture.stride == 0 || sPlan.uiPictureHeight == 1;
    const std::ptrdiff_t iStride =
        bPacked ? static_cast<std::ptrdiff_t>(sPlan.uiPictureRow) : sPicture.stride;
    const bool bUpward = (iStride < 0) != sPlan.bFlip;
    m_iPitch = sPlan.bFlip ? -iStride : iStride;
    m_pucFirst = static_cast<std::uint8_t *>(sPicture.data);
    if (bUpward) m_pucFirst -= static_cast<std::ptrdiff_t>(sPlan.uiPictureHeight - 1) * m_iPitch;
    m_sSpaces = {{m_pucScratch + m_l.auiSpaces[0], m_pucScratch + m_l.auiSpaces[1]}};
    m_bStream = sPlan.uiHint == KIVO_HINT_STREAMED ||
                (sPlan.uiHint == KIVO_HINT_AUTO && StreamingPays(sPlan.uiFrameBytes, sPlan.uiPictureBytes));
  }

  void Make(std::size_t y, std::size_t uiRows) const noexcept {
    MakeByCourse(y, uiRows);
    StreamFence(m_bStream);
  }

 private:
  void MakeByCourse(std::size_t y, std::size_t uiRows) const noexcept {
    switch (m_s.eCourse) {
      case Course::Copy:
      case Course::Fused:
        if (m_sSource.IsDirect()) {
          MakeDirectly(y, uiRows);
          break;
        }
        if (MakePackedMono(y, uiRows)) break;
        [[fallthrough]];
      case Course::Swapped:
      case Course::Planes:
        MakeByPieces(y, uiRows);
        break;
      case Course::Mosaic:
      case Course::MosaicPlanes:
      case Course::MosaicColours:
        MakeMosaic(y, uiRows);
        break;
      case Course::Half:
        MakeHalf(y, uiRows);
        break;
    }
  }

  std::uint8_t *Out(std::size_t y) const noexcept {
    return m_pucFirst + static_cast<std::ptrdiff_t>(y) * m_iPitch;
  }
  std::size_t PixelBytes() const noexcept { return m_s.sPixels.uiBytes; }
  Output OutputKind() const noexcept { return m_s.sPixels.bAlpha ? c_eBGRA : c_eBGR; }
  std::uint16_t *Plane(unsigned uiRow, unsigned i) const noexcept {
    return reinterpret_cast<std::uint16_t *>(m_pucScratch + m_l.uiPlanes +
                                             (3 * uiRow + i) * m_l.uiPlanePitch);
  }
  static void Convert(const PixelRun &sRun, std::uint8_t *pucDst, const std::uint8_t *pucSrc, std::size_t n,
                      unsigned uiShift, bool bStream) noexcept {
    sRun.pfn({pucDst, 0, pucSrc, 0, n * sRun.uiItems / sRun.uiPixels, 1, uiShift, bStream});
  }
  PixelRun CopyRun() const noexcept {
    return {ActiveKernels().psReverse->pfnCopy, m_s.psPlain->group_bytes, m_s.psPlain->group_pixels};
  }

  // Rows of the frame straight to rows of the picture; all of them as one where there are no gaps.
  void MakeDirectly(std::size_t y, std::size_t uiRows) const noexcept {
    const PixelRun sRun =
        m_s.eCourse == Course::Copy ? CopyRun() : FusedRun(m_s, OutputKind(), m_s.sPixels.bRedFirst);
    const std::size_t uiItems = m_s.uiWidth * sRun.uiItems / sRun.uiPixels;
    const bool bOne = m_sSource.IsGapless() && m_iPitch == static_cast<std::ptrdiff_t>(m_s.uiPictureRow);
    sRun.pfn({Out(y), m_iPitch, m_sSource.Row(y), m_sSource.Pitch(), bOne ? uiItems * uiRows : uiItems,
              bOne ? 1 : uiRows, m_s.uiShift, m_bStream});
  }

  // The same where the only stage unpacks grey samples, if a kernel does that and the rest at once.
  bool MakePackedMono(std::size_t y, std::size_t uiRows) const noexcept {
    const auto uiPacking = static_cast<unsigned>(m_s.asStages[0].eUnpack);
    if (m_s.eCourse != Course::Fused || m_s.uiStages != 1 || uiPacking >= c_uiMonoPackings ||
        m_s.psFormat->channels != 1)
      return false;
    const bool bOne = m_sSource.IsGapless() && m_iPitch == static_cast<std::ptrdiff_t>(m_s.uiPictureRow);
    const std::size_t uiRuns = bOne ? 1 : uiRows;
    if (!m_sSource.BeginWithGroups(y, uiRuns)) return false;
    const std::uint8_t *const pucFirst = m_sSource.Near(y, 0);
    ActiveFrameKernels().psPackedMono->apfn[uiPacking][OutputKind()](
        {Out(y), m_iPitch, pucFirst, m_sSource.Near(y + 1, 0) - pucFirst, m_s.uiWidth * uiRows / uiRuns,
         uiRuns, m_s.uiShift, m_bStream});
    return true;
  }

  void MakeByPieces(std::size_t y, std::size_t uiRows) const noexcept {
    // The gains of a mosaic know one row from the next.
    const bool bAlike = !m_s.sColour.bOn || m_s.psPlain->family != KIVO_BAYER;
    const bool bOne = m_sSource.IsGapless() && bAlike && !m_s.bMirrorSamples &&
                      m_iPitch == static_cast<std::ptrdiff_t>(m_s.uiPictureRow);
    const std::size_t uiWidth = bOne ? m_s.uiWidth * uiRows : m_s.uiWidth;
    for (std::size_t uiEnd = bOne ? y + 1 : y + uiRows; y < uiEnd; ++y) {
      for (std::size_t x = 0; x < uiWidth; x += m_l.uiPiece)
        MakePiece(y, x, std::min(uiWidth - x, m_l.uiPiece));
    }
  }

  // The samples of a piece, in the frame or brought to the scratch memory.
  const std::uint8_t *Samples(std::size_t y, std::size_t x, std::size_t n) const noexcept {
    if (m_sSource.IsDirect()) return m_sSource.Row(y) + PlainBytes(*m_s.psPlain, x);
    std::uint8_t *const puc = m_pucScratch + m_l.uiSamples;
    m_sSource.Bring(y, x, n, puc, m_sSpaces);
    return puc;
  }

  void MakePiece(std::size_t y, std::size_t x, std::size_t n) const noexcept {
    if (m_s.eCourse == Course::Copy) {
      m_sSource.BringTightly(y, x, n, Out(y) + PlainBytes(*m_s.psPlain, x), m_sSpaces);
      return;
    }
    const std::uint8_t *const pucSamples = Samples(y, x, n);
    std::uint8_t *const pucDst = Out(y) + x * PixelBytes();
    const Output eOut = OutputKind();
    if (m_s.eCourse == Course::Fused) {
      Convert(FusedRun(m_s, eOut, m_s.sPixels.bRedFirst), pucDst, pucSamples, n, m_s.uiShift, m_bStream);
    } else if (m_s.eCourse == Course::Swapped) {
      std::uint8_t *const pucOut = m_pucScratch + m_l.uiOut;
      Convert(FusedRun(m_s, c_eBGR, false), pucOut, pucSamples, n, m_s.uiShift, false);
      Convert({ActiveKernels().psMonoRgb8->apfnRGB[eOut], 1, 1}, pucDst, pucOut, n, 0, m_bStream);
    } else {
      Paint(pucDst, Finish(ToPlanes(pucSamples, n), 0, n), n);
    }
  }

  struct Planes {
    const std::uint16_t *apus[3];  // in the order of the picture's bytes; blue first for its luma
  };

  // Rows of words from a piece of plain samples.
  Planes ToPlanes(const std::uint8_t *pucSamples, std::size_t n) const noexcept {
    const PlanesKernels &k = *ActiveFrameKernels().psPlanes;
    std::uint16_t *const apus[3] = {Plane(0, 0), Plane(0, 1), Plane(0, 2)};
    if (m_s.psPlain->channels == 1) {
      const std::uint16_t *pus = apus[0];
      if (!IsWords(m_s)) {
        k.pfnWiden(apus[0], pucSamples, n);
      } else if (reinterpret_cast<std::uintptr_t>(pucSamples) % 2 != 0) {
        std::memcpy(apus[0], pucSamples, 2 * n);
      } else {
        pus = reinterpret_cast<const std::uint16_t *>(pucSamples);
      }
      return {{pus, pus, pus}};
    }
    bool bBlueFirst = true;
    if (m_s.psPlain->family == KIVO_YUV) {
      std::uint8_t *const pucOut = m_pucScratch + m_l.uiOut;
      Convert(FusedRun(m_s, c_eBGR, false), pucOut, pucSamples, n, 0, false);
      k.pfnBytes(apus, pucOut, n);
    } else {
      bBlueFirst = BlueFirst(*m_s.psPlain);
      (IsWords(m_s) ? k.pfnWords : k.pfnBytes)(apus, pucSamples, n);
    }
    const bool bExchange = bBlueFirst == m_s.sPixels.bRedFirst;
    return {{apus[bExchange ? 2 : 0], apus[1], apus[bExchange ? 0 : 2]}};
  }

  // The matrix and the tone, to the planes of row i of a band.
  Planes Finish(const Planes &sPlanes, unsigned i, std::size_t n) const noexcept {
    const Colour &c = m_s.sColour;
    if (!c.bFinish) return sPlanes;
    const ColourKernels &k = *ActiveFrameKernels().psColour;
    const bool bMono = sPlanes.apus[0] == sPlanes.apus[1];
    const unsigned uiPlanes = bMono ? 1 : 3;
    unsigned uiUp = DoublingLeft(m_s);
    // Each plane stays where it is.
    const unsigned uiFirst = sPlanes.apus[0] > sPlanes.apus[2] ? 2 : 0;
    std::uint16_t *const apus[3] = {Plane(i, uiFirst), Plane(i, 1), Plane(i, 2 - uiFirst)};
    Planes s = sPlanes;
    if (c.bMatrix) {
      MatrixJob sJob = {};
      for (unsigned p = 0; p < 3; ++p) {
        sJob.apusDst[p] = apus[p];
        sJob.apusSrc[p] = s.apus[p];
        s.apus[p] = apus[p];
      }
      sJob.n = n;
      std::memcpy(sJob.aasRows, c.aasMatrix, sizeof sJob.aasRows);
      sJob.uiUp = uiUp;
      k.pfnMatrix(sJob);
      uiUp = 0;
    }
    if (CurveOfPicture() == nullptr && (m_s.sPixels.uiBits == 16 || c.pucTone != nullptr)) {
      for (unsigned p = 0; p < uiPlanes; ++p) {
        k.pfnTone({apus[p], s.apus[p], n, uiUp, c.uiDown, c.pucTone.get(), c.pusTone.get()});
        s.apus[p] = apus[p];
      }
      if (bMono) s.apus[1] = s.apus[2] = s.apus[0];
    }
    return s;
  }

  // The curve that a kernel applies while it stores.
  const ToneCurve *CurveOfPicture() const noexcept {
    return ActiveFrameKernels().psPicture->bCurves ? m_s.sColour.psCurve.get() : nullptr;
  }

  void Paint(std::uint8_t *pucDst, const Planes &sPlanes, std::size_t n) const noexcept {
    const PictureKind eKind = KindOf(m_s.sPixels, sPlanes.apus[0] == sPlanes.apus[1]);
    PictureJob sJob = {};
    sJob.pucDst = pucDst;
    for (unsigned i = 0; i < 3; ++i) sJob.apusPlanes[i] = sPlanes.apus[i];
    sJob.n = n;
    sJob.psCurve = CurveOfPicture();
    sJob.uiShift = sJob.psCurve != nullptr ? m_s.sColour.uiDown : m_s.uiShift;
    sJob.uiDepth = m_s.psPlain->plain_depth;
    sJob.bSpread = m_s.bSpread && !m_s.sColour.bOn;
    sJob.bMirror = m_s.bMirror && !m_s.bMirrorSamples;
    sJob.bStream = m_bStream;
    ActiveFrameKernels().psPicture->apfn[static_cast<unsigned>(eKind)](sJob);
  }

  // Where column x of a row goes, of n columns that are turned round if the picture is and its samples are
  // not.
  std::uint8_t *OutColumns(std::size_t y, std::size_t x, std::size_t n) const noexcept {
    const bool bFromRight = m_s.bMirror && !m_s.bMirrorSamples;
    return Out(y) + (bFromRight ? m_s.uiPictureWidth - x - n : x) * PixelBytes();
  }

  void MakeMosaic(std::size_t y, std::size_t uiRows) const noexcept {
    const bool bAdaptive = m_s.uiBayer == KIVO_BAYER_ACPI;
    // Bytes that are to become words are widened on their way into the ring.
    const MosaicPlanesKernels &p = *ActiveFrameKernels().psMosaicPlanes;
    MosaicKernel pfn = bAdaptive ? p.pfnAdaptive : m_s.sColour.bFinish ? p.pfnDoubled : p.pfnStandard;
    if (m_s.eCourse == Course::Mosaic && m_s.sPixels.uiBits == 16) {
      pfn = p.apfnWords[OutputKind()];
    } else if (m_s.eCourse == Course::Mosaic) {
      const Kernels &k = ActiveKernels();
      const bool bWords = IsWords(m_s);
      pfn = (bAdaptive ? (bWords ? p.apfnAdaptiveSlim : k.psAcpi8->apfn)
             : bWords  ? k.psBayer16->apfn
                       : k.psBayer8->apfn)[OutputKind()];
    }
    for (std::size_t uiEnd = 0; uiEnd < m_s.uiWidth;) {
      const Tile sTile =
          NextTile(uiEnd, m_s.uiWidth, bAdaptive ? c_uiAcpiApron : c_uiBayerApron, m_l.uiPiece);
      MakeTile(pfn, sTile, y, uiRows);
      uiEnd = sTile.uiEnd;
    }
  }

  void MakeTile(MosaicKernel pfn, const Tile &sTile, std::size_t uiFirst, std::size_t uiRows) const noexcept {
    const bool bAdaptive = m_s.uiBayer == KIVO_BAYER_ACPI;
    const bool bRing = !m_sSource.IsDirect() || MosaicOfWords(m_s) != IsWords(m_s);
    const bool bThroughOut = m_l.uiOut != 0;
    const bool bWhole = !bRing && m_s.eCourse == Course::Mosaic && !bThroughOut;
    const bool bColours = m_s.eCourse == Course::MosaicColours;

    GreenRing sGreens = {m_pucScratch + m_l.uiGreens, m_l.uiGreensPitch};
    MosaicJob sJob = {};
    sJob.pucSrc = m_pucScratch + m_l.uiSamples;
    sJob.iSrcPitch = static_cast<std::ptrdiff_t>(m_l.uiSamplesPitch);
    sJob.uiRowMask = m_l.uiRingRows - 1;
    if (!bRing) {
      sJob.pucSrc = m_sSource.Row(0) + sTile.uiFirst * m_s.psPlain->plain_bytes;
      sJob.iSrcPitch = m_sSource.Pitch();
      sJob.uiRowMask = ~std::size_t{0};
    }
    sJob.iDstPitch = m_iPitch;
    if (bThroughOut) sJob.iDstPitch = static_cast<std::ptrdiff_t>(m_l.uiOutPitch);
    if (m_s.eCourse == Course::MosaicPlanes)
      sJob.iDstPitch = static_cast<std::ptrdiff_t>(3 * m_l.uiPlanePitch);
    sJob.iPlanePitch = static_cast<std::ptrdiff_t>(m_l.uiPlanePitch);
    sJob.uiWidth = sTile.uiWidth;
    sJob.uiHeight = m_s.uiHeight;
    sJob.bLeftEdge = sTile.bLeftEdge;
    sJob.bRightEdge = sTile.bRightEdge;
    sJob.eOrder = OrderOf(m_s);
    sJob.uiShift = m_s.uiShift;
    // The adaptive demosaic counts them; words that stay are spread from 16 bits.
    sJob.uiDepth = bAdaptive || m_s.bSpread ? m_s.psPlain->plain_depth : 16;
    sJob.bRedFirst = m_s.sPixels.bRedFirst;
    sJob.bStream = m_bStream && !bThroughOut;
    sJob.psGreens = &sGreens;
    if (bColours) {
      sJob.pucSrc += (sTile.uiStart - sTile.uiFirst) * 2;
      sJob.uiWidth = sTile.uiEnd - sTile.uiStart;
    }

    const bool bFollowed = !bRing && m_s.uiFrameRow > c_uiShortRow;
    const bool bFetch = m_s.uiHeight > 1 && (bColours || (m_bStream && !bFollowed));
    const std::size_t uiColumn = m_s.bMirrorSamples ? m_s.uiWidth - sTile.uiEnd : sTile.uiStart;
    if (bFetch) sJob.iAheadPitch = m_sSource.Near(1, uiColumn) - m_sSource.Near(0, uiColumn);
    sJob.uiAheadBits = std::size_t{8} * m_s.psFormat->group_bytes / m_s.psFormat->group_pixels;
    const std::size_t uiReach = bAdaptive ? 3 : 1;
    std::size_t uiNext = uiFirst < uiReach ? 0 : uiFirst - uiReach;  // the next row that the ring lacks
    std::size_t uiBand = bWhole ? uiRows : m_l.uiBand;
    // Coloured rows are done in pairs, from one on that begins with green.
    if (bColours && BeginsWithGreen(OrderOf(m_s)) != (uiFirst % 2 == 0)) --uiBand;
    for (std::size_t y = uiFirst; y < uiFirst + uiRows;
         y += sJob.uiRows, uiBand = bWhole ? uiRows : m_l.uiBand) {
      sJob.uiFirst = y;
      sJob.uiRows = std::min(uiBand, uiFirst + uiRows - y);
      if (bRing) {
        const std::size_t uiNeeded = std::min<std::size_t>(y + sJob.uiRows + uiReach, m_s.uiHeight);
        for (; uiNext < uiNeeded; ++uiNext) BringToRing(uiNext, sTile);
      }
      if (m_s.eCourse == Course::MosaicPlanes) {
        sJob.pucDst = reinterpret_cast<std::uint8_t *>(Plane(0, 0));
      } else if (bThroughOut) {
        sJob.pucDst = m_pucScratch + m_l.uiOut;
      } else {
        sJob.pucDst = Out(y) + (bColours ? sTile.uiStart : sTile.uiFirst) * PixelBytes();
      }
      sJob.pucAhead = bFetch ? m_sSource.Near(y, uiColumn) : nullptr;
      if (bColours) {
        MakeColours(sJob, sTile);
        continue;
      }
      pfn(sJob);
      if (m_s.eCourse == Course::MosaicPlanes || bThroughOut) StoreBand(sTile, y, sJob.uiRows);
    }
  }

  // Rows of pixels in colour.
  void MakeColours(const MosaicJob &sJob, const Tile &sTile) const noexcept {
    const Colour &c = m_s.sColour;
    FinishJob s = {};
    if (c.bMatrix) s.pasRows = c.aasMatrix;
    s.pucTable = c.pucTone.get();
    s.psCurve = c.psCurve.get();
    const std::size_t uiEnd = std::min(sJob.uiFirst + sJob.uiRows + 1, sJob.uiHeight);
    for (std::size_t y = sJob.uiFirst == 0 ? 0 : sJob.uiFirst - 1; y < uiEnd; ++y) {
      if (sTile.bLeftEdge) Pad(sJob, sTile, y, true);
      if (sTile.bRightEdge) Pad(sJob, sTile, y, false);
    }
    ActiveFrameKernels().psColouredMosaic->apfn[OutputKind()](sJob, s);
  }

  // What stands in for the neighbour that the outermost column lacks, see ColouredMosaicKernel.
  void Pad(const MosaicJob &sJob, const Tile &sTile, std::size_t y, bool bLeft) const noexcept {
    const std::size_t x = bLeft ? 0 : sJob.uiWidth - 1;
    const auto Row = [&](std::size_t uiRow) {
      return reinterpret_cast<std::uint16_t *>(RingRow(uiRow)) + (sTile.uiStart - sTile.uiFirst) + x;
    };
    std::uint16_t *const pus = Row(y);
    const std::uint32_t uiInner = pus[bLeft ? 1 : -1];
    std::uint16_t &usOuter = pus[bLeft ? -1 : 1];
    const bool bGreen = BeginsWithGreen(sJob.eOrder) == ((y + x) % 2 == 0);
    if (bGreen || y == 0 || y + 1 == sJob.uiHeight) {
      usOuter = static_cast<std::uint16_t>(uiInner);
    } else if (y >= sJob.uiFirst && y < sJob.uiFirst + sJob.uiRows) {
      const std::uint32_t uiSum = uiInner + *Row(y - 1) + *Row(y + 1);
      usOuter = static_cast<std::uint16_t>(2 * (2 * uiSum / 3) - uiSum);
    }
  }

  std::uint8_t *RingRow(std::size_t y) const noexcept {
    return m_pucScratch + m_l.uiSamples + (y & (m_l.uiRingRows - 1)) * m_l.uiSamplesPitch;
  }

  // Row y of the columns of a tile, as bytes or words as the kernel takes them.
  void BringToRing(std::size_t y, const Tile &sTile) const noexcept {
    std::uint8_t *const pucRow = RingRow(y);
    if (MosaicOfWords(m_s) == IsWords(m_s)) {
      m_sSource.Bring(y, sTile.uiFirst, sTile.uiWidth, pucRow, m_sSpaces);
      return;
    }
    const std::uint8_t *pucBytes;
    if (m_sSource.IsDirect()) {
      pucBytes = m_sSource.Row(y) + sTile.uiFirst;
    } else {
      // The last stage reads one of the spaces, and may write the other.
      std::uint8_t *const puc = m_sSpaces.apuc[m_s.uiStages % 2 == 0 ? 1 : 0];
      m_sSource.Bring(y, sTile.uiFirst, sTile.uiWidth, puc, m_sSpaces);
      pucBytes = puc;
    }
    ActiveFrameKernels().psPlanes->pfnWiden(reinterpret_cast<std::uint16_t *>(pucRow), pucBytes,
                                            sTile.uiWidth);
  }

  // The columns of a tile that are its own, from the scratch memory to the picture.
  void StoreBand(const Tile &sTile, std::size_t y, std::size_t uiRows) const noexcept {
    const std::size_t x = sTile.uiStart - sTile.uiFirst;
    const std::size_t n = sTile.uiEnd - sTile.uiStart;
    for (unsigned i = 0; i < uiRows; ++i) {
      std::uint8_t *const pucDst = OutColumns(y + i, sTile.uiStart, n);
      if (m_s.eCourse == Course::MosaicPlanes) {
        Paint(pucDst, Finish({{Plane(i, 0) + x, Plane(i, 1) + x, Plane(i, 2) + x}}, i, n), n);
      } else {
        const auto eUnit = m_s.sPixels.bAlpha ? ReverseUnit::Byte4 : ReverseUnit::Byte3;
        const std::uint8_t *const puc = m_pucScratch + m_l.uiOut + i * m_l.uiOutPitch + x * PixelBytes();
        ActiveKernels().psReverse->apfn[static_cast<unsigned>(eUnit)](
            {pucDst, 0, puc, 0, n, 1, 0, m_bStream});
      }
    }
  }

  void MakeHalf(std::size_t y, std::size_t uiRows) const noexcept {
    const HalfKernels &k = *ActiveFrameKernels().psHalf;
    const bool bWords = IsWords(m_s);
    std::uint16_t *const apus[3] = {Plane(0, 0), Plane(0, 1), Plane(0, 2)};
    const unsigned uiFirst = m_s.sPixels.bRedFirst ? 2 : 0;
    for (std::size_t uiEnd = y + uiRows; y < uiEnd; ++y) {
      for (std::size_t x = 0; x < m_s.uiPictureWidth; x += m_l.uiPiece) {
        const std::size_t n = std::min(m_s.uiPictureWidth - x, m_l.uiPiece);
        const std::uint8_t *apucRows[2];
        for (unsigned i = 0; i < 2; ++i) {
          std::uint8_t *const puc = m_pucScratch + m_l.uiSamples + i * m_l.uiSamplesPitch;
          if (!m_sSource.IsDirect()) m_sSource.Bring(2 * y + i, 2 * x, 2 * n, puc, m_sSpaces);
          apucRows[i] =
              m_sSource.IsDirect() ? m_sSource.Row(2 * y + i) + 2 * x * m_s.psPlain->plain_bytes : puc;
        }
        (bWords ? k.pfnWords : k.pfnBytes)(apus, apucRows[0], apucRows[1], n, OrderOf(m_s));
        Paint(OutColumns(y, x, n), Finish({{apus[uiFirst], apus[1], apus[2 - uiFirst]}}, 0, n), n);
      }
    }
  }

  const kivo_plan &m_s;
  const ScratchLayout &m_l;
  const Source m_sSource;
  Spaces m_sSpaces;
  std::uint8_t *m_pucScratch;
  std::uint8_t *m_pucFirst;
  std::ptrdiff_t m_iPitch;
  bool m_bStream;
};

}  // namespace

void MakeRows(const kivo_plan &sPlan, const kivo_frame &sFrame, const kivo_picture &sPicture,
              std::size_t uiFirst, std::size_t uiRows, std::uint8_t *pucScratch) noexcept {
  if (uiRows == 0) return;
  const Maker sMaker(sPlan, sFrame, sPicture, pucScratch);
  // A flipped picture's first rows are the last of the frame.
  sMaker.Make(sPlan.bFlip ? sPlan.uiPictureHeight - uiFirst - uiRows : uiFirst, uiRows);
}

}  // namespace Kivo
