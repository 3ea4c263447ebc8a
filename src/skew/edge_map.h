// The inner parts of CannyEdge. The candidates for edges are kept as bits, 64 pixels a word: hysteresis then
// works on words, and the raster itself is read once and written once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/forms.h"

namespace skew {

constexpr int kLargestGradient = 2040;

// A bit for each pixel, `words` words a row; bit b of word i is column 64 * i + b. Columns and rows on the
// border and beyond the width have no bits, so that nothing ever spreads from one row's end to the next row.
// One word before the first row and one behind the last may be read too, and have no bits either.
struct EdgeBits {
  uint64_t* candidates;  // pixels that passed suppression
  uint64_t* edges;       // the strong ones among them; after the hysteresis all that are connected to one
  ptrdiff_t words;       // of a row
};

// What one pass over the raster works on.
struct GradientPass {
  const uint8_t* source;
  ptrdiff_t stride;
  int width, height;   // 2 or more
  int low, high;       // 0 ... kLargestGradient + 1
  int16_t* work;       // kWorkRows rows, zeros
  ptrdiff_t work_row;  // of 64 * words magnitudes or sectors with kWorkMargin more on both sides
  EdgeBits bits;       // zeros
};

constexpr int kWorkMargin = 16;
constexpr int kWorkRows = 5;  // three of magnitudes, two of sectors

struct EdgeKernels {
  // Marks the local maxima of the gradient above the low threshold as candidates, and those above the high threshold
  // as edges too. Returns the largest magnitude that is not below the low threshold, or 0.
  int (*mark_candidates)(const GradientPass& pass);
};
SKEW_DECLARE_FORMS(EdgeKernels)

// Makes edges of all candidates that are connected to an edge over eight neighbours. `links` holds a zero for
// each word of the `height` rows; there are fewer than 2^32 - 1.
void spread_edges(const EdgeBits& bits, int height, uint32_t* links);

}  // namespace skew
