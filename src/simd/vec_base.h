// SPDX-License-Identifier: Apache-2.0
// Words of the Baseline target on processors without a header of their own: the language alone, no
// instruction named. Included by vec.h alone.
#ifndef KIVO_SIMD_VEC_BASE_H
#define KIVO_SIMD_VEC_BASE_H

namespace Kivo::KIVO_TARGET {
namespace {

constexpr bool c_bLookup = false;
constexpr bool c_bLookupClears = false;
constexpr size_t c_uiLane = 16;
constexpr bool c_bWordPixels = false;

template <class V>
KIVO_INLINE V Pin(V v) {
  return v;
}

KIVO_INLINE void Stream(void *p, U8 v) {
  Store(p, v);
}

KIVO_INLINE U8 Avg(U8 a, U8 b) {
  return (a | b) - (((a ^ b) >> 1) & 0x7F);
}
KIVO_INLINE U16 Avg(U16 a, U16 b) {
  return (a | b) - (((a ^ b) >> 1) & 0x7FFF);
}

KIVO_INLINE U16 ShiftRight(U16 v, unsigned uiCount) {
  return uiCount > 15 ? U16{} : v >> static_cast<uint16_t>(uiCount);
}

// a where the mask is set, else b.
template <class V>
KIVO_INLINE V SelectBits(V mask, V a, V b) {
  return (mask & a) | (~mask & b);
}

// The difference, or 0.
KIVO_INLINE U16 SubSat(U16 a, U16 b) {
  return SelectBits(reinterpret_cast<U16>(a > b), a - b, U16{});
}
KIVO_INLINE U16 Lesser(U16 a, U16 b) {
  return SelectBits(reinterpret_cast<U16>(a < b), a, b);
}
KIVO_INLINE I16 Greater(I16 a, I16 b) {
  return SelectBits(reinterpret_cast<I16>(a > b), a, b);
}
KIVO_INLINE I16 Abs(I16 v) {
  const I16 sign = v >> 15;
  return (v ^ sign) - sign;
}

// Which lanes of an alternating row hold its first kind of site, for bytes and for words.
struct Parity {
  U8 bytes;
  U16 words;
};
KIVO_INLINE Parity MakeParity(bool bEven) {
  Parity s{};
  for (size_t i = bEven ? 0 : 1; i < c_uiVec; i += 2) s.bytes[i] = 0xFF;
  for (size_t i = bEven ? 0 : 1; i < c_uiVec / 2; i += 2) s.words[i] = 0xFFFF;
  return s;
}
KIVO_INLINE U8 Select(const Parity &s, U8 a, U8 b) {
  return SelectBits(s.bytes, a, b);
}
KIVO_INLINE U16 Select(const Parity &s, U16 a, U16 b) {
  return SelectBits(s.words, a, b);
}

// a in the even lanes, or in the odd ones, and b in the others.
template <bool bEven>
KIVO_INLINE U16 Alternate(U16 a, U16 b) {
  return Select(MakeParity(bEven), a, b);
}

// a where x > y, else b.
KIVO_INLINE I16 SelectGreater(I16 x, I16 y, I16 a, I16 b) {
  return SelectBits(reinterpret_cast<I16>(x > y), a, b);
}

// Low bytes of two word vectors, in order.
KIVO_INLINE U8 PackLow(U16 a, U16 b) {
  U8 v;
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    v[i] = static_cast<uint8_t>(a[i]);
    v[c_uiVec / 2 + i] = static_cast<uint8_t>(b[i]);
  }
  return v;
}

// High bytes of two word vectors, in order.
KIVO_INLINE U8 PackHigh(U16 a, U16 b) {
  return PackLow(a >> 8, b >> 8);
}

// The low bytes again, for each lane on its own, which here is the whole vector.
KIVO_INLINE U8 PackLowLanes(U16 a, U16 b) {
  return PackLow(a, b);
}

// Two word vectors clamped to bytes, in order; a lane is the whole vector here.
KIVO_INLINE U8 PackSatBy16(I16 a, I16 b) {
  const auto clamp = [](int16_t n) { return static_cast<uint8_t>(n < 0 ? 0 : n > 255 ? 255 : n); };
  U8 v;
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    v[i] = clamp(a[i]);
    v[c_uiVec / 2 + i] = clamp(b[i]);
  }
  return v;
}

