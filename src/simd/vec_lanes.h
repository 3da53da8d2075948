// SPDX-License-Identifier: Apache-2.0
// Words that the x86 targets whose shuffles reach 16 bytes have in common, made of their own words. Included
// by their headers alone.
#ifndef KIVO_SIMD_VEC_LANES_H
#define KIVO_SIMD_VEC_LANES_H

namespace Kivo::KIVO_TARGET {
namespace {

// Pixels of three samples of uiBytes bytes fill three lanes, in which each position has the three colours in
// turn: sample q of lane k is of colour (B k + q) modulo 3, with B samples to a lane. So a colour is
// collected by blends that leave every sample where it is, and put in order by one shuffle.
template <size_t uiBytes, size_t uiColour>
struct Triple {
  static constexpr size_t c_uiBlock = c_uiLane / uiBytes;

  static constexpr size_t Sample(size_t j) { return j % c_uiLane / uiBytes; }

  // The bytes of the colour in lane k.
  static constexpr Table LaneMask(size_t k) {
    return MakeTable([=](size_t j) { return TripleVector(c_uiBlock, uiColour, Sample(j)) == k ? 255 : 0; });
  }
  static constexpr Table c_sFirst = LaneMask(0);
  static constexpr Table c_sSecond = LaneMask(1);

  static constexpr Table c_sToPlane =
      MakeTable([](size_t j) { return (3 * Sample(j) + uiColour) % c_uiBlock * uiBytes + j % uiBytes; });
  static constexpr Table c_sFromPlane =
      MakeTable([](size_t j) { return TriplePixel(c_uiBlock, uiColour, Sample(j)) * uiBytes + j % uiBytes; });

  // The colour's plane from the three vectors.
  KIVO_INLINE static U8 Collect(U8 v0, U8 v1, U8 v2) {
    return Lookup(Blend(Load(c_sFirst), v0, Blend(Load(c_sSecond), v1, v2)), Load(c_sToPlane));
  }
  // The plane with every sample where one of the three vectors has it.
  KIVO_INLINE static U8 Place(U8 plane) { return Lookup(plane, Load(c_sFromPlane)); }
};

template <class V>
KIVO_INLINE void LoadBGR(const uint8_t *p, V &b, V &g, V &r) {
  constexpr size_t c_uiBytes = sizeof b[0];
  const U8 v0 = LoadLanes<3 * c_uiLane>(p);
  const U8 v1 = LoadLanes<3 * c_uiLane>(p + c_uiLane);
  const U8 v2 = LoadLanes<3 * c_uiLane>(p + 2 * c_uiLane);
  b = reinterpret_cast<V>(Triple<c_uiBytes, 0>::Collect(v0, v1, v2));
  g = reinterpret_cast<V>(Triple<c_uiBytes, 1>::Collect(v0, v1, v2));
  r = reinterpret_cast<V>(Triple<c_uiBytes, 2>::Collect(v0, v1, v2));
}

template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U16 b, U16 g, U16 r) {
  using Blue = Triple<2, 0>;
  using Green = Triple<2, 1>;
  using Red = Triple<2, 2>;
  const U8 vb = Blue::Place(reinterpret_cast<U8>(b));
  const U8 vg = Green::Place(reinterpret_cast<U8>(g));
  const U8 vr = Red::Place(reinterpret_cast<U8>(r));
  // What neither blue nor green claims is red.
  static constexpr Table c_sBlueThird = Blue::LaneMask(2);
  static constexpr Table c_sGreenThird = Green::LaneMask(2);
  StoreTriple<bStream>(p, Raw(Blend(Load(Blue::c_sFirst), vb, Blend(Load(Green::c_sFirst), vg, vr))),
                       Raw(Blend(Load(Blue::c_sSecond), vb, Blend(Load(Green::c_sSecond), vg, vr))),
                       Raw(Blend(Load(c_sBlueThird), vb, Blend(Load(c_sGreenThird), vg, vr))));
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_SIMD_VEC_LANES_H
