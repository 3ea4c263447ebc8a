// How sharply points pile up in a projection: the one score of all angle searches.
#pragma once

#include <cstdint>

namespace skew {

// The sum of the squares of the counts. Exact, so that the order of the sum cannot show, for up to
// kExactBins bins.
double sum_of_squares(const uint16_t* counts, int bins);
constexpr int kExactBins = 1 << 21;  // times the largest square, just below 2^32, stays below 2^53

}  // namespace skew
