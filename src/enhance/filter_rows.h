// Vector forms of one row of each filter. Each works on whole vectors of the pixels `begin` to `end` and
// returns where it stopped; the caller's plain loop does the rest. Nothing outside the pixels and their
// neighbours is touched.
#pragma once

#include "core/simd.h"

namespace skew {

// One step down the image for the 3 x 3 kernel. The sums are those of three pixels of a row, 1 2 1.
struct SmoothStep {
  const uint8_t* below;  // the row below
  uint16_t* upper;  // per column: the sum of the row above and twice that of the own row; moves on one row
  uint16_t* own;    // per column: the sum of the own row; moves on one row
  uint8_t* out;     // the own row
};

// Three rows as they are before the gaps are closed.
struct RowNeighbourhood {
  const uint8_t *above, *own, *below;
};

// A piecewise linear map of gray levels: what lies below `low`, in the band from there to `high`, and above
// is multiplied by a factor for each of the three, in 1/65536, rounded up; the whole part of the band's
// factor stands apart. Rounded down, the products are those of the exact factors, since all levels are below
// 256.
struct LevelMap {
  uint8_t low, high;
  uint16_t below, band_whole, band, above;
};

constexpr int kLevelsCounted = 8;

// Some gray levels, and for each the number of pixels that are not lighter.
struct LevelSet {
  uint8_t level[kLevelsCounted];
};
struct LevelCounts {
  int64_t up_to[kLevelsCounted];
};

}  // namespace skew

#if SKEW_SIMD

#define SKEW_DECLARE_FILTER_ROWS                                                          \
  int smooth_vectors(const SmoothStep& step, int begin, int end);                         \
  int count_up_to_vectors(const uint8_t* row, int begin, int end, const LevelSet& levels, \
                          LevelCounts* counts);                                           \
  int close_gaps_vectors(const RowNeighbourhood& rows, int begin, int end, uint8_t* out); \
  int map_levels_vectors(const LevelMap& map, uint8_t* row, int begin, int end);

namespace skew {
inline namespace SKEW_LANES {
SKEW_DECLARE_FILTER_ROWS
}
#if defined(SKEW_WIDER_FORMS) && !defined(SKEW_AVX2_BUILD)
namespace lanes32 {
SKEW_DECLARE_FILTER_ROWS
}
#endif
}  // namespace skew

#undef SKEW_DECLARE_FILTER_ROWS

#endif
