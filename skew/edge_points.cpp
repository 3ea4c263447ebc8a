// Finds edge points in two scans, one to count and one to list: a list with room for every pixel of the box
// would take four bytes a pixel, and edges are rare.
#include "skew/edge_points.h"

#include "core/raster.h"

namespace skew {
namespace {

size_t count_row(const uint8_t* row, int width) {
  size_t count = 0;
  for (int x = 0; x < width; ++x) count += row[x] != 0;
  return count;
}

EdgePoint* list_row(const uint8_t* row, int width, int y, EdgePoint* next) {
  for (int x = 0; x < width; ++x)
    if (row[x] != 0) *next++ = {static_cast<uint16_t>(y), static_cast<uint16_t>(x)};
  return next;
}

}  // namespace

bool is_box(const ImgROI& roi) { return roi.left <= roi.right && roi.top <= roi.bottom; }

EdgePoints find_edge_points(const uint8_t* edge, ptrdiff_t stride, const ImgROI& roi) {
  const int width = inclusive_width(roi), height = inclusive_height(roi);
  const auto row = [&](int y) { return edge + (roi.top + y) * stride + roi.left; };

  EdgePoints points;
  for (int y = 0; y < height; ++y) points.count += count_row(row(y), width);
  points.list = allocate<EdgePoint>(points.count);
  if (!points.list) return points;

  EdgePoint* next = points.list.get();
  for (int y = 0; y < height; ++y) next = list_row(row(y), width, y, next);
  return points;
}

}  // namespace skew
