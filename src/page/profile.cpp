#include "page/profile.h"

#include <cmath>

#include "include/skewcorrection/tables.h"
#include "page/kernels.h"

namespace skew {
namespace {

constexpr int kStripWidth = 16;  // units
constexpr int kBinsPerUnit = 4;
constexpr int kStepBins = 8;  // that one difference of the profile reaches over

}  // namespace

bool ProfileStrips::prepare(int reach, int steepest) {
  strips_ = 2 * (reach / kStripWidth + 2);
  margin_ = (strips_ / 2 * kStripWidth * steepest / 65536 + 1) * kBinsPerUnit;
  bins_ = 2 * ((reach + 4) * kBinsPerUnit + 2 * margin_);
  counts_ = allocate<uint8_t>(strips_, bins_);
  starts_ = allocate<const uint8_t*>(strips_);
  profile_ = allocate<uint16_t>(bins_);
  return counts_ && starts_ && profile_;
}

void ProfileStrips::clear() {
  std::memset(counts_.get(), 0, static_cast<size_t>(strips_) * static_cast<size_t>(bins_));
  points_ = 0;
  first_strip_ = strips_;
  first_bin_ = bins_;
  last_strip_ = last_bin_ = -1;
}

double ProfileStrips::sharpness(int slope) const {
  if (points_ == 0) return 1;
  // Strips and bins without points add nothing. A shift moves a bin by less than the margin, and a step reaches over
  // eight bins.
  const int from = first_bin_ - margin_ - kStepBins > margin_ ? first_bin_ - margin_ - kStepBins : margin_;
  const int to =
      last_bin_ + margin_ + kStepBins < bins_ - margin_ ? last_bin_ + margin_ + kStepBins : bins_ - margin_;
  for (int s = first_strip_; s <= last_strip_; ++s) {
    const int middle = (s - strips_ / 2) * kStripWidth + kStripWidth / 2;
    const int shift = (middle * slope * kBinsPerUnit + 32768) >> 16;  // to the nearest bin
    starts_[s - first_strip_] = &counts_[s * bins_ + from + shift];
  }
  const int length = to - from;
  kernels<PageKernels>().sum_rows({starts_.get(), last_strip_ - first_strip_ + 1}, length, profile_.get());
  // At random the two sums of four bins differ by twice the mean of such a sum, squared; over all bins that
  // is eight times the points.
  return static_cast<double>(kernels<PageKernels>().squared_differences(profile_.get(), length)) /
         (8.0 * points_);
}

int slope_of(double degrees) {
  const double radians = degrees * (3.14159265358979323846 / 180);
  return static_cast<int>(std::floor((radians + radians * radians * radians / 3) * 65536 + 0.5));
}

Turn::Turn(int angle_index)
    : cosine_(COS[angle_index < 0 ? -angle_index : angle_index]),
      sine_(angle_index < 0 ? -SIN[-angle_index] : SIN[angle_index]) {}

bool Profiles::prepare(const PagePoints& points) {
  const double half_width = points.half_width, half_height = points.half_height;
  const int reach = static_cast<int>(std::sqrt(half_width * half_width + half_height * half_height)) + 2;
  return rows_.prepare(reach, kSteepest) && columns_.prepare(reach, kSteepest);
}

void Profiles::turn(const PagePoints& points, int angle_index) {
  const Turn turn(angle_index);
  rows_.clear();
  columns_.clear();
  for (int i = 0; i < points.count; ++i) {
    const TurnedPoint p = turn(points.list[i]);
    if (p.in_rows)
      rows_.add(p.along, p.across);
    else
      columns_.add(p.across, p.along);
  }
}

}  // namespace skew
