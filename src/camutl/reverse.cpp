// SPDX-License-Identifier: Apache-2.0
// ReverseImg: mirrors, flips or turns a raw frame in the camera's own format. The formats it handles are its
// own list; it refuses RGB12 and 4:4:4, which lie between ones that it takes, as the header warns.
#include <cstddef>
#include <cstdint>

#include "KivoCamUtl.h"
#include "simd/stream_fence.h"
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
        m_uiFrameBytes(Share(sUnit, std::uint64_t{uiWidth} * uiHeight)),
        m_uiRowBytes(Share(sUnit, uiWidth)),
        m_bStream(StreamingPays(m_uiFrameBytes, m_uiFrameBytes)) {}

  void Copy() const noexcept { CopyRows(m_pucDst, 0, m_pucSrc, m_uiFrameBytes, 1); }

  // The source from its first row on, which the processor fetches ahead; the destination from its last row
  // up.
  void Flip() const noexcept {
    const std::ptrdiff_t iRow = static_cast<std::ptrdiff_t>(m_uiRowBytes);
    CopyRows(LastRow(m_pucDst, iRow), -iRow, m_pucSrc, m_uiRowBytes, m_uiHeight);
  }

  // Whole units of each row, last unit first. Where the width does not divide into YUV groups, no row starts
  // where the one before ends: the last group of a row then lies iAdvance after that of the row before,
  // as the header states with the source size for such widths. Rows are read from their ends, so the last row
  // comes first: the source is walked in one direction.
  void Mirror() const noexcept {
    const std::size_t uiUnits = m_uiWidth / m_sUnit.uiPixels;
    const std::size_t uiUsed = uiUnits * m_sUnit.uiBytes;
    if (uiUnits == 0) return;  // rows narrower than a group have no last row to start at
    const std::ptrdiff_t iUsed = static_cast<std::ptrdiff_t>(uiUsed);
    const std::ptrdiff_t iAdvance =
        static_cast<std::ptrdiff_t>(Share(m_sUnit, std::uint64_t{2} * m_uiWidth) - uiUsed);
    ReverseRows(LastRow(m_pucDst, iUsed), -iUsed, LastRow(m_pucSrc + (m_uiRowBytes - uiUsed), iAdvance),
                -iAdvance, uiUnits, m_uiHeight);
  }

  // Whole units of the frame, counted from its end.
  void HalfTurn() const noexcept {
    const std::size_t uiUnits = m_uiWidth * m_uiHeight / m_sUnit.uiPixels;
    ReverseRows(m_pucDst, 0, m_pucSrc + (m_uiFrameBytes - uiUnits * m_sUnit.uiBytes), 0, uiUnits, 1);
  }

 private:
  // Bytes of so many pixels, rounded down. What is in memory has a size that fits; six times the pixels of a
  // frame need not.
  static std::size_t Share(const Unit &sUnit, std::uint64_t uiPixels) noexcept {
    return static_cast<std::size_t>(sUnit.uiBytes * uiPixels / sUnit.uiPixels);
  }
  template <class Byte>
  Byte *LastRow(Byte *puc, std::ptrdiff_t iPitch) const noexcept {
    return m_uiHeight == 0 ? puc : puc + static_cast<std::ptrdiff_t>(m_uiHeight - 1) * iPitch;
  }
  void CopyRows(uint8_t *pucDst, std::ptrdiff_t iDstPitch, const uint8_t *pucSrc, std::size_t uiRowBytes,
                std::size_t uiRows) const noexcept {
    ActiveKernels().psReverse->pfnCopy(
        {pucDst, iDstPitch, pucSrc, -iDstPitch, uiRowBytes, uiRows, 0, m_bStream});
    StreamFence(m_bStream);
  }
  void ReverseRows(uint8_t *pucDst, std::ptrdiff_t iDstPitch, const uint8_t *pucSrc, std::ptrdiff_t iSrcPitch,
                   std::size_t n, std::size_t uiRows) const noexcept {
    ActiveKernels().psReverse->apfn[static_cast<unsigned>(m_sUnit.eUnit)](
        {pucDst, iDstPitch, pucSrc, iSrcPitch, n, uiRows, 0, m_bStream});
    StreamFence(m_bStream);
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
