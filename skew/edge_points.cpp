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

EdgePoint* list_row(const uint8_t* row, int width, int y, uint16_t mask, EdgePoint* next) {
  for (int x = 0; x < width; ++x)
    if (row[x] != 0) *next++ = {static_cast<uint16_t>(y & mask), static_cast<uint16_t>(x & mask)};
  return next;
}

}  // namespace

EdgeBox edge_box(const uint8_t* edge, ptrdiff_t stride, const ImgROI& roi) {
  if (roi.left > roi.right || roi.top > roi.bottom) return {nullptr, stride, 0, 0};
  return {edge + roi.top * stride + roi.left, stride, inclusive_width(roi), inclusive_height(roi)};
}

size_t count_edge_points(const EdgeBox& box) {
  size_t count = 0;
  for (int y = 0; y < box.height; ++y) count += count_row(box.pixels + y * box.stride, box.width);
  return count;
}

EdgePoints list_edge_points(const EdgeBox& box, size_t count, uint16_t mask) {
  EdgePoints points;
  points.list = allocate<EdgePoint>(count);
  if (!points.list) return points;
  points.count = count;
  EdgePoint* next = points.list.get();
  for (int y = 0; y < box.height; ++y) next = list_row(box.pixels + y * box.stride, box.width, y, mask, next);
  return points;
}

void count_rows_and_columns(const EdgeBox& box, uint16_t* rows, uint16_t* columns) {
  for (int y = 0; y < box.height; ++y) {
    const uint8_t* row = box.pixels + y * box.stride;
    rows[y] = static_cast<uint16_t>(rows[y] + count_row(row, box.width));
    for (int x = 0; x < box.width; ++x) columns[x] = static_cast<uint16_t>(columns[x] + (row[x] != 0));
  }
}

}  // namespace skew
