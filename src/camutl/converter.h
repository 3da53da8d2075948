// SPDX-License-Identifier: Apache-2.0
// What the exported converters share: the checks, in the one order that the interface promises, and the way
// from a frame's size to a kernel's count.
#ifndef KIVO_CAMUTL_CONVERTER_H
#define KIVO_CAMUTL_CONVERTER_H

#include <cstddef>
#include <cstdint>

#include "KivoCamUtl.h"
#include "camutl/luts.h"
#include "simd/stream_fence.h"
#include "simd/targets.h"

namespace Kivo {

// Whether a converter refuses until PrepareLUT() has run.
enum class Tables { Needed, NotNeeded };

constexpr std::size_t PixelBytes(Output eOut) noexcept {
  return eOut == c_eBGRA ? 4 : 3;
}

// Null destination, null source, tables: in this order.
inline CamUtlStatus CheckBuffers(const void *pDst, const void *pSrc, Tables eTables) noexcept {
  if (pDst == nullptr || pSrc == nullptr) return CAMUTL_STS_INVALID_PARAMETER;
  if (eTables == Tables::Needed && !s_bLUTReady.load(std::memory_order_acquire))
    return CAMUTL_STS_NOT_INITIALIZED;
  return CAMUTL_STS_SUCCESS;
}

// Pixels of a frame that is converted as one run: the product is formed in 32 bits and wraps.
inline std::size_t RunPixels(std::uint32_t uiWidth, std::uint32_t uiHeight) noexcept {
  const std::uint32_t uiPixels = uiWidth * uiHeight;
  return uiPixels;
}

// The shift of the wide converters: the low 8 bits of the argument, modulo 32.
inline unsigned ShiftCount(std::uint32_t uiShift) noexcept {
  return uiShift & 31;
}

// A frame as one run of n items, which take uiSrcItem bytes each and become uiDstItem, by one kernel of a
// family.
inline CamUtlStatus ConvertRun(RunKernel pfnKernel, void *pDst, const std::uint8_t *pucSrc, std::size_t n,
                               std::size_t uiSrcItem, std::size_t uiDstItem, unsigned uiShift = 0) noexcept {
  const bool bStream = StreamingPays(n * uiSrcItem, n * uiDstItem);
  pfnKernel({static_cast<std::uint8_t *>(pDst), 0, pucSrc, 0, n, 1, uiShift, bStream});
  StreamFence(bStream);
  return CAMUTL_STS_SUCCESS;
}

// A whole mosaic with packed rows; whoever converts it fences if it streams.
inline MosaicJob MakeMosaicJob(void *pDst, const std::uint8_t *pucSrc, std::uint32_t uiWidth,
                               std::uint32_t uiHeight, Output eOut, std::size_t uiSampleBytes,
                               BayerOrder eOrder) noexcept {
  MosaicJob s = {};
  s.pucSrc = pucSrc;
  s.iSrcPitch = static_cast<std::ptrdiff_t>(uiWidth * uiSampleBytes);
  s.uiRowMask = ~std::size_t{0};
  s.pucDst = static_cast<std::uint8_t *>(pDst);
  s.iDstPitch = static_cast<std::ptrdiff_t>(uiWidth * PixelBytes(eOut));
  s.uiWidth = uiWidth;
  s.uiHeight = s.uiRows = uiHeight;
  s.bLeftEdge = s.bRightEdge = true;
  s.eOrder = eOrder;
  const std::size_t n = std::size_t{uiWidth} * uiHeight;
  s.bStream = StreamingPays(n * uiSampleBytes, n * PixelBytes(eOut));
  s.iAheadPitch = s.iSrcPitch;
  s.uiAheadBits = 8 * uiSampleBytes;
  if (s.bStream && uiWidth * uiSampleBytes <= c_uiShortRow) s.pucAhead = pucSrc;
  return s;
}

}  // namespace Kivo

#endif  // KIVO_CAMUTL_CONVERTER_H
