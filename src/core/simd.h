// The few vector lanes that the fast forms are written in.
//
// The types are the compilers' generic vectors: plain + - * & | ^ ~ << >> and comparisons work on them lane
// by lane, with the same meaning on every processor. This file adds what the operators cannot say. A vector
// holds kVectorBytes bytes: 16 on SSE2 and NEON, 32 where a source is compiled again for AVX2, 64 where it is
// compiled once more for AVX-512 (core/simd64.h).
// Comparisons give all ones or all zeros in each lane.
//
// Everything lives in an inline namespace named after the width, so that a function compiled for AVX2 never
// stands in for one that must run everywhere. How a source is compiled for several widths and how a caller comes by
// the right one is core/forms.h. With SKEW_NO_SIMD every vector form is left out and only the plain forms remain; so
// they are in the plain build of the kernels that the tests compare with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if !defined(SKEW_NO_SIMD) && !defined(SKEW_PLAIN_BUILD) && (defined(__SSE2__) || defined(__ARM_NEON))
#define SKEW_SIMD 1
#else
#define SKEW_SIMD 0
#endif

#if defined(SKEW_PLAIN_BUILD)
#define SKEW_LANES plain
#elif defined(SKEW_AVX512_BUILD)
#define SKEW_LANES lanes64
#elif defined(SKEW_AVX2_BUILD)
#define SKEW_LANES lanes32
#else
#define SKEW_LANES lanes16
#endif

#if SKEW_SIMD

#if defined(__ARM_NEON)
#include <arm_neon.h>
#elif defined(SKEW_AVX512_BUILD) || defined(SKEW_AVX2_BUILD)
#pragma GCC diagnostic push
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"  // gcc 12 warns of its own AVX-512 functions
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop
#else
#include <emmintrin.h>
#endif

// For what a loop is made of: gcc leaves functions of this size out of line, and with them their vectors.
#define SKEW_INLINE __attribute__((always_inline)) inline

namespace skew {
inline namespace SKEW_LANES {

#if defined(SKEW_AVX512_BUILD)
constexpr int kVectorBytes = 64;
#elif defined(SKEW_AVX2_BUILD)
constexpr int kVectorBytes = 32;
#else
constexpr int kVectorBytes = 16;
#endif

typedef uint8_t U8 __attribute__((vector_size(kVectorBytes)));
typedef uint16_t U16 __attribute__((vector_size(kVectorBytes)));
typedef int16_t I16 __attribute__((vector_size(kVectorBytes)));
typedef uint32_t U32 __attribute__((vector_size(kVectorBytes)));
typedef int32_t I32 __attribute__((vector_size(kVectorBytes)));

constexpr int kLanes8 = kVectorBytes;
constexpr int kLanes16 = kVectorBytes / 2;
constexpr int kLanes32 = kVectorBytes / 4;

// Any address will do; exactly the bytes of V are touched.
template <class V>
inline V load(const void* from) {
  V v;
  std::memcpy(&v, from, sizeof v);
  return v;
}

template <class V>
inline void store(void* to, V v) {
  std::memcpy(to, &v, sizeof v);
}

// Values of two kinds, lane by lane.
struct Pairs {
  U32 first, second;
};

}  // namespace SKEW_LANES
}  // namespace skew

#if defined(SKEW_AVX512_BUILD)
#include "core/simd64.h"
#else

