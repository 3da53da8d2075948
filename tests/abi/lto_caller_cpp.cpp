// SPDX-License-Identifier: Apache-2.0
// The same functions from C++, and what the half in C makes of them. 4 is passed as a flag that is set.
#include <KivoCamUtl.h>

extern "C" {
CamUtlStatus turn(uint8_t *dst, const uint8_t *src, CamUtlFlag mirror, CamUtlFlag flip);
bool converts(uint32_t format, CamUtlFlag demosaic);
}

int main(int argc, char **) {
  const uint8_t src[4] = {1, 2, 3, 4};
  uint8_t here[4] = {}, there[4] = {};
  const bool mirror = (argc << 2 & 4) != 0;
  if (PrepareLUT() != CAMUTL_STS_SUCCESS) return 1;
  if (ReverseImg(here, src, CAMUTL_PFNC_MONO8, 2, 2, mirror, false) != CAMUTL_STS_SUCCESS) return 2;
  if (turn(there, src, argc << 2 & 4, 0) != CAMUTL_STS_SUCCESS) return 3;
  for (int i = 0; i < 4; ++i)
    if (here[i] != src[i ^ 1] || there[i] != here[i]) return 4;
  if (GetBGRAConverter(CAMUTL_PFNC_BAYER_RG8, true) != ConvByrRG8ToBGRA) return 5;
  if (GetBGRConverter(CAMUTL_PFNC_BAYER_RG8, false) != ConvMono8ToBGR) return 6;
  uint8_t bgr[12] = {};
  if (ConvImage(OUTPUT_BGR, CAMUTL_PFNC_BAYER_RG8, true, bgr, src, 2, 2) != CAMUTL_STS_SUCCESS) return 7;
  return converts(CAMUTL_PFNC_BAYER_RG8, true) && converts(CAMUTL_PFNC_MONO8, false) ? 0 : 8;
}
