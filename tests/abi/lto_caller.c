/* SPDX-License-Identifier: Apache-2.0 */
/* One half of a program whose other half is lto_caller_cpp.cpp: every function that takes a flag, called from
 * C. */
#include <KivoCamUtl.h>

CamUtlStatus turn(uint8_t *dst, const uint8_t *src, CamUtlFlag mirror, CamUtlFlag flip);
bool converts(uint32_t format, CamUtlFlag demosaic);

CamUtlStatus turn(uint8_t *dst, const uint8_t *src, CamUtlFlag mirror, CamUtlFlag flip) {
  return ReverseImg(dst, src, CAMUTL_PFNC_MONO8, 2, 2, mirror, flip);
}

bool converts(uint32_t format, CamUtlFlag demosaic) {
  uint32_t pixels[4] = {0, 0, 0, 0};
  const uint8_t samples[4] = {1, 2, 3, 4};
  return GetBGRAConverter(format, demosaic) != 0 && GetBGRConverter(format, demosaic) != 0 &&
         ConvImage(OUTPUT_BGRA, format, demosaic, pixels, samples, 2, 2) == CAMUTL_STS_SUCCESS &&
         pixels[3] >> 24 == 255;
}
