// Projection histograms and their score.
#include "skew/projection.h"

#include "include/skewcorrection/skew.h"

namespace skew {
namespace {

template <Axis axis, Sign sign>
void count_points(const EdgePoints& points, const Turn& turn, uint16_t* bins) {
  for (size_t i = 0; i < points.count; ++i) {
    const EdgePoint point = points.list[i];
    const int main = turn.cosine[axis == Axis::kRows ? point.y : point.x];
    const int cross = turn.sine[axis == Axis::kRows ? point.x : point.y];
    ++bins[sign == Sign::kSum ? main + cross : main - cross];
  }
}

}  // namespace

double sum_of_squares(const uint16_t* counts, int bins) {
  uint64_t sum = 0;
  for (int i = 0; i < bins; ++i) sum += static_cast<uint32_t>(counts[i]) * counts[i];
  return static_cast<double>(sum);
}

bool Projector::prepare(const EdgePoints& points, Axis axis, int reach) {
  points_ = &points;
  axis_ = axis;
  reach_ = reach;
  bins_ = allocate<uint16_t>(2, reach);
  return static_cast<bool>(bins_);
}

void Projector::count(const Turn& turn, Sign sign) {
  uint16_t* bins = bins_.get();
  std::memset(bins, 0, 2 * static_cast<size_t>(reach_) * sizeof(uint16_t));
  if (axis_ == Axis::kRows && sign == Sign::kSum)
    count_points<Axis::kRows, Sign::kSum>(*points_, turn, bins);
  else if (axis_ == Axis::kRows)
    count_points<Axis::kRows, Sign::kDifference>(*points_, turn, bins + reach_);
  else if (sign == Sign::kSum)
    count_points<Axis::kColumns, Sign::kSum>(*points_, turn, bins);
  else
    count_points<Axis::kColumns, Sign::kDifference>(*points_, turn, bins + reach_);
}

double Projector::score(const Turn& turn, Sign sign) {
  count(turn, sign);
  return sum_of_squares(bins_.get(), 2 * reach_);
}

Scores Projector::score_both(const Turn& turn) {
  return {score(turn, Sign::kDifference), score(turn, Sign::kSum)};
}

}  // namespace skew

double GetVariance(const uint16_t* pHistogram, int binCount) {
  if (binCount <= skew::kExactBins) return skew::sum_of_squares(pHistogram, binCount);
  double sum = 0;  // may pass 2^53, where the order of the additions shows
  for (int i = 0; i < binCount; ++i) sum += static_cast<uint32_t>(pHistogram[i]) * pHistogram[i];
  return sum;
}
