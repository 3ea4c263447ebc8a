// Projections of a box with many edge points, counted whole vectors at a time instead of point by point.
//
// The box is kept as prefix counts: for every main coordinate, how many of its points have a smaller cross
// coordinate. The cross coordinates that share a product with the sine form a run, and the prefix counts at
// the ends of a run tell how many points lie in it, for a whole strip of main coordinates in one subtraction.
// Turned by transposition into one list of run counts for each main coordinate, they are added to the
// histogram at the place that the product with the cosine gives.
#pragma once

#include "core/forms.h"
#include "skew/edge_box.h"

namespace skew {

// Prefix counts modulo 256, in strips of as many main coordinates as a vector has bytes. A strip holds, for
// every cross coordinate from 0 up to and including their number, one byte for each of its main coordinates.
struct Strips {
  uint8_t* counts;  // the main length raised to a multiple of kWidestStrip, times the cross length + 1
  int main_length, cross_length;
};

constexpr int kWidestStrip = 32;
constexpr int kSpareBins = 64;  // a projection may touch, but does not change, so many bins past its last one

#if SKEW_SIMD

struct StripKernels {
  // Counts the points of the box, whose sides are those of the strips.
  void (*fill)(const EdgeBox& box, Axis axis, const Strips& strips);
  // Adds every point to differences[sine - cosine] and to sums[sine + cosine]; either may be null. Any products will
  // do, but only small steps from one to the next are fast.
  void (*project)(const Strips& strips, const AngleProducts& turn, uint16_t* differences, uint16_t* sums);
  // For counts whose squares add up to less than 2^32.
  uint32_t (*sum_of_squares)(const uint16_t* counts, int bins);
};
SKEW_DECLARE_FORMS(StripKernels)

#endif

}  // namespace skew
