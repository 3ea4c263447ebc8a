// The score of a projection histogram.
#include "skew/projection.h"

#include "include/skewcorrection/skew.h"

namespace skew {

double sum_of_squares(const uint16_t* counts, int bins) {
  uint64_t sum = 0;
  for (int i = 0; i < bins; ++i) sum += static_cast<uint32_t>(counts[i]) * counts[i];
  return static_cast<double>(sum);
}

}  // namespace skew

double GetVariance(const uint16_t* pHistogram, int binCount) {
  if (binCount <= skew::kExactBins) return skew::sum_of_squares(pHistogram, binCount);
  double sum = 0;  // may pass 2^53, where the order of the additions shows
  for (int i = 0; i < binCount; ++i) sum += static_cast<uint32_t>(pHistogram[i]) * pHistogram[i];
  return sum;
}
