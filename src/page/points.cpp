#include "page/points.h"

#include <cstring>

namespace skew {
namespace {

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

// Calls `use` with the column of every non-zero byte of a row, two or more off its ends. Stretches of eight zero
// bytes are skipped.
template <class Use>
void each_edge(const uint8_t* row, int width, Use use) {
  for (int x = 2; x < width - 2; ++x) {
    uint64_t eight;
    for (; x + 8 <= width - 2; x += 8) {
      std::memcpy(&eight, row + x, sizeof eight);
      if (eight != 0) break;
    }
    if (x < width - 2 && row[x] != 0) use(x);
  }
}

}  // namespace

PagePoints find_page_points(const uint8_t* image, const uint8_t* edges, int width, int height,
                            ptrdiff_t stride, double pixels_per_unit) {
  PagePoints points;
  const int64_t scale = static_cast<int64_t>(65536 / pixels_per_unit);  // units for a pixel, 1/65536
  points.half_width = static_cast<int>((width * scale) >> 17) + 1;
  points.half_height = static_cast<int>((height * scale) >> 17) + 1;
  int all = 0;
  for (int y = 2; y < height - 2; ++y) each_edge(edges + y * stride, width, [&](int) { ++all; });
  const int every = all / kMostPoints + 1;
  points.list = allocate<PagePoint>(static_cast<uint64_t>(all / every) + 1);
  if (!points.list) return points;
  PagePoint* out = points.list.get();
  int skip = 0;
  for (int y = 2; y < height - 2; ++y)
    each_edge(edges + y * stride, width, [&](int x) {
      if (++skip < every) return;
      skip = 0;
      PagePoint point = point_at(image + y * stride + x, stride, x - width / 2, y - height / 2);
      point.x = static_cast<int32_t>((point.x * scale) >> 16);
      point.y = static_cast<int32_t>((point.y * scale) >> 16);
      *out++ = point;
    });
  points.count = static_cast<int>(out - points.list.get());
  return points;
}

}  // namespace skew
