// SPDX-License-Identifier: Apache-2.0
#include "frame/source.h"

#include <cstring>

#include "frame/frame_targets.h"

namespace Kivo {
namespace {

// Samples that share a group of bytes, and the bytes.
struct Group {
  std::size_t uiSamples, uiBytes;
};

Group GroupOf(Unpack eUnpack) noexcept {
  switch (eUnpack) {
    case Unpack::P10:
      return {4, 5};
    case Unpack::P12:
    case Unpack::Packed10:
    case Unpack::Packed12:
      return {2, 3};
    case Unpack::P14:
      return {4, 7};
    case Unpack::Bits1:
      return {8, 1};
    case Unpack::Bits2:
      return {4, 1};
    case Unpack::Bits4:
      return {2, 1};
    default:
      return {1, 0};
  }
}

// How a row of plain samples is turned round.
ReverseUnit UnitOf(const kivo_format &sPlain) noexcept {
  const bool bBytes = sPlain.plain_bytes == 1;
  switch (sPlain.family) {
    case KIVO_RGB:
      return bBytes ? ReverseUnit::Byte3 : ReverseUnit::Byte6;
    case KIVO_YUV:
      return sPlain.group_pixels == 1   ? ReverseUnit::Byte3
             : sPlain.group_pixels == 2 ? ReverseUnit::Yuv422
                                        : ReverseUnit::Yuv411;
    default:
      return bBytes ? ReverseUnit::Byte1 : ReverseUnit::Byte2;
  }
}

}  // namespace

Source::Source(const kivo_plan &sPlan, const kivo_frame &sFrame) noexcept
    : m_sPlan(sPlan),
      m_sKernels(ActiveKernels()),
      m_sFrameKernels(ActiveFrameKernels()),
      m_pucFirst(static_cast<const std::uint8_t *>(sFrame.data)),
      m_iPitch(sFrame.stride),
      m_bStream(sFrame.stride == 0 && SharesBytes(*sPlan.psFormat)),
      m_uiSkipped(std::size_t{sPlan.uiX} / sPlan.psFormat->group_pixels * sPlan.psFormat->group_bytes) {
  // A single row knows no stride, however extreme.
  const bool bOneRow = sPlan.uiFrameHeight == 1 && Planes(*sPlan.psFormat) == 1;
  if (m_iPitch == 0 || bOneRow) m_iPitch = static_cast<std::ptrdiff_t>(sPlan.uiFrameRow);
}

// A negative pitch turns each plane round on its own.
const std::uint8_t *Source::Plane(std::uint32_t uiPlane, std::size_t y) const noexcept {
  const auto iRows = static_cast<std::ptrdiff_t>(m_sPlan.uiFrameHeight);
  const auto iRow = static_cast<std::ptrdiff_t>(y + m_sPlan.uiY);
  const auto iPlane = static_cast<std::ptrdiff_t>(uiPlane);
  if (m_iPitch >= 0) return m_pucFirst + (iPlane * iRows + iRow) * m_iPitch;
  return m_pucFirst + (iPlane * iRows + (iRows - 1 - iRow)) * -m_iPitch;
}

const std::uint8_t *Source::Near(std::size_t y, std::size_t x) const noexcept {
  const kivo_format &s = *m_sPlan.psFormat;
  const std::size_t uiRow = m_bStream ? (y + m_sPlan.uiY) * m_sPlan.uiFrameWidth : 0;
  return (m_bStream ? m_pucFirst : Plane(0, y)) + (uiRow + m_sPlan.uiX + x) * s.group_bytes / s.group_pixels;
}

bool Source::BeginWithGroups(std::size_t y, std::size_t uiRows) const noexcept {
  const std::size_t uiSamples = m_sPlan.psFormat->group_pixels;
  if (!m_bStream) return m_sPlan.uiX % uiSamples == 0;
  const std::size_t uiWidth = m_sPlan.uiFrameWidth;
  return ((y + m_sPlan.uiY) * uiWidth + m_sPlan.uiX) % uiSamples == 0 &&
         (uiRows == 1 || uiWidth % uiSamples == 0);
}

bool Source::IsGapless() const noexcept {
  return m_sPlan.uiWidth == m_sPlan.uiFrameWidth && m_sPlan.psFormat->packing != KIVO_PLANAR &&
         (m_bStream ||
          (!SharesBytes(*m_sPlan.psFormat) && m_iPitch == static_cast<std::ptrdiff_t>(m_sPlan.uiFrameRow)));
}

void Source::UnpackSamples(Unpack eUnpack, std::size_t y, std::size_t x, std::size_t n,
                           const std::uint8_t *pucFrom, std::uint8_t *pucDst) const noexcept {
  const UnpackKernel pfn = m_sFrameKernels.psUnpack->apfn[static_cast<unsigned>(eUnpack)];
  const kivo_format &sFormat = *m_sPlan.psFormat;
  const std::size_t uiChannels = sFormat.channels;
  if (pucFrom != nullptr) {  // samples of their own, as a stage before left them
    pfn(pucDst, pucFrom, n * uiChannels);
    return;
  }
  const Group sGroup = GroupOf(eUnpack);
  if (sGroup.uiBytes == 0) {
    // Pixels, or groups of them, that begin on a byte.
    const std::size_t uiItems = eUnpack == Unpack::DropAlpha ? n
                                : sFormat.family == KIVO_YUV ? n / sFormat.group_pixels
                                                             : n * uiChannels;
    pfn(pucDst, Row(y) + x / sFormat.group_pixels * sFormat.group_bytes, uiItems);
    return;
  }
  const std::size_t uiRow = m_bStream ? (y + m_sPlan.uiY) * m_sPlan.uiFrameWidth : 0;
  const std::uint8_t *const pucRow = m_bStream ? m_pucFirst : Plane(0, y);
  const std::size_t uiFirst = (uiRow + m_sPlan.uiX + x) * uiChannels;
  const std::size_t uiBefore = uiFirst % sGroup.uiSamples;
  pfn(pucDst - uiBefore * sFormat.plain_bytes, pucRow + uiFirst / sGroup.uiSamples * sGroup.uiBytes,
      uiBefore + n * uiChannels);
}

void Source::Gain(std::size_t y, std::size_t x, std::size_t n, const std::uint8_t *pucFrom,
                  std::uint8_t *pucDst) const noexcept {
  const kivo_format &sPlain = *m_sPlan.psPlain;
  const std::array<GainSite, 4> &as = m_sPlan.sColour.asGains;
  const ColourKernels &k = *m_sFrameKernels.psColour;
  const std::uint32_t uiBytes = m_sPlan.psFormat->plain_bytes;
  GainJob sJob = {};
  sJob.pusDst = reinterpret_cast<std::uint16_t *>(pucDst);
  sJob.pucSrc = pucFrom;
  sJob.n = n * sPlain.channels;
  sJob.uiSites = 2;
  sJob.uiDepth = m_sPlan.psFormat->plain_depth;
  if (sPlain.family == KIVO_RGB) {
    sJob.uiSites = 3;
    sJob.asSites[0] = as[BlueFirst(sPlain) ? 3 : 0];
    sJob.asSites[1] = as[1];
    sJob.asSites[2] = as[BlueFirst(sPlain) ? 0 : 3];
  } else if (sPlain.family == KIVO_MONO) {
    sJob.asSites[0] = sJob.asSites[1] = as[1];
  } else {
    const bool bGreenFirst = sPlain.order == KIVO_ORDER_GR || sPlain.order == KIVO_ORDER_GB;
    const bool bRedFirst = sPlain.order == KIVO_ORDER_GR || sPlain.order == KIVO_ORDER_RG;
    const bool bRed = bRedFirst == (y % 2 == 0);
    const bool bGreen = (bGreenFirst == (y % 2 == 0)) == (x % 2 == 0);
    sJob.asSites[bGreen ? 0 : 1] = as[bRed ? 1 : 2];
    sJob.asSites[bGreen ? 1 : 0] = as[bRed ? 0 : 3];
  }
  (uiBytes == 2 ? k.pfnGainWords : k.pfnGainBytes)(sJob);
}

void Source::Bring(std::size_t y, std::size_t x, std::size_t n, std::uint8_t *pucDst, const Spaces &sSpaces,
                   std::size_t uiStages) const noexcept {
  // The picture's columns from the right are the region's from the left.
  if (m_sPlan.bMirrorSamples) x = m_sPlan.uiWidth - x - n;
  const kivo_format &sFormat = *m_sPlan.psFormat;
  const std::uint32_t uiPlainBytes = sFormat.plain_bytes;
  const std::uint8_t *puc = nullptr;  // null: the frame itself
  for (std::size_t i = 0; i < uiStages; ++i) {
    std::uint8_t *const pucTo = i + 1 == uiStages ? pucDst : sSpaces.apuc[i % 2];
    const Stage &sStage = m_sPlan.asStages[i];
    const auto From = [&] {
      return puc != nullptr ? puc : Row(y) + x / sFormat.group_pixels * sFormat.group_bytes;
    };
    switch (sStage.eKind) {
      case Stage::Kind::Unpack:
        UnpackSamples(sStage.eUnpack, y, x, n, puc, pucTo);
        break;
      case Stage::Kind::Interleave: {
        const std::size_t uiOffset = (m_sPlan.uiX + x) * uiPlainBytes;
        const std::uint8_t *const apucPlanes[3] = {Plane(0, y) + uiOffset, Plane(1, y) + uiOffset,
                                                   Plane(2, y) + uiOffset};
        const PlanesKernels &sPlanes = *m_sFrameKernels.psPlanes;
        (uiPlainBytes == 2 ? sPlanes.pfnInterleaveWords : sPlanes.pfnInterleaveBytes)(pucTo, apucPlanes, n);
        break;
      }
      case Stage::Kind::Table: {
        const RangeKernels &sRange = *m_sFrameKernels.psRange;
        (uiPlainBytes == 2 ? sRange.pfnTableWords : sRange.pfnTableBytes)(pucTo, From(), n * sFormat.channels,
                                                                          m_sPlan.pucTable.get());
        break;
      }
      case Stage::Kind::Gain:
        Gain(y, x, n, From(), pucTo);
        break;
      case Stage::Kind::Reverse: {
        const auto eUnit = static_cast<unsigned>(UnitOf(*m_sPlan.psPlain));
        m_sKernels.psReverse->apfn[eUnit](
            {pucTo, 0, From(), 0, n / m_sPlan.psPlain->group_pixels, 1, 0, false});
        break;
      }
    }
    puc = pucTo;
  }
}

void Source::BringTightly(std::size_t y, std::size_t x, std::size_t n, std::uint8_t *pucDst,
                          const Spaces &sSpaces) const noexcept {
  const bool bGroups = SharesBytes(*m_sPlan.psFormat) && m_sPlan.uiStages == 1;
  std::uint8_t *const pucTo = bGroups ? sSpaces.apuc[0] : pucDst;
  Bring(y, x, n, pucTo, sSpaces);
  if (bGroups) std::memcpy(pucDst, pucTo, PlainBytes(*m_sPlan.psPlain, n));
}

}  // namespace Kivo
