// SPDX-License-Identifier: Apache-2.0
#include <fstream>

#include "camutl/bmp_file.h"

using namespace Kivo;

namespace {

CamUtlStatus Save(const BmpKind &sKind, const void *pImage, uint32_t uiWidth, uint32_t uiHeight,
                  uint32_t uiStride, const char *pszFileName) noexcept {
  if (pImage == nullptr) return CAMUTL_STS_INVALID_PARAMETER;
  return SaveBmp<std::ofstream>(sKind, pImage, uiWidth, uiHeight, uiStride, pszFileName);
}

CamUtlStatus SavePacked(const BmpKind &sKind, const void *pImage, uint32_t uiWidth, uint32_t uiHeight,
                        const char *pszFileName) noexcept {
  return Save(sKind, pImage, uiWidth, uiHeight, uiWidth * sKind.uiPixelBytes, pszFileName);
}

}  // namespace

CamUtlStatus SaveBmpARGB(const uint32_t *puiImage, uint32_t uiWidth, uint32_t uiHeight,
                         const char *pszFileName) CAMUTL_NOEXCEPT {
  return SavePacked(c_sBmpARGB, puiImage, uiWidth, uiHeight, pszFileName);
}

CamUtlStatus SaveBmpRGB(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight,
                        const char *pszFileName) CAMUTL_NOEXCEPT {
  return SavePacked(c_sBmpRGB, pucImage, uiWidth, uiHeight, pszFileName);
}

CamUtlStatus SaveBmpMono(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight,
                         const char *pszFileName) CAMUTL_NOEXCEPT {
  return SavePacked(c_sBmpMono, pucImage, uiWidth, uiHeight, pszFileName);
}

CamUtlStatus SaveBmpARGB_S(const uint32_t *puiImage, uint32_t uiWidth, uint32_t uiHeight, uint32_t uiStride,
                           const char *pszFileName) CAMUTL_NOEXCEPT {
  return Save(c_sBmpARGB, puiImage, uiWidth, uiHeight, uiStride, pszFileName);
}

CamUtlStatus SaveBmpRGB_S(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight, uint32_t uiStride,
                          const char *pszFileName) CAMUTL_NOEXCEPT {
  return Save(c_sBmpRGB, pucImage, uiWidth, uiHeight, uiStride, pszFileName);
}

CamUtlStatus SaveBmpMono_S(const uint8_t *pucImage, uint32_t uiWidth, uint32_t uiHeight, uint32_t uiStride,
                           const char *pszFileName) CAMUTL_NOEXCEPT {
  return Save(c_sBmpMono, pucImage, uiWidth, uiHeight, uiStride, pszFileName);
}
