// SPDX-License-Identifier: Apache-2.0
// Terms have this word beside the others.
#include "simd/vec.h"