namespace skew {
inline namespace SKEW_LANES {

// kLanes16 bytes, each widened to 16 bits.
inline U16 load_widened(const uint8_t* from) {
#if defined(__ARM_NEON)
  return (U16)vmovl_u8(vld1_u8(from));
#elif defined(SKEW_AVX2_BUILD)
  return (U16)_mm256_cvtepu8_epi16(_mm_loadu_si128((const __m128i*)from));
#else
  return (U16)_mm_unpacklo_epi8(_mm_loadl_epi64((const __m128i*)from), _mm_setzero_si128());
#endif
}

// The low bytes of kLanes16 values, all of which lie in 0 ... 255.
inline void store_narrowed(uint8_t* to, U16 v) {
#if defined(__ARM_NEON)
  vst1_u8(to, vmovn_u16((uint16x8_t)v));
#elif defined(SKEW_AVX2_BUILD)
  const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16((__m256i)v, (__m256i)v), 0x08);
  _mm_storeu_si128((__m128i*)to, _mm256_castsi256_si128(packed));
#else
  _mm_storel_epi64((__m128i*)to, _mm_packus_epi16((__m128i)v, (__m128i)v));
#endif
}

// The lower half of the bytes, widened to 16 bits, and the upper half.
inline U16 widen_low(U8 v) {
#if defined(__ARM_NEON)
  return (U16)vmovl_u8(vget_low_u8((uint8x16_t)v));
#elif defined(SKEW_AVX2_BUILD)
  return (U16)_mm256_cvtepu8_epi16(_mm256_castsi256_si128((__m256i)v));
#else
  return (U16)_mm_unpacklo_epi8((__m128i)v, _mm_setzero_si128());
#endif
}

inline U16 widen_high(U8 v) {
#if defined(__ARM_NEON)
  return (U16)vmovl_u8(vget_high_u8((uint8x16_t)v));
#elif defined(SKEW_AVX2_BUILD)
  return (U16)_mm256_cvtepu8_epi16(_mm256_extracti128_si256((__m256i)v, 1));
#else
  return (U16)_mm_unpackhi_epi8((__m128i)v, _mm_setzero_si128());
#endif
}

// In every 16 bytes: the lower 8 of a and b alternating (a first), and the upper 8.
inline U8 zip_low(U8 a, U8 b) {
#if defined(__ARM_NEON)
  return (U8)vzipq_u8((uint8x16_t)a, (uint8x16_t)b).val[0];
#elif defined(SKEW_AVX2_BUILD)
  return (U8)_mm256_unpacklo_epi8((__m256i)a, (__m256i)b);
#else
  return (U8)_mm_unpacklo_epi8((__m128i)a, (__m128i)b);
#endif
}

inline U8 zip_high(U8 a, U8 b) {
#if defined(__ARM_NEON)
  return (U8)vzipq_u8((uint8x16_t)a, (uint8x16_t)b).val[1];
#elif defined(SKEW_AVX2_BUILD)
  return (U8)_mm256_unpackhi_epi8((__m256i)a, (__m256i)b);
#else
  return (U8)_mm_unpackhi_epi8((__m128i)a, (__m128i)b);
#endif
}

// The first 16 bytes from one place and, where there are 32, the others from another.
inline U8 load_halves(const uint8_t* first, const uint8_t* second) {
#if defined(SKEW_AVX2_BUILD)
  const __m256i low = _mm256_castsi128_si256(_mm_loadu_si128((const __m128i*)first));
  return (U8)_mm256_inserti128_si256(low, _mm_loadu_si128((const __m128i*)second), 1);
#else
  (void)second;
  return load<U8>(first);
#endif
}

// Stores them the same way.
inline void store_halves(uint8_t* first, uint8_t* second, U8 v) {
#if defined(SKEW_AVX2_BUILD)
  _mm_storeu_si128((__m128i*)first, _mm256_castsi256_si128((__m256i)v));
  _mm_storeu_si128((__m128i*)second, _mm256_extracti128_si256((__m256i)v, 1));
#else
  store(first, v);
  (void)second;
#endif
}

// mask ? a : b, lane by lane; every lane of the mask is all ones or all zeros.
template <class M, class V>
inline V select(M mask, V a, V b) {
#if defined(__ARM_NEON)
  return (V)vbslq_u8((uint8x16_t)mask, (uint8x16_t)a, (uint8x16_t)b);
#elif defined(SKEW_AVX2_BUILD)
  return (V)_mm256_blendv_epi8((__m256i)b, (__m256i)a, (__m256i)mask);
#else
  return (V)(((V)mask & a) | (~(V)mask & b));
#endif
}

// The larger of two values, lane by lane.
inline I16 maximum(I16 a, I16 b) {
#if defined(__ARM_NEON)
  return (I16)vmaxq_s16((int16x8_t)a, (int16x8_t)b);
#elif defined(SKEW_AVX2_BUILD)
  return (I16)_mm256_max_epi16((__m256i)a, (__m256i)b);
#else
  return (I16)_mm_max_epi16((__m128i)a, (__m128i)b);
#endif
}

// v * kFactor / 2^16, rounded down.
template <int kFactor>
inline I16 multiply_high(I16 v) {
  static_assert(kFactor >= 0 && kFactor < 32768 && kFactor % 2 == 0, "NEON doubles the product");
#if defined(__ARM_NEON)
  return (I16)vqdmulhq_n_s16((int16x8_t)v, kFactor / 2);
#elif defined(SKEW_AVX2_BUILD)
  return (I16)_mm256_mulhi_epi16((__m256i)v, _mm256_set1_epi16(kFactor));
#else
  return (I16)_mm_mulhi_epi16((__m128i)v, _mm_set1_epi16(kFactor));
#endif
}

// All ones in each lane whose bit is set, the lowest bit for the first lane.
inline U8 expand_bits(uint64_t bits) {
#if defined(__ARM_NEON)
  const U8 weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
  const uint8x8_t low = vdup_n_u8(static_cast<uint8_t>(bits)),
                  high = vdup_n_u8(static_cast<uint8_t>(bits >> 8));
  return (U8)vtstq_u8(vcombine_u8(low, high), (uint8x16_t)weights);
#elif defined(SKEW_AVX2_BUILD)
  const __m256i bytes =
      _mm256_shuffle_epi8(_mm256_set1_epi32(static_cast<int>(bits)),
                          _mm256_setr_epi64x(0, 0x0101010101010101, 0x0202020202020202, 0x0303030303030303));
  const __m256i weights = _mm256_set1_epi64x(static_cast<long long>(0x8040201008040201));
  return (U8)_mm256_cmpeq_epi8(_mm256_and_si256(bytes, weights), weights);
#else
  __m128i bytes = _mm_cvtsi32_si128(static_cast<int>(bits));
  bytes = _mm_unpacklo_epi8(bytes, bytes);
  bytes = _mm_unpacklo_epi16(bytes, bytes);
  bytes = _mm_unpacklo_epi32(bytes, bytes);
  const __m128i weights = _mm_set1_epi64x(static_cast<long long>(0x8040201008040201));
  return (U8)_mm_cmpeq_epi8(_mm_and_si128(bytes, weights), weights);
#endif
}

// One bit for each lane of two masks, the lowest for the first lane of `first`.
inline uint32_t mask_bits(I16 first, I16 second) {
#if defined(__ARM_NEON)
  const U8 weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
  const uint8x16_t mask = vcombine_u8(vmovn_u16((uint16x8_t)first), vmovn_u16((uint16x8_t)second));
  const uint64x2_t sums = vpaddlq_u32(vpaddlq_u16(vpaddlq_u8(vandq_u8(mask, (uint8x16_t)weights))));
  return static_cast<uint32_t>(vgetq_lane_u64(sums, 0) | vgetq_lane_u64(sums, 1) << 8);
#elif defined(SKEW_AVX2_BUILD)
  const __m256i packed = _mm256_packs_epi16((__m256i)first, (__m256i)second);
  return static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_permute4x64_epi64(packed, 0xD8)));
