// Vectors from the front, then the plain loops, which also say what is meant.
//
// On x86-64 a pixel is handled as the four bytes of one 32-bit lane, and the luma is two products of 16-bit
// pairs: (first, third) channel and (second channel, fourth byte times zero). NEON takes channels apart while
// loading, and there the luma fits 16 bits: 306 red + 601 green + 117 blue = 256 (red + 2 green) + rest with
// rest = 50 red + 89 green + 117 blue < 65536, so that luma = (red + 2 green + rest / 256) / 4, rounding down
// both times.
#include "convert/pixel_rows.h"

#include "convert/luma.h"

namespace skew {
namespace {

#if SKEW_SIMD

#if defined(__ARM_NEON)

constexpr int kStep = 16;

uint8x8_t lumas(uint8x8_t red, uint8x8_t green, uint8x8_t blue) {
  uint16x8_t rest = vmull_u8(red, vdup_n_u8(50));
  rest = vmlal_u8(rest, green, vdup_n_u8(89));
  rest = vmlal_u8(rest, blue, vdup_n_u8(117));
  const uint16x8_t whole = vaddq_u16(vaddl_u8(red, vshrn_n_u16(rest, 8)), vshll_n_u8(green, 1));
  return vshrn_n_u16(whole, 2);
}

uint8x16_t lumas(uint8x16_t red, uint8x16_t green, uint8x16_t blue) {
  return vcombine_u8(lumas(vget_low_u8(red), vget_low_u8(green), vget_low_u8(blue)),
                     lumas(vget_high_u8(red), vget_high_u8(green), vget_high_u8(blue)));
}

void argb_to_gray(const int32_t* argb, uint8_t* gray) {
  const uint8x16x4_t p = vld4q_u8(reinterpret_cast<const uint8_t*>(argb));  // blue, green, red, alpha
  vst1q_u8(gray, lumas(p.val[2], p.val[1], p.val[0]));
}

void rgb_to_gray(const uint8_t* rgb, uint8_t* gray) {
  const uint8x16x3_t p = vld3q_u8(rgb);
  vst1q_u8(gray, lumas(p.val[0], p.val[1], p.val[2]));
}

void argb_to_rgb(const int32_t* argb, uint8_t* rgb) {
  const uint8x16x4_t p = vld4q_u8(reinterpret_cast<const uint8_t*>(argb));
  const uint8x16x3_t q = {{p.val[2], p.val[1], p.val[0]}};
  vst3q_u8(rgb, q);
}

#else

constexpr int kStep = kLanes8;  // pixels a step: they fill one vector of gray bytes
constexpr int kQuarter = kLanes32;

// For each pixel first * byte 0 + second * byte 1 + third * byte 2, divided by 1024; byte 3 has no effect.
template <int first, int second, int third>
inline I32 lumas(U32 pixels) {
#if defined(SKEW_AVX2_BUILD)
  const __m256i v = (__m256i)pixels;
  const __m256i even = _mm256_and_si256(v, _mm256_set1_epi16(0xFF)), odd = _mm256_srli_epi16(v, 8);
  return (I32)_mm256_srli_epi32(
      _mm256_add_epi32(_mm256_madd_epi16(even, _mm256_set1_epi32(first | third << 16)),
                       _mm256_madd_epi16(odd, _mm256_set1_epi32(second))),
      10);
#else
  const __m128i v = (__m128i)pixels;
  const __m128i even = _mm_and_si128(v, _mm_set1_epi16(0xFF)), odd = _mm_srli_epi16(v, 8);
  return (I32)_mm_srli_epi32(_mm_add_epi32(_mm_madd_epi16(even, _mm_set1_epi32(first | third << 16)),
                                           _mm_madd_epi16(odd, _mm_set1_epi32(second))),
                             10);
#endif
}

// The low bytes of four vectors of 32-bit lanes in 0 ... 255, in order.
inline U8 narrow_bytes(I32 a, I32 b, I32 c, I32 d) {
#if defined(SKEW_AVX2_BUILD)
  const __m256i packed = _mm256_packus_epi16(_mm256_packs_epi32((__m256i)a, (__m256i)b),
                                             _mm256_packs_epi32((__m256i)c, (__m256i)d));
  return (U8)_mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
#else
  return (U8)_mm_packus_epi16(_mm_packs_epi32((__m128i)a, (__m128i)b),
                              _mm_packs_epi32((__m128i)c, (__m128i)d));
#endif
}

void argb_to_gray(const int32_t* argb, uint8_t* gray) {
  const auto quarter = [=](int k) { return lumas<117, 601, 306>(load<U32>(argb + k * kQuarter)); };
  store(gray, narrow_bytes(quarter(0), quarter(1), quarter(2), quarter(3)));
}

// kLanes32 pixels from packed bytes, byte 3 of each arbitrary. Reads 4 bytes more than it uses.
inline U32 load_rgb(const uint8_t* rgb) {
#if defined(SKEW_AVX2_BUILD)
  const __m256i v = _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128((const __m128i*)rgb)),
                                            _mm_loadu_si128((const __m128i*)(rgb + 12)), 1);
  const __m256i order = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                         0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
  return (U32)_mm256_shuffle_epi8(v, order);
#else
  const __m128i v = _mm_loadu_si128((const __m128i*)rgb), later = _mm_srli_si128(v, 6);
  return (U32)_mm_unpacklo_epi64(_mm_unpacklo_epi32(v, _mm_srli_si128(v, 3)),
                                 _mm_unpacklo_epi32(later, _mm_srli_si128(later, 3)));
#endif
}

