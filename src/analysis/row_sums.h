// The vector form of the scan for nonzero pixels.
#pragma once

#include "core/simd.h"

namespace skew {

// The nonzero pixels of a part of a row: how many, and the sum of their columns.
struct RowSum {
  uint64_t count, columns;
};

}  // namespace skew

#if SKEW_SIMD

namespace skew {
inline namespace SKEW_LANES {

// Adds what whole vectors from the front of the row hold to *sum, and returns how many pixels that were; the
// caller's plain loop does the rest. Nothing but the row's pixels is read.
int sum_vectors(const uint8_t* row, int width, RowSum* sum);

}  // namespace SKEW_LANES
#if defined(SKEW_WIDER_FORMS) && !defined(SKEW_AVX2_BUILD)
namespace lanes32 {
int sum_vectors(const uint8_t* row, int width, RowSum* sum);
}
#endif
}  // namespace skew

#endif