// Two word vectors clamped to bytes and interleaved: even, odd, even, odd.
KIVO_INLINE U8 MergeSat(I16 even, I16 odd) {
  const I16 top = Splat<I16>(255);
  const I16 e = SelectGreater(even, top, top, SelectGreater(I16{}, even, I16{}, even));
  const I16 o = SelectGreater(odd, top, top, SelectGreater(I16{}, odd, I16{}, odd));
  U8 v;
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    v[2 * i] = static_cast<uint8_t>(e[i]);
    v[2 * i + 1] = static_cast<uint8_t>(o[i]);
  }
  return v;
}

// Low words, and high words, of two doubleword vectors, in order.
KIVO_INLINE U16 PackLow(U32 a, U32 b) {
  U16 v;
  for (size_t i = 0; i < c_uiVec / 4; ++i) {
    v[i] = static_cast<uint16_t>(a[i]);
    v[c_uiVec / 4 + i] = static_cast<uint16_t>(b[i]);
  }
  return v;
}
KIVO_INLINE U16 PackHigh(U32 a, U32 b) {
  return PackLow(a >> 16, b >> 16);
}

KIVO_INLINE WordPair Widen(U8 v) {
  WordPair s;
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    s.low[i] = v[i];
    s.high[i] = v[c_uiVec / 2 + i];
  }
  return s;
}

// Words of a and b in turn, in two vectors that PackHighLanes makes one again.
KIVO_INLINE WordPair ZipLanes(U16 a, U16 b) {
  WordPair s;
  for (size_t i = 0; i < c_uiVec / 4; ++i) {
    s.low[2 * i] = a[i];
    s.low[2 * i + 1] = b[i];
    s.high[2 * i] = a[c_uiVec / 4 + i];
    s.high[2 * i + 1] = b[c_uiVec / 4 + i];
  }
  return s;
}
KIVO_INLINE U16 PackHighLanes(I32 a, I32 b) {
  return PackHigh(reinterpret_cast<U32>(a), reinterpret_cast<U32>(b));
}

KIVO_INLINE I32 MulAddPairs(I16 a, I16 b) {
  I32 v;
  for (size_t i = 0; i < c_uiVec / 4; ++i) v[i] = a[2 * i] * b[2 * i] + a[2 * i + 1] * b[2 * i + 1];
  return v;
}

// (a b + 16384) >> 15, but for -32768 times itself.
KIVO_INLINE I16 MulHighRound(I16 a, I16 b) {
  I16 v;
  for (size_t i = 0; i < c_uiVec / 2; ++i) v[i] = static_cast<int16_t>((a[i] * b[i] + 16384) >> 15);
  return v;
}

// Doublewords clamped to words; makes one again of what ZipLanes made two.
KIVO_INLINE I16 PackSatLanes(I32 a, I32 b) {
  I16 v;
  for (size_t i = 0; i < c_uiVec / 4; ++i) {
    const auto clamp = [](int32_t n) {
      return static_cast<int16_t>(n < -32768 ? -32768 : n > 32767 ? 32767 : n);
    };
    v[i] = clamp(a[i]);
    v[c_uiVec / 4 + i] = clamp(b[i]);
  }
  return v;
}

// The same clamped to words without a sign.
KIVO_INLINE U16 PackWordsLanes(I32 a, I32 b) {
  U16 v;
  for (size_t i = 0; i < c_uiVec / 4; ++i) {
    const auto clamp = [](int32_t n) { return static_cast<uint16_t>(n < 0 ? 0 : n > 65535 ? 65535 : n); };
    v[i] = clamp(a[i]);
    v[c_uiVec / 4 + i] = clamp(b[i]);
  }
  return v;
}

// Bytes of a lane by the lower 4 bits of an index; 0 where its highest bit is set.
KIVO_INLINE U8 LookupNear(U8 index, U8 table) {
  U8 v;
  for (size_t i = 0; i < c_uiVec; ++i) v[i] = index[i] < 128 ? table[index[i] % 16] : 0;
  return v;
}

