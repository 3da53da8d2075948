// SPDX-License-Identifier: Apache-2.0
// KivoFrame.h alone in a C++11 program.
#include <KivoFrame.h>

#include <cstdint>
#include <string>

static_assert(sizeof(kivo_status) == 4, "an enumeration is an int to every caller");
static_assert(noexcept(kivo_version()), "no function throws");
static_assert(noexcept(kivo_plan_free(nullptr)), "no function throws");

int main() {
  kivo_options options = KIVO_OPTIONS_INIT;
  const kivo_format *const format = kivo_format_find("SRGGB12");
  if (options.size != sizeof(kivo_options) || format == nullptr) return 1;
  return format->name == std::string("BayerRG12") && kivo_frame_bytes(format->code, 3, 5) == 30 ? 0 : 2;
}