#else
  return static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16((__m128i)first, (__m128i)second)));
#endif
}

// The bytes of a vector as 16-bit lanes. Which byte lies where is not told, but it is the same for every
// vector, and narrow() puts each back in its place; its lanes must lie in 0 ... 255.
struct Widened {
  U16 first, second;
};

inline Widened widen(U8 v) { return {(U16)zip_low(v, U8{}), (U16)zip_high(v, U8{})}; }

inline U8 narrow(U16 first, U16 second) {
#if defined(__ARM_NEON)
  return (U8)vcombine_u8(vmovn_u16((uint16x8_t)first), vmovn_u16((uint16x8_t)second));
#elif defined(SKEW_AVX2_BUILD)
  return (U8)_mm256_packus_epi16((__m256i)first, (__m256i)second);
#else
  return (U8)_mm_packus_epi16((__m128i)first, (__m128i)second);
#endif
}

inline U8 smaller(U8 a, U8 b) {
#if defined(__ARM_NEON)
  return (U8)vminq_u8((uint8x16_t)a, (uint8x16_t)b);
#elif defined(SKEW_AVX2_BUILD)
  return (U8)_mm256_min_epu8((__m256i)a, (__m256i)b);
#else
  return (U8)_mm_min_epu8((__m128i)a, (__m128i)b);
#endif
}

