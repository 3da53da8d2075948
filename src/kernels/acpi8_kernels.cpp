// SPDX-License-Identifier: Apache-2.0
// Adaptive demosaic of 8-bit samples. All sums fit signed 16-bit lanes.
#include "kernels/acpi_rows.h"
#include "kernels/bayer8_means.h"
#include "simd/vec_as.h"
#ifdef KIVO_TARGET_Avx512
#include "kernels/acpi_walk.h"
#endif

namespace Kivo::KIVO_TARGET {
namespace {

struct ByteSamples {
  using Vector = U8;
  using Lanes = I16;
  static constexpr size_t c_uiSampleBytes = 1;
  [[maybe_unused]] static constexpr size_t c_uiBlock = c_uiVec;

  KIVO_INLINE static U8 Load(const uint8_t *p) { return KIVO_TARGET::Load<U8>(p); }
  KIVO_INLINE static U8 Take(const uint8_t *p) { return Load(p); }
  KIVO_INLINE static I16 Even(U8 v) { return As<I16>(As<U16>(v) & 0xFF); }
  KIVO_INLINE static I16 Odd(U8 v) { return As<I16>(As<U16>(v) >> 8); }
  KIVO_INLINE static U8 Merge(I16 even, I16 odd) { return MergeSat(even, odd); }
  KIVO_INLINE static I16 Eighth(I16 sum) { return sum >> 3; }
  KIVO_INLINE static I16 RoundedTie(I16 sum) {
    sum = sum + 4;
    return ((sum + ((sum >> 15) & 7)) >> 3) & 0xFF;
  }
  KIVO_INLINE static U8 Reduce(U8 v) { return v; }
};

#ifdef KIVO_TARGET_Avx512

struct WalkedBytes : ByteSamples {
  static constexpr size_t Lane(size_t k) { return k; }
  KIVO_INLINE static Halves Split(U8 v) { return {Even(v), Odd(v)}; }
  KIVO_INLINE static Halves Split(const uint8_t *p) { return Split(Pin(Load(p))); }
  KIVO_INLINE static Halves Split(const uint8_t *p, uint64_t uiInside) {
    return Split(LoadSome(p, uiInside));
  }
  KIVO_INLINE static I16 Own(I16 v) { return v; }
  KIVO_INLINE static I16 Quarter(I16 sum) { return sum >> 2; }
  KIVO_INLINE static I16 Diagonal(I16 sum) { return Eighth(sum); }
  KIVO_INLINE static I16 Tie(I16 sum) { return RoundedTie(sum); }
  KIVO_INLINE static U8 Pack(I16 sites, I16 greens) { return PackSatBy16(sites, greens); }
  KIVO_INLINE static U8 Clamp(I16 &green, I16 other) {
    const U8 v = Pack(green, other);
    green = reinterpret_cast<I16>(WidenLowBy16(v));
    return v;
  }
};

template <Output eOut>
void Acpi8(const MosaicJob &sJob) {
  ConvertWalking<eOut>(WalkedBytes(), ByteMeans(), Mosaic(sJob));
}

#else

template <Output eOut>
void Acpi8(const MosaicJob &sJob) {
  const Mosaic s(sJob);
  if (s.bStream) {
    ConvertAdaptive<eOut, true>(ByteSamples(), ByteMeans(), s);
  } else {
    ConvertAdaptive<eOut, false>(ByteSamples(), ByteMeans(), s);
  }
}

#endif

}  // namespace

const Acpi8Kernels c_sAcpi8Kernels = {{Acpi8<c_eBGRA>, Acpi8<c_eBGR>}};

}  // namespace Kivo::KIVO_TARGET
