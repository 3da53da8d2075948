// SPDX-License-Identifier: Apache-2.0
// A lookup returns the address that the program itself sees under the converter's name, and that dlsym()
// returns, whether or not the program is position independent.
#include <dlfcn.h>

#include <cstdio>
#include <initializer_list>

#include "support/dispatch_table.h"

namespace {

int g_failures = 0;

template <typename Function>
void Expect(Function got, Function want, const char *what, std::uint32_t code) {
  if (got == want && got != nullptr) return;
  std::fprintf(stderr, "%s of 0x%08X is %p, not %p\n", what, static_cast<unsigned>(code),
               reinterpret_cast<void *>(got), reinterpret_cast<void *>(want));
  ++g_failures;
}

template <typename Function>
void ExpectNamed(Function got, const char *name) {
  Expect(got, reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, name)), name, 0);
}

}  // namespace

int main() {
  for (const std::int32_t mode : {0, 1, 2}) {
    SetBayerConvMode(static_cast<BayerConvMode>(mode));
    for (const KivoTest::DispatchRow &row : KivoTest::kDispatchRows) {
      Expect(GetBGRAConverter(row.code, false), row.grey_bgra, "BGRA without demosaic", row.code);
      Expect(GetBGRConverter(row.code, false), row.grey_bgr, "BGR without demosaic", row.code);
      Expect(GetBGRAConverter(row.code, true), mode == 1 ? row.acpi_bgra : row.standard_bgra, "BGRA",
             row.code);
      Expect(GetBGRConverter(row.code, true), mode == 1 ? row.acpi_bgr : row.standard_bgr, "BGR", row.code);
    }
  }
  ExpectNamed(GetBGRAConverter(0x01080001, false), "ConvMono8ToBGRA");
  ExpectNamed(GetBGRConverter(0x01080001, false), "ConvMono8ToBGR");
  ExpectNamed(GetBGRAConverter(0x02300019, false), "ConvBGR10PToBGRA");
  ExpectNamed(GetBGRConverter(0x01100013, true), "ConvByrBG12ToBGR");
  return g_failures == 0 ? 0 : 1;
}
