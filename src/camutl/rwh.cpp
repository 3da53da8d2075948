// SPDX-License-Identifier: Apache-2.0
#include <fstream>

#include "camutl/rwh_file.h"

using namespace Kivo;

CamUtlStatus SaveRWH(const uint8_t *pucFrame, uint32_t uiPixelFormat, uint32_t uiWidth, uint32_t uiHeight,
                     const char *pszFileName) CAMUTL_NOEXCEPT {
  if (pucFrame == nullptr) return CAMUTL_STS_INVALID_PARAMETER;
  const RwhHeader sHeader = {uiPixelFormat, uiWidth, uiHeight, BitPerPixel(uiPixelFormat) * uiWidth / 8};
  return SaveRwh<std::ofstream>(pucFrame, sHeader, pszFileName);
}

CamUtlStatus LoadRWH(const char *pszFileName, uint8_t **ppucFrame, uint32_t *puiPixelFormat,
                     uint32_t *puiWidth, uint32_t *puiHeight, uint32_t *puiLineBytes) CAMUTL_NOEXCEPT {
  RwhHeader sHeader;
  const CamUtlStatus eStatus = LoadRwh<std::ifstream>(pszFileName, ppucFrame, sHeader);
  if (eStatus == CAMUTL_STS_FILE_OPEN_ERROR) return eStatus;
  if (puiPixelFormat != nullptr) *puiPixelFormat = sHeader.uiPixelFormat;
  if (puiWidth != nullptr) *puiWidth = sHeader.uiWidth;
  if (puiHeight != nullptr) *puiHeight = sHeader.uiHeight;
  if (puiLineBytes != nullptr) *puiLineBytes = sHeader.uiLineBytes;
  return eStatus;
}