void rgb_to_gray(const uint8_t* rgb, uint8_t* gray) {
  const auto quarter = [=](int k) { return lumas<306, 601, 117>(load_rgb(rgb + 3 * k * kQuarter)); };
  store(gray, narrow_bytes(quarter(0), quarter(1), quarter(2), quarter(3)));
}

// Writes the channels of kLanes32 pixels as packed bytes, and up to 4 arbitrary bytes after them.
inline void store_rgb(uint8_t* rgb, U32 argb) {
#if defined(SKEW_AVX2_BUILD)
  const __m256i order = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1,  //
                                         2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  const __m256i packed = _mm256_shuffle_epi8((__m256i)argb, order);
  _mm_storeu_si128((__m128i*)rgb, _mm256_castsi256_si128(packed));
  _mm_storeu_si128((__m128i*)(rgb + 12), _mm256_extracti128_si256(packed, 1));
#else
  const U32 turned = ((argb >> 16) & 255) | (argb & 0xFF00) | ((argb & 255) << 16);
  const __m128i v = (__m128i)turned;
  const __m128i low = _mm_set1_epi64x(0xFFFFFF), low_half = _mm_set_epi64x(0, 0xFFFFFFFFFFFF);
  const __m128i pairs = _mm_or_si128(_mm_and_si128(v, low), _mm_srli_epi64(_mm_andnot_si128(low, v), 8));
  const __m128i packed =
      _mm_or_si128(_mm_and_si128(pairs, low_half), _mm_srli_si128(_mm_andnot_si128(low_half, pairs), 2));
  _mm_storeu_si128((__m128i*)rgb, packed);
#endif
}

void argb_to_rgb(const int32_t* argb, uint8_t* rgb) {
  for (int k = 0; k < 4; ++k) store_rgb(rgb + 3 * k * kQuarter, load<U32>(argb + k * kQuarter));
}

#endif

// On x86-64 steps of packed bytes touch up to 4 bytes beyond their pixels: two pixels, which stay for the plain loop.
constexpr int kSpare = 2;

#endif  // SKEW_SIMD

void gray_from_argb(const int32_t* argb, int64_t count, uint8_t* gray) {
  int64_t i = 0;
#if SKEW_SIMD
  for (; i + kStep <= count; i += kStep) argb_to_gray(argb + i, gray + i);
#endif
  for (; i < count; ++i) gray[i] = static_cast<uint8_t>(luma_of_argb(static_cast<uint32_t>(argb[i])));
}

void gray_from_rgb(const uint8_t* rgb, int64_t count, uint8_t* gray) {
  int64_t i = 0;
#if SKEW_SIMD
  for (; i + kStep + kSpare <= count; i += kStep) rgb_to_gray(rgb + 3 * i, gray + i);
#endif
  for (; i < count; ++i) gray[i] = static_cast<uint8_t>(luma(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]));
}

void rgb_from_argb(const int32_t* argb, int64_t count, uint8_t* rgb) {
  int64_t i = 0;
#if SKEW_SIMD
  for (; i + kStep + kSpare <= count; i += kStep) argb_to_rgb(argb + i, rgb + 3 * i);
#endif
  for (; i < count; ++i) {
    const uint32_t pixel = static_cast<uint32_t>(argb[i]);
    rgb[3 * i] = static_cast<uint8_t>(pixel >> 16);
    rgb[3 * i + 1] = static_cast<uint8_t>(pixel >> 8);
    rgb[3 * i + 2] = static_cast<uint8_t>(pixel);
  }
}

}  // namespace

SKEW_FORM(PixelRows) = {gray_from_argb, gray_from_rgb, rgb_from_argb};

}  // namespace skew