// Bytes of a and b as the lower and the upper ones of words, in the order that PackLowLanes takes.
KIVO_INLINE WordPair ZipLanes(U8 a, U8 b) {
  WordPair s;
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    s.low[i] = static_cast<uint16_t>(a[i] | b[i] << 8);
    s.high[i] = static_cast<uint16_t>(a[c_uiVec / 2 + i] | b[c_uiVec / 2 + i] << 8);
  }
  return s;
}

// The upper word of each product.
KIVO_INLINE U16 MulHigh(U16 a, U16 b) {
  U16 v;
  for (size_t i = 0; i < c_uiVec / 2; ++i) v[i] = static_cast<uint16_t>(uint32_t{a[i]} * b[i] >> 16);
  return v;
}

// Lanes last to first.
KIVO_INLINE U8 Reverse(U8 v) {
  U8 r;
  for (size_t i = 0; i < c_uiVec; ++i) r[i] = v[c_uiVec - 1 - i];
  return r;
}
KIVO_INLINE U16 Reverse(U16 v) {
  U16 r;
  for (size_t i = 0; i < c_uiVec / 2; ++i) r[i] = v[c_uiVec / 2 - 1 - i];
  return r;
}

// The one lane from p.
template <ptrdiff_t iStride>
KIVO_INLINE U8 LoadLanes(const uint8_t *p) {
  return Load<U8>(p);
}

template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U8 b, U8 g, U8 r) {
  for (size_t i = 0; i < c_uiVec; ++i) {
    p[4 * i] = b[i];
    p[4 * i + 1] = g[i];
    p[4 * i + 2] = r[i];
    p[4 * i + 3] = 255;
  }
}

template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U8 b, U8 g, U8 r) {
  for (size_t i = 0; i < c_uiVec; ++i) {
    p[3 * i] = b[i];
    p[3 * i + 1] = g[i];
    p[3 * i + 2] = r[i];
  }
}

// Pixels from words whose upper bytes count.
template <bool bStream>
KIVO_INLINE void StoreUpperBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    const uint8_t auc[] = {static_cast<uint8_t>(b[i] >> 8), static_cast<uint8_t>(g[i] >> 8),
                           static_cast<uint8_t>(r[i] >> 8), 255};
    memcpy(p + 4 * i, auc, 4);
  }
}

// The same for words.
template <bool bStream>
KIVO_INLINE void StoreBGRA(uint8_t *p, U16 b, U16 g, U16 r) {
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    const uint16_t aus[] = {b[i], g[i], r[i], 0xFFFF};
    memcpy(p + 8 * i, aus, 8);
  }
}

template <bool bStream>
KIVO_INLINE void StoreBGR(uint8_t *p, U16 b, U16 g, U16 r) {
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    const uint16_t aus[] = {b[i], g[i], r[i]};
    memcpy(p + 6 * i, aus, 6);
  }
}

// Pixels of three bytes, or of three words, to planes.
KIVO_INLINE void LoadBGR(const uint8_t *p, U8 &b, U8 &g, U8 &r) {
  for (size_t i = 0; i < c_uiVec; ++i) {
    b[i] = p[3 * i];
    g[i] = p[3 * i + 1];
    r[i] = p[3 * i + 2];
  }
}
KIVO_INLINE void LoadBGR(const uint8_t *p, U16 &b, U16 &g, U16 &r) {
  for (size_t i = 0; i < c_uiVec / 2; ++i) {
    uint16_t aus[3];
    memcpy(aus, p + 6 * i, 6);
    b[i] = aus[0];
    g[i] = aus[1];
    r[i] = aus[2];
  }
}

// Pixels whose channels are all v.
template <bool bStream>
KIVO_INLINE void StoreGreyBGRA(uint8_t *p, U8 v) {
  StoreBGRA<bStream>(p, v, v, v);
}

template <bool bStream>
KIVO_INLINE void StoreGreyBGR(uint8_t *p, U8 v) {
  StoreBGR<bStream>(p, v, v, v);
}

}  // namespace
}  // namespace Kivo::KIVO_TARGET

#endif  // KIVO_SIMD_VEC_BASE_H
