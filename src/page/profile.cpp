#include "page/profile.h"

#include <cmath>

#include "include/skewcorrection/tables.h"
#include "page/kernels.h"

namespace skew {
namespace {

constexpr int kStripWidth = 16;  // pixels
constexpr int kBinsPerPixel = 4;

struct Gradient {
  int x, y;
  int magnitude() const { return (x < 0 ? -x : x) + (y < 0 ? -y : y); }
};

Gradient gradient_at(const uint8_t* p, ptrdiff_t stride) {
  const uint8_t *above = p - stride, *below = p + stride;
  const int right = above[1] + 2 * p[1] + below[1], left = above[-1] + 2 * p[-1] + below[-1];
  const int under = below[-1] + 2 * below[0] + below[1], over = above[-1] + 2 * above[0] + above[1];
  return {right - left, under - over};
}

// Where between the neighbours the magnitude peaks, in 1/16 pixel: the top of the parabola through the three.
int peak_offset(int before, int here, int after) {
  const int bend = before + after - 2 * here;
  if (bend >= 0) return 0;
  const int offset = (before - after) * kPlaceUnits / 2 / bend;
  return offset < -8 ? -8 : offset > 8 ? 8 : offset;
}

// One step along the gradient, in the nearest of eight directions: within 22 degrees of an axis along that
// axis.
struct Direction {
  int x, y;
};
Direction direction_of(const Gradient& g) {
  const int ax = g.x < 0 ? -g.x : g.x, ay = g.y < 0 ? -g.y : g.y;
  return {5 * ax > 2 * ay ? (g.x > 0 ? 1 : -1) : 0, 5 * ay > 2 * ax ? (g.y > 0 ? 1 : -1) : 0};
}

PagePoint point_at(const uint8_t* p, ptrdiff_t stride, int x, int y) {
  const Gradient here = gradient_at(p, stride);
  const Direction to = direction_of(here);
  const ptrdiff_t step = to.y * stride + to.x;
  const int before = gradient_at(p - step, stride).magnitude(),
            after = gradient_at(p + step, stride).magnitude();
  const int offset = peak_offset(before, here.magnitude(), after);
  return {x * kPlaceUnits + to.x * offset, y * kPlaceUnits + to.y * offset, static_cast<int16_t>(here.x),
          static_cast<int16_t>(here.y)};
}

}  // namespace

PagePoints find_page_points(const uint8_t* image, const uint8_t* edges, int width, int height,
                            ptrdiff_t stride) {
  PagePoints points;
  for (int y = 2; y < height - 2; ++y)
    for (int x = 2; x < width - 2; ++x) points.count += edges[y * stride + x] != 0;
  points.list = allocate<PagePoint>(points.count);
  if (!points.list) return points;
  PagePoint* out = points.list.get();
  for (int y = 2; y < height - 2; ++y)
    for (int x = 2; x < width - 2; ++x)
      if (edges[y * stride + x] != 0)
        *out++ = point_at(image + y * stride + x, stride, x - width / 2, y - height / 2);
  return points;
}

bool ProfileStrips::prepare(int reach) {
  strips_ = 2 * (reach / kStripWidth + 2);
  margin_ = (strips_ / 2 * kStripWidth * kSteepest / 65536 + 1) * kBinsPerPixel;
  bins_ = 2 * ((reach + 4) * kBinsPerPixel + 2 * margin_);
  counts_ = allocate<uint8_t>(strips_, bins_);
  starts_ = allocate<const uint8_t*>(strips_);
  profile_ = allocate<uint16_t>(bins_);
  return counts_ && starts_ && profile_;
}

void ProfileStrips::clear() {
  std::memset(counts_.get(), 0, static_cast<size_t>(strips_) * static_cast<size_t>(bins_));
  points_ = 0;
}

double ProfileStrips::sharpness(int slope) const {
  if (points_ == 0) return 1;
  for (int s = 0; s < strips_; ++s) {
    const int middle = (s - strips_ / 2) * kStripWidth + kStripWidth / 2;
    const int shift = (middle * slope * kBinsPerPixel + 32768) >> 16;  // to the nearest bin
    starts_[s] = &counts_[s * bins_ + margin_ + shift];
  }
  const int length = bins_ - 2 * margin_;
  kernels<PageKernels>().sum_rows({starts_.get(), strips_}, length, profile_.get());
  // At random the two sums of four bins differ by twice the mean of such a sum, squared; over all bins that
  // is eight times the points.
  return static_cast<double>(kernels<PageKernels>().squared_differences(profile_.get(), length)) /
         (8.0 * points_);
}

bool Profiles::prepare(int width, int height) {
  const double diagonal =
      std::sqrt(static_cast<double>(width) * width + static_cast<double>(height) * height);
  const int reach = static_cast<int>(diagonal / 2) + 2;
  return rows_.prepare(reach) && columns_.prepare(reach);
}

void Profiles::turn(const PagePoints& points, int angle_index) {
  const int64_t cosine = COS[angle_index < 0 ? -angle_index : angle_index];
  const int64_t sine = angle_index < 0 ? -SIN[-angle_index] : SIN[angle_index];
  rows_.clear();
  columns_.clear();
  for (int i = 0; i < points.count; ++i) {
    const PagePoint& p = points.list[i];
    const int64_t along = (p.x * cosine + p.y * sine) / kPlaceUnits;
    const int64_t across = (p.y * cosine - p.x * sine) / kPlaceUnits;
    const int64_t rise_along = p.gx * cosine + p.gy * sine, rise_across = p.gy * cosine - p.gx * sine;
    if (rise_across * rise_across >= rise_along * rise_along)
      rows_.add(along, across);
    else
      columns_.add(across, along);
  }
}

}  // namespace skew
