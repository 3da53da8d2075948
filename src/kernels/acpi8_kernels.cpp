// SPDX-License-Identifier: Apache-2.0
// Adaptive demosaic of 8-bit samples. All sums fit signed 16-bit lanes.
#include "kernels/acpi_rows.h"
#include "kernels/bayer8_means.h"
#include "simd/vec_as.h"

namespace Kivo::KIVO_TARGET {
namespace {

struct ByteSamples {
  using Vector = U8;
  using Lanes = I16;
  static constexpr size_t c_uiSampleBytes = 1;
  static constexpr size_t c_uiBlock = c_uiVec;

  KIVO_INLINE static U8 Load(const uint8_t *p) { return KIVO_TARGET::Load<U8>(p); }
  KIVO_INLINE static U8 Take(const uint8_t *p) { return Load(p); }
  KIVO_INLINE static I16 Even(U8 v) { return As<I16>(As<U16>(v) & 0xFF); }
  KIVO_INLINE static I16 Odd(U8 v) { return As<I16>(As<U16>(v) >> 8); }
  KIVO_INLINE static U8 Merge(I16 even, I16 odd) { return MergeSat(even, odd); }
  KIVO_INLINE static I16 Wrap(I16 v) { return v & 0xFF; }
};

template <Output eOut>
void Acpi8(const MosaicJob &sJob) {
  const Mosaic s(sJob);
  if (s.bStream) {
    ConvertAdaptive<eOut, true>(ByteSamples(), ByteMeans(), s);
  } else {
    ConvertAdaptive<eOut, false>(ByteSamples(), ByteMeans(), s);
  }
}

}  // namespace

const Acpi8Kernels c_sAcpi8Kernels = {{Acpi8<c_eBGRA>, Acpi8<c_eBGR>}};

}  // namespace Kivo::KIVO_TARGET
