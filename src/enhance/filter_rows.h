// One row of each filter, pixels `begin` to `end`. Nothing outside these and their neighbours is touched.
#pragma once

#include "core/forms.h"

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

struct FilterRows {
  void (*smooth)(const SmoothStep& step, int begin, int end);
  // Where a pixel bridges a gap, it becomes 255 in `out`, which holds the own row.
  void (*close_gaps)(const RowNeighbourhood& rows, int begin, int end, uint8_t* out);
  // Adds to the counts.
  void (*count_up_to)(const uint8_t* row, int begin, int end, const LevelSet& levels, LevelCounts* counts);
  void (*map_levels)(const LevelMap& map, uint8_t* row, int begin, int end);
};
SKEW_DECLARE_FORMS(FilterRows)

// The sum of a pixel and its neighbours in the row, 1 2 1.
static inline int sum_of_three(const uint8_t* p) { return p[-1] + 2 * p[0] + p[1]; }

}  // namespace skew
