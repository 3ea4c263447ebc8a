// Vector forms of the scans of a row. Each works on whole vectors from the front of the row and returns how
// many pixels it did; the caller's plain loop does the rest. Nothing but the row's pixels is read.
#pragma once

#include "core/simd.h"

namespace skew {

// The nonzero pixels of a part of a row: how many, and the sum of their columns.
struct RowSum {
  uint64_t count, columns;
};

}  // namespace skew

#if SKEW_SIMD

// match_vectors sets one bit for each pixel, from the lowest of bits[0] on, and clears it where the pixel is
// not `value`. sum_vectors adds to *sum.
#define SKEW_DECLARE_SCAN_ROWS                                                    \
  int match_vectors(const uint8_t* row, int width, uint8_t value, uint8_t* bits); \
  int sum_vectors(const uint8_t* row, int width, RowSum* sum);

namespace skew {
inline namespace SKEW_LANES {
SKEW_DECLARE_SCAN_ROWS
}
#if defined(SKEW_AVX2_FORMS) && !defined(SKEW_AVX2_BUILD)
namespace lanes32 {
SKEW_DECLARE_SCAN_ROWS
}
#endif
}  // namespace skew

#undef SKEW_DECLARE_SCAN_ROWS

#endif
