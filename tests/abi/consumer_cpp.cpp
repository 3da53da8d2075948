// SPDX-License-Identifier: Apache-2.0
// The public header alone in a C++ program.
#include <KivoCamUtl.h>

#include <cstdint>
#include <type_traits>

static_assert(sizeof(CamUtlStatus) == 4 && std::is_signed_v<std::underlying_type_t<CamUtlStatus>>);
static_assert(sizeof(OutputPixelFormat) == 4 && sizeof(BayerConvMode) == 4);
static_assert(noexcept(PrepareLUT()) &&noexcept(SaveRWH(nullptr, 0, 0, 0, nullptr)));
static_assert(CAMUTL_VERSION_MAJOR == 1);

int main() {
  const unsigned char mosaic[4] = {10, 20, 30, 40};
  std::uint32_t words[4] = {};
  const BgraConverter convert = GetBGRAConverter(CAMUTL_PFNC_BAYER_RG8, true);
  if (convert != &ConvByrRG8ToBGRA || convert(words, mosaic, 2, 2) != CAMUTL_STS_SUCCESS) return 1;
  return words[0] == 0xFF0A1928u ? 0 : 2;
}