// a - b, or 0 where b is larger.
inline U8 excess(U8 a, U8 b) {
#if defined(__ARM_NEON)
  return (U8)vqsubq_u8((uint8x16_t)a, (uint8x16_t)b);
#elif defined(SKEW_AVX2_BUILD)
  return (U8)_mm256_subs_epu8((__m256i)a, (__m256i)b);
#else
  return (U8)_mm_subs_epu8((__m128i)a, (__m128i)b);
#endif
}

// a * b / 65536, rounded down.
inline U16 multiply_high(U16 a, U16 b) {
#if defined(__ARM_NEON)
  const uint16x8_t m = (uint16x8_t)a, n = (uint16x8_t)b;
  return (U16)vcombine_u16(vshrn_n_u32(vmull_u16(vget_low_u16(m), vget_low_u16(n)), 16),
                           vshrn_n_u32(vmull_u16(vget_high_u16(m), vget_high_u16(n)), 16));
#elif defined(SKEW_AVX2_BUILD)
  return (U16)_mm256_mulhi_epu16((__m256i)a, (__m256i)b);
#else
  return (U16)_mm_mulhi_epu16((__m128i)a, (__m128i)b);
#endif
}

// One bit for each byte of a mask, the first byte's lowest.
inline uint32_t mask_bits(U8 mask) {
#if defined(__ARM_NEON)
  const uint8x16_t weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
  const uint8x16_t bits = vandq_u8((uint8x16_t)mask, weights);
  uint8x8_t sums = vpadd_u8(vget_low_u8(bits), vget_high_u8(bits));
  sums = vpadd_u8(sums, sums);
  return vget_lane_u16(vreinterpret_u16_u8(vpadd_u8(sums, sums)), 0);
#elif defined(SKEW_AVX2_BUILD)
  return (uint32_t)_mm256_movemask_epi8((__m256i)mask);
#else
  return (uint32_t)_mm_movemask_epi8((__m128i)mask);
#endif
}

// Whether any lane of a mask is set.
inline bool any(U8 mask) {
#if defined(__ARM_NEON)
  const uint64x2_t halves = vreinterpretq_u64_u8((uint8x16_t)mask);
  return (vgetq_lane_u64(halves, 0) | vgetq_lane_u64(halves, 1)) != 0;
#else
  return mask_bits(mask) != 0;
#endif
}

// a * b / 2^32, rounded down; no lane of b may be negative.
inline I32 multiply_high(I32 a, I32 b) {
#if defined(__ARM_NEON)
  return (I32)vqdmulhq_s32((int32x4_t)a, (int32x4_t)b) >> 1;  // of the doubled product
#elif defined(SKEW_AVX2_BUILD)
  const __m256i even = _mm256_srli_epi64(_mm256_mul_epi32((__m256i)a, (__m256i)b), 32);
  const __m256i odd = _mm256_mul_epi32(_mm256_srli_epi64((__m256i)a, 32), _mm256_srli_epi64((__m256i)b, 32));
  return (I32)_mm256_blend_epi32(even, odd, 0xAA);
#else
  // The unsigned product of a negative a is too large by b * 2^32.
  const __m128i even = _mm_srli_epi64(_mm_mul_epu32((__m128i)a, (__m128i)b), 32);
  const __m128i odd = _mm_mul_epu32(_mm_srli_epi64((__m128i)a, 32), _mm_srli_epi64((__m128i)b, 32));
  const __m128i high = _mm_set_epi32(-1, 0, -1, 0);
  return (I32)_mm_or_si128(even, _mm_and_si128(odd, high)) - ((a >> 31) & b);
#endif
}

// Two vectors narrowed to one, in order; all values lie in 0 ... 32767.
inline U16 narrowed(I32 low, I32 high) {
#if defined(__ARM_NEON)
  return (U16)vcombine_s16(vmovn_s32((int32x4_t)low), vmovn_s32((int32x4_t)high));
#elif defined(SKEW_AVX2_BUILD)
  return (U16)_mm256_permute4x64_epi64(_mm256_packs_epi32((__m256i)low, (__m256i)high), 0xD8);
#else
  return (U16)_mm_packs_epi32((__m128i)low, (__m128i)high);
#endif
}

