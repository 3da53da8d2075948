// SPDX-License-Identifier: Apache-2.0
// The one setting of the library.
#ifndef KIVO_CAMUTL_DISPATCH_H
#define KIVO_CAMUTL_DISPATCH_H

#include <atomic>

#include "KivoCamUtl.h"

namespace Kivo {

// Any 32-bit value; only BAYER_CONV_ACPI means ACPI. A lookup that runs beside SetBayerConvMode() sees the
// old or the new mode.
extern std::atomic<BayerConvMode> s_eBayerConvMode;

}  // namespace Kivo

#endif  // KIVO_CAMUTL_DISPATCH_H
