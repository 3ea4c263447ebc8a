// The part of core/simd.h that has a form for AVX-512: what the kernels compiled for it use. The processor must
// have its subsets F, BW, VL and VBMI. Each function does what core/simd.h says of its namesake.
#pragma once

#include "core/simd.h"

namespace skew {
inline namespace SKEW_LANES {

template <class M, class V>
inline V select(M mask, V a, V b) {
  constexpr int kFirstChooses = 0xCA;
  return (V)_mm512_ternarylogic_epi32((__m512i)mask, (__m512i)a, (__m512i)b, kFirstChooses);
}

inline I32 multiply_high(I32 a, I32 b) {
  const __m512i even = _mm512_srli_epi64(_mm512_mul_epi32((__m512i)a, (__m512i)b), 32);
  const __m512i odd = _mm512_mul_epi32(_mm512_srli_epi64((__m512i)a, 32), _mm512_srli_epi64((__m512i)b, 32));
  return (I32)_mm512_mask_blend_epi32(0xAAAA, even, odd);
}

inline U16 narrowed(I32 low, I32 high) {
  return (U16)_mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi32_epi16((__m512i)low)),
                                 _mm512_cvtepi32_epi16((__m512i)high), 1);
}

inline void store_narrowed(uint8_t* to, U16 v) {
  _mm256_storeu_si256((__m256i*)to, _mm512_cvtepi16_epi8((__m512i)v));
}

inline Pairs load_pairs(const uint64_t* from) {
  const __m512i low = _mm512_loadu_si512(from), high = _mm512_loadu_si512(from + 8);
  const I32 even = {0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30};
  return {(U32)_mm512_permutex2var_epi32(low, (__m512i)even, high),
          (U32)_mm512_permutex2var_epi32(low, (__m512i)(even + 1), high)};
}

#define SKEW_LOOKUP 1
constexpr int kTableBytes = 64;

inline U8 load_table(const uint8_t* from) { return load<U8>(from); }

inline U8 lookup(U8 table, U8 index) {
  const __mmask64 zeros = _mm512_movepi8_mask((__m512i)index);
  return (U8)_mm512_maskz_permutexvar_epi8(~zeros, (__m512i)index, (__m512i)table);
}

inline U32 permuted(U32 v, I32 lanes) { return (U32)_mm512_permutexvar_epi32((__m512i)lanes, (__m512i)v); }

inline void store_triples(uint8_t* to, U32 v) {
  const U8 packing = {0,  1,  2,  4,  5,  6,  8,  9,  10, 12, 13, 14, 16, 17, 18, 20, 21, 22, 24, 25, 26, 28,
                      29, 30, 32, 33, 34, 36, 37, 38, 40, 41, 42, 44, 45, 46, 48, 49, 50, 52, 53, 54, 56, 57,
                      58, 60, 61, 62, 3,  7,  11, 15, 19, 23, 27, 31, 35, 39, 43, 47, 51, 55, 59, 63};
  const U8 dense = (U8)_mm512_permutexvar_epi8((__m512i)packing, (__m512i)v);
  std::memcpy(to, &dense, 3 * kLanes32);
}

}  // namespace SKEW_LANES
}  // namespace skew