// kLanes32 pairs of neighbouring values, taken apart.
inline Pairs load_pairs(const uint64_t* from) {
#if defined(__ARM_NEON)
  const uint32x4x2_t pairs = vuzpq_u32((uint32x4_t)load<U32>(from), (uint32x4_t)load<U32>(from + 2));
  return {(U32)pairs.val[0], (U32)pairs.val[1]};
#elif defined(SKEW_AVX2_BUILD)
  const __m256 low = _mm256_loadu2_m128((const float*)(from + 4), (const float*)from);
  const __m256 high = _mm256_loadu2_m128((const float*)(from + 6), (const float*)(from + 2));
  return {(U32)_mm256_shuffle_ps(low, high, 0x88), (U32)_mm256_shuffle_ps(low, high, 0xDD)};
#else
  const __m128 low = _mm_loadu_ps((const float*)from), high = _mm_loadu_ps((const float*)(from + 2));
  return {(U32)_mm_shuffle_ps(low, high, 0x88), (U32)_mm_shuffle_ps(low, high, 0xDD)};
#endif
}

// Table lookups in bytes, which SSE2 lacks.
#if defined(__ARM_NEON) || defined(SKEW_AVX2_BUILD)
#define SKEW_LOOKUP 1
#else
#define SKEW_LOOKUP 0
#endif

#if SKEW_LOOKUP
constexpr int kTableBytes = 16;

// For each byte of the index, which is less than kTableBytes, that byte of the table; 0 where the index is
// 0x80 or more.
inline U8 lookup(U8 table, U8 index) {
#if defined(SKEW_AVX2_BUILD)
  return (U8)_mm256_shuffle_epi8((__m256i)table, (__m256i)index);
#elif defined(__aarch64__)
  return (U8)vqtbl1q_u8((uint8x16_t)table, (uint8x16_t)index);
#else
  const uint8x16_t bytes = (uint8x16_t)table, at = (uint8x16_t)index;
  const uint8x8x2_t halves = {{vget_low_u8(bytes), vget_high_u8(bytes)}};
  return (U8)vcombine_u8(vtbl2_u8(halves, vget_low_u8(at)), vtbl2_u8(halves, vget_high_u8(at)));
#endif
}

// The lanes of a vector with the given numbers, 0 ... kLanes32 - 1.
inline U32 permuted(U32 v, I32 lanes) {
#if defined(SKEW_AVX2_BUILD)
  return (U32)_mm256_permutevar8x32_epi32((__m256i)v, (__m256i)lanes);
#else
  return (U32)lookup((U8)v, (U8)((U32)lanes * 0x04040404u + 0x03020100u));
#endif
}

// A table of kTableBytes bytes for lookup.
inline U8 load_table(const uint8_t* from) {
#if defined(SKEW_AVX2_BUILD)
  return (U8)_mm256_broadcastsi128_si256(_mm_loadu_si128((const __m128i*)from));
#else
  return load<U8>(from);
#endif
}
#endif

// Stores the low three bytes of each lane, and nothing behind them.
inline void store_triples(uint8_t* to, U32 v) {
#if defined(SKEW_AVX2_BUILD)
  const __m256i packing =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
  const __m256i dense = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8((__m256i)v, packing),
                                                    _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
  _mm_storeu_si128((__m128i*)to, _mm256_castsi256_si128(dense));
  _mm_storel_epi64((__m128i*)(to + 16), _mm256_extracti128_si256(dense, 1));
#elif SKEW_LOOKUP
  const U8 packing = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 128, 128, 128, 128};
  const U8 dense = lookup((U8)v, packing);
  std::memcpy(to, &dense, 12);
#else
  for (int i = 0; i < kLanes32; ++i, to += 3) {
    const uint32_t lane = v[i];
    std::memcpy(to, &lane, 3);
  }
#endif
}

}  // namespace SKEW_LANES
}  // namespace skew

#endif  // SKEW_AVX512_BUILD

#endif  // SKEW_SIMD
