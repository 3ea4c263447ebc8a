// Vector forms of the conversions. Each converts whole vectors of pixels from the front and returns how many
// pixels it converted, a number from 0 to count; the caller converts the rest. Nothing past count pixels is
// read or written, and source and destination may start at the same address.
#pragma once

#include "core/simd.h"

#if SKEW_SIMD

#define SKEW_DECLARE_PIXEL_ROWS                                                      \
  int64_t gray_from_argb_vectors(const int32_t* argb, int64_t count, uint8_t* gray); \
  int64_t gray_from_rgb_vectors(const uint8_t* rgb, int64_t count, uint8_t* gray);   \
  int64_t rgb_from_argb_vectors(const int32_t* argb, int64_t count, uint8_t* rgb);

namespace skew {
inline namespace SKEW_LANES {
SKEW_DECLARE_PIXEL_ROWS
}
#if defined(SKEW_WIDER_FORMS) && !defined(SKEW_AVX2_BUILD)
namespace lanes32 {
SKEW_DECLARE_PIXEL_ROWS
}
#endif
}  // namespace skew

#undef SKEW_DECLARE_PIXEL_ROWS

#endif
