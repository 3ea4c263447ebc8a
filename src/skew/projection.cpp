// Projection histograms and their score.
#include "skew/projection.h"

#include "include/skewcorrection/skew.h"

namespace skew {
namespace {

int largest(const uint16_t* values, int count) {
  uint16_t most = 0;
  for (int i = 0; i < count; ++i) most = values[i] > most ? values[i] : most;
  return most;
}

// Every point goes to differences[sine - cosine] and to sums[sine + cosine], where there are such bins.
template <Axis axis, bool with_differences, bool with_sums>
void count_points(const EdgePoints& points, const AngleProducts& turn, uint16_t* differences,
                  uint16_t* sums) {
  for (size_t i = 0; i < points.count; ++i) {
    const EdgePoint point = points.list[i];
    const int cosine = turn.cosine[axis == Axis::kRows ? point.y : point.x];
    const int sine = turn.sine[axis == Axis::kRows ? point.x : point.y];
    if (with_differences) ++differences[sine - cosine];
    if (with_sums) ++sums[sine + cosine];
  }
}

template <Axis axis>
void count_list(const EdgePoints& points, const AngleProducts& turn, uint16_t* differences, uint16_t* sums) {
  if (differences && sums)
    count_points<axis, true, true>(points, turn, differences, sums);
  else if (differences)
    count_points<axis, true, false>(points, turn, differences, sums);
  else
    count_points<axis, false, true>(points, turn, differences, sums);
}

#if SKEW_SIMD

// Bytes of the counts of a box in strips of any width.
Buffer<uint8_t> allocate_strips(int main_length, int cross_length) {
  const uint64_t padded =
      (static_cast<uint64_t>(main_length) + kWidestStrip - 1) / kWidestStrip * kWidestStrip;
  return allocate<uint8_t>(padded, static_cast<uint64_t>(cross_length) + 1);
}

#endif

}  // namespace

double sum_of_squares(const uint16_t* counts, int bins) {
  uint64_t sum = 0;
  for (int i = 0; i < bins; ++i) sum += static_cast<uint32_t>(counts[i]) * counts[i];
  return static_cast<double>(sum);
}

#if SKEW_SIMD
bool strips_pay(const EdgeBox& box, size_t points) {
  return points > static_cast<uint64_t>(box.width) * box.height / 48;
}
#else
bool strips_pay(const EdgeBox&, size_t) { return false; }
#endif

bool Projector::prepare(const EdgeBox& box, const EdgePoints& points, Axis axis, int reach) {
  points_ = &points;
  axis_ = axis;
  main_length_ = axis == Axis::kRows ? box.height : box.width;
  cross_length_ = axis == Axis::kRows ? box.width : box.height;
  if (main_length_ > reach) main_length_ = reach;  // coordinates that were reduced
  if (cross_length_ > reach) cross_length_ = reach;
  differences_ = allocate<uint16_t>(2 * static_cast<uint64_t>(reach) + kSpareBins);
  sums_ = allocate<uint16_t>(2 * static_cast<uint64_t>(reach) + kSpareBins);
  if (!differences_ || !sums_) return false;
#if SKEW_SIMD
  if (!points.list) {
    strips_ = allocate_strips(main_length_, cross_length_);
    if (!strips_) return false;
    kernels<StripKernels>().fill(box, axis, {strips_.get(), main_length_, cross_length_});
  }
#endif
  return true;
}

void Projector::count(const AngleProducts& turn, uint16_t* differences, uint16_t* sums) const {
#if SKEW_SIMD
  if (strips_)
    return kernels<StripKernels>().project({strips_.get(), main_length_, cross_length_}, turn, differences,
                                           sums);
#endif
  if (axis_ == Axis::kRows)
    count_list<Axis::kRows>(*points_, turn, differences, sums);
  else
    count_list<Axis::kColumns>(*points_, turn, differences, sums);
}

double Projector::score_bins(const Buffer<uint16_t>& bins, int count) const {
#if SKEW_SIMD
  if (points_->count <= 0xFFFF) return kernels<StripKernels>().sum_of_squares(bins.get(), count);
#endif
  return sum_of_squares(bins.get(), count);
}

Scores Projector::score_both(const AngleProducts& turn) const {
  const int cosine = largest(turn.cosine, main_length_),
            bins = cosine + largest(turn.sine, cross_length_) + 1;
  std::memset(differences_.get(), 0, static_cast<size_t>(bins) * sizeof(uint16_t));
  std::memset(sums_.get(), 0, static_cast<size_t>(bins) * sizeof(uint16_t));
  count(turn, differences_.get() + cosine, sums_.get());
  return {score_bins(differences_, bins), score_bins(sums_, bins)};
}

double Projector::score(const AngleProducts& turn, Sign sign) const {
  const int cosine = largest(turn.cosine, main_length_),
            bins = cosine + largest(turn.sine, cross_length_) + 1;
  const bool sums = sign == Sign::kSum;
  const Buffer<uint16_t>& used = sums ? sums_ : differences_;
  std::memset(used.get(), 0, static_cast<size_t>(bins) * sizeof(uint16_t));
  count(turn, sums ? nullptr : differences_.get() + cosine, sums ? sums_.get() : nullptr);
  return score_bins(used, bins);
}

}  // namespace skew

double GetVariance(const uint16_t* pHistogram, int binCount) {
  if (binCount <= skew::kExactBins) return skew::sum_of_squares(pHistogram, binCount);
  double sum = 0;  // may pass 2^53, where the order of the additions shows
  for (int i = 0; i < binCount; ++i) sum += static_cast<uint32_t>(pHistogram[i]) * pHistogram[i];
  return sum;
}
