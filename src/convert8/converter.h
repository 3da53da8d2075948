// SPDX-License-Identifier: Apache-2.0
// What the exported converters share: the checks, in the one order that the interface promises, and the way
// from a frame's size to a kernel's count.
#ifndef KIVO_CONVERT8_CONVERTER_H
#define KIVO_CONVERT8_CONVERTER_H

#include <cstddef>
#include <cstdint>

#include "KivoCamUtl.h"
#include "catalogue/luts.h"
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
  return uiWidth * uiHeight;
}

// The shift of the wide converters: the low 8 bits of the argument, modulo 32.
inline unsigned ShiftCount(std::uint32_t uiShift) noexcept {
  return uiShift & 31;
}

// A frame as one run of n items that become so many bytes each, by one kernel of a family; sMore goes to the
// kernel between the count and the streaming flag.
template <class Kernel, class... More>
CamUtlStatus ConvertRun(Kernel pfnKernel, void *pDst, const std::uint8_t *pucSrc, std::size_t n,
                        std::size_t uiDstItem, More... more) noexcept {
  if (n != 0) {
    pfnKernel(static_cast<std::uint8_t *>(pDst), pucSrc, n, more..., StreamingPays(n * uiDstItem));
  }
  return CAMUTL_STS_SUCCESS;
}

// A mosaic of any size, by one kernel of a family.
template <class Kernel, class... More>
CamUtlStatus ConvertBayer(Kernel pfnKernel, void *pDst, const std::uint8_t *pucSrc, std::uint32_t uiWidth,
                          std::uint32_t uiHeight, std::size_t uiPixelBytes, More... more) noexcept {
  const std::size_t n = std::size_t{uiWidth} * uiHeight;
  pfnKernel(static_cast<std::uint8_t *>(pDst), pucSrc, uiWidth, uiHeight, more...,
            StreamingPays(n * uiPixelBytes));
  return CAMUTL_STS_SUCCESS;
}

}  // namespace Kivo

#endif  // KIVO_CONVERT8_CONVERTER_H
