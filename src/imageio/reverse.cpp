// SPDX-License-Identifier: Apache-2.0
// ReverseImg: mirrors, flips or turns a raw frame in the camera's own format. The formats it handles are its
// own list; it refuses RGB12 and 4:4:4, which lie between ones that it takes: a decision of this library.
#include <cstddef>
#include <cstdint>

#include "KivoCamUtl.h"
#include "simd/targets.h"

namespace Kivo {
namespace {

// What is moved as a whole: one pixel, or one YUV group whose luma samples are put in reverse order.
struct Unit {
  ReverseUnit eUnit;
  std::size_t uiBytes;
  std::size_t uiPixels;
};

// Null for a format that is not handled.
const Unit *FindUnit(uint32_t uiPixelFormat) noexcept {
  static constexpr Unit c_sByte1 = {ReverseUnit::Byte1, 1, 1};
  static constexpr Unit c_sByte2 = {ReverseUnit::Byte2, 2, 1};
  static constexpr Unit c_sByte3 = {ReverseUnit::Byte3, 3, 1};
  static constexpr Unit c_sByte6 = {ReverseUnit::Byte6, 6, 1};
  static constexpr Unit c_sYuv422 = {ReverseUnit::Yuv422, 4, 2};
  static constexpr Unit c_sYuv411 = {ReverseUnit::Yuv411, 6, 4};
  switch (uiPixelFormat) {
    case CAMUTL_PFNC_MONO8:
    case CAMUTL_PFNC_BAYER_GR8:
    case CAMUTL_PFNC_BAYER_RG8:
    case CAMUTL_PFNC_BAYER_GB8:
    case CAMUTL_PFNC_BAYER_BG8:
      return &c_sByte1;
    case CAMUTL_PFNC_MONO10:
    case CAMUTL_PFNC_MONO12:
    case CAMUTL_PFNC_MONO16:
    case CAMUTL_PFNC_BAYER_GR10:
    case CAMUTL_PFNC_BAYER_RG10:
    case CAMUTL_PFNC_BAYER_GB10:
    case CAMUTL_PFNC_BAYER_BG10:
    case CAMUTL_PFNC_BAYER_GR12:
    case CAMUTL_PFNC_BAYER_RG12:
    case CAMUTL_PFNC_BAYER_GB12:
    case CAMUTL_PFNC_BAYER_BG12:
      return &c_sByte2;
    case CAMUTL_PFNC_RGB8:
    case CAMUTL_PFNC_BGR8:
      return &c_sByte3;
    case CAMUTL_PFNC_RGB10:
    case CAMUTL_PFNC_BGR10:
    case CAMUTL_PFNC_BGR12:
      return &c_sByte6;
    case CAMUTL_PFNC_YUV422_8_UYVY:
      return &c_sYuv422;
    case CAMUTL_PFNC_YUV411_8_UYYVYY:
      return &c_sYuv411;
    default:
      return nullptr;
  }
}

class Reversal {
 public:
  Reversal(const Unit &sUnit, uint8_t *pucDst, const uint8_t *pucSrc, std::size_t uiWidth,
           std::size_t uiHeight) noexcept
      : m_sUnit(sUnit),
        m_pucDst(pucDst),
        m_pucSrc(pucSrc),
        m_uiWidth(uiWidth),
        m_uiHeight(uiHeight),
        m_uiFrameBytes(sUnit.uiBytes * (uiWidth * uiHeight) / sUnit.uiPixels),
        m_uiRowBytes(sUnit.uiBytes * uiWidth / sUnit.uiPixels),
        m_bStream(StreamingPays(m_uiFrameBytes)) {}

  void Copy() const noexcept { CopyBytes(m_pucDst, m_pucSrc, m_uiFrameBytes); }

  void Flip() const noexcept {
    if (m_uiRowBytes == 0) return;  // there may be 2^32 rows of nothing
    for (std::size_t y = 0; y < m_uiHeight; ++y) {
      CopyBytes(m_pucDst + y * m_uiRowBytes, m_pucSrc + (m_uiHeight - 1 - y) * m_uiRowBytes, m_uiRowBytes);
    }
  }

  // Whole units of each row, last unit first. Where the width does not divide into YUV groups, no row starts
  // where the one before ends: the last group of a row then lies uiAdvance after that of the row before, a
  // decision of this library that the header's source size for such widths includes.
  void Mirror() const noexcept {
    const std::size_t uiUnits = m_uiWidth / m_sUnit.uiPixels;
    const std::size_t uiUsed = uiUnits * m_sUnit.uiBytes;
    const std::size_t uiAdvance = 2 * m_sUnit.uiBytes * m_uiWidth / m_sUnit.uiPixels - uiUsed;
    if (uiUnits == 0) return;
    for (std::size_t y = 0; y < m_uiHeight; ++y) {
      ReverseUnits(m_pucDst + y * uiUsed, m_pucSrc + (m_uiRowBytes - uiUsed) + y * uiAdvance, uiUnits);
    }
  }

  // Whole units of the frame, counted from its end.
  void HalfTurn() const noexcept {
    const std::size_t uiUnits = m_uiWidth * m_uiHeight / m_sUnit.uiPixels;
    ReverseUnits(m_pucDst, m_pucSrc + (m_uiFrameBytes - uiUnits * m_sUnit.uiBytes), uiUnits);
  }

 private:
  void CopyBytes(uint8_t *pucDst, const uint8_t *pucSrc, std::size_t n) const noexcept {
    ActiveKernels().psReverse->pfnCopy(pucDst, pucSrc, n, m_bStream);
  }
  void ReverseUnits(uint8_t *pucDst, const uint8_t *pucSrc, std::size_t n) const noexcept {
    ActiveKernels().psReverse->apfn[static_cast<unsigned>(m_sUnit.eUnit)](pucDst, pucSrc, n, m_bStream);
  }

  const Unit &m_sUnit;
  uint8_t *m_pucDst;
  const uint8_t *m_pucSrc;
  std::size_t m_uiWidth, m_uiHeight;
  std::size_t m_uiFrameBytes, m_uiRowBytes;
  bool m_bStream;
};

}  // namespace
}  // namespace Kivo

using namespace Kivo;

CamUtlStatus ReverseImg(uint8_t *pucDst, const uint8_t *pucSrc, uint32_t uiPixelFormat, uint32_t uiWidth,
                        uint32_t uiHeight, CamUtlFlag bHorizontal, CamUtlFlag bVertical) CAMUTL_NOEXCEPT {
  if (pucDst == nullptr || pucSrc == nullptr) return CAMUTL_STS_INVALID_PARAMETER;
  const Unit *const psUnit = FindUnit(uiPixelFormat);
  if (psUnit == nullptr) return CAMUTL_STS_UNSUPPORTED_FORMAT;
  const Reversal sReversal(*psUnit, pucDst, pucSrc, uiWidth, uiHeight);
  // A flag is set only when its byte is exactly 1.
  if (bHorizontal == 1) {
    bVertical == 1 ? sReversal.HalfTurn() : sReversal.Mirror();
  } else {
    bVertical == 1 ? sReversal.Flip() : sReversal.Copy();
  }
  return CAMUTL_STS_SUCCESS;
}
