/* SPDX-License-Identifier: Apache-2.0 */
/* The public header alone in a C99 program: every function linked by name, a few called. */
#include <KivoCamUtl.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int s_iFailures = 0;

static void Expect(int bHolds, const char *pszWhat) {
  if (bHolds) return;
  fprintf(stderr, "failed: %s\n", pszWhat);
  ++s_iFailures;
}

static void Convert(void) {
  const uint8_t aucMosaic[4] = {10, 20, 30, 40};
  uint32_t auiWords[4];
  uint8_t aucBytes[12];
  const uint8_t aucExpected[12] = {30, 10, 20, 30, 25, 20, 30, 25, 20, 30, 40, 20};
  BgraConverter pfnWords = GetBGRAConverter(CAMUTL_PFNC_BAYER_GR8, true);
  BgrConverter pfnBytes = GetBGRConverter(CAMUTL_PFNC_BAYER_GR8, true);
  Expect(pfnWords == ConvByrGR8ToBGRA && pfnBytes == ConvByrGR8ToBGR, "lookup");
  Expect(pfnWords(auiWords, aucMosaic, 2, 2) == CAMUTL_STS_SUCCESS, "converter called through its pointer");
  Expect(auiWords[0] == UINT32_C(0xFF140A1E), "first pixel");
  Expect(ConvImage(OUTPUT_BGR, CAMUTL_PFNC_BAYER_GR8, true, aucBytes, aucMosaic, 2, 2) == CAMUTL_STS_SUCCESS,
         "ConvImage");
  Expect(memcmp(aucBytes, aucExpected, sizeof aucBytes) == 0, "BGR bytes");
  Expect(ConvImage(-1, 0, false, aucBytes, aucMosaic, 2, 2) == CAMUTL_STS_INVALID_PARAMETER,
         "unknown format");
}

static void Tables(void) {
  const uint8_t ucGrey = 0x7F;
  uint32_t uiWord = 0;
  Expect(ConvMono8ToBGRA(&uiWord, &ucGrey, 1, 1) == CAMUTL_STS_NOT_INITIALIZED, "refused before PrepareLUT");
  Expect(PrepareLUT() == CAMUTL_STS_SUCCESS, "PrepareLUT");
  Expect(ConvMono8ToBGRA(&uiWord, &ucGrey, 1, 1) == CAMUTL_STS_SUCCESS && uiWord == UINT32_C(0xFF7F7F7F),
         "grey");
}

static void Files(const char *pszDirectory) {
  char acPath[4096];
  const uint8_t aucFrame[6] = {1, 2, 3, 4, 5, 6};
  uint8_t *pucLoaded = NULL;
  uint32_t uiFormat = 0, uiWidth = 0, uiHeight = 0, uiLine = 0;
  snprintf(acPath, sizeof acPath, "%s/consumer.rwh", pszDirectory);
  Expect(SaveRWH(aucFrame, CAMUTL_PFNC_MONO8, 3, 2, acPath) == CAMUTL_STS_SUCCESS, "SaveRWH");
  Expect(LoadRWH(acPath, &pucLoaded, &uiFormat, &uiWidth, &uiHeight, &uiLine) == CAMUTL_STS_SUCCESS,
         "LoadRWH");
  Expect(uiFormat == CAMUTL_PFNC_MONO8 && uiWidth == 3 && uiHeight == 2 && uiLine == 3, "header");
  Expect(pucLoaded != NULL && memcmp(pucLoaded, aucFrame, 6) == 0, "frame");
  free(pucLoaded);
  remove(acPath);
  snprintf(acPath, sizeof acPath, "%s/missing/consumer.bmp", pszDirectory);
  Expect(SaveBmpMono(aucFrame, 3, 2, acPath) == CAMUTL_STS_FILE_OPEN_ERROR, "missing directory");
}

int main(int iArguments, char **ppcArguments) {
  uint8_t aucMirrored[3];
  const uint8_t aucRow[3] = {1, 2, 3};
  /* Enumerations are 32 bits wide, and any 32-bit value may be passed. */
  Expect(sizeof(CamUtlStatus) == 4 && sizeof(OutputPixelFormat) == 4 && sizeof(BayerConvMode) == 4, "sizes");
  Expect(SetBayerConvMode((BayerConvMode)-5) == CAMUTL_STS_SUCCESS, "any mode");
  Expect(BitPerPixel(CAMUTL_PFNC_BGR12) == 48 && DataDepth(CAMUTL_PFNC_BGR12) == 0, "queries");
  Expect(IsMonochromic(0) && !IsPixelBayer(0), "unknown code");
  Expect(ReverseImg(aucMirrored, aucRow, CAMUTL_PFNC_MONO8, 3, 1, true, false) == CAMUTL_STS_SUCCESS &&
             aucMirrored[0] == 3,
         "mirror");
  Tables();
  Convert();
  Files(iArguments > 1 ? ppcArguments[1] : ".");
  if (s_iFailures == 0) printf("ok\n");
  return s_iFailures == 0 ? 0 : 1;
}
