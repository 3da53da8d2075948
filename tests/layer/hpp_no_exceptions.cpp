// SPDX-License-Identifier: Apache-2.0
// Compiled without exceptions: every template and inline function of the header must still be usable.
#include <KivoCamUtl.hpp>
#include <kivo/frame.hpp>

#include "hpp_no_exceptions.h"

int convertWithoutExceptions() {
  const std::uint8_t samples[4] = {10, 20, 30, 40};
  const kivo::Result<kivo::Image> image = kivo::convert({samples, 4, CAMUTL_PFNC_BAYER_GR8, 2, 2});
  if (!image) return -1;
  const kivo::Result<kivo::Frame> turned =
      kivo::reverse({samples, 4, CAMUTL_PFNC_BAYER_GR8, 2, 2}, true, false);
  if (!turned || turned->format != CAMUTL_PFNC_BAYER_RG8) return -1;
  if (kivo::saveBmp(*image, "/") == kivo::Errc::Ok || kivo::loadRwh("/")) return -1;
  return image->pixel(1, 0)[0] * 10000 + image->pixel(1, 0)[1] * 100 + image->pixel(1, 0)[2];
}
