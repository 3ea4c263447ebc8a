// Finds edge points in two scans, one to count and one to list: a list with room for every pixel of the box
// would take four bytes a pixel, and edges are rare.
#include "skew/edge_points.h"

#include "core/raster.h"

namespace skew {
namespace {

constexpr int kByteSums = 252;  // pixels that can be counted in a byte; a multiple of 4

int count_row(const uint8_t* row, int width) {
  int count = 0;
  for (int x = 0; x < width; x += kByteSums) {
    const int end = width - x < kByteSums ? width : x + kByteSums;
    uint8_t part = 0;
    for (int i = x; i < end; ++i) part = static_cast<uint8_t>(part + (row[i] != 0));
    count += part;
  }
  return count;
}

// Writes one entry past the last point.
EdgePoint* list_row(const uint8_t* row, int width, int y, uint16_t mask, EdgePoint* next) {
  const auto list_pixel = [&](int x) {
    *next = {static_cast<uint16_t>(y & mask), static_cast<uint16_t>(x & mask)};
    next += row[x] != 0;
  };
  int x = 0;
  for (; x + 8 <= width; x += 8) {
    uint64_t pixels;
    std::memcpy(&pixels, row + x, sizeof pixels);
    if (pixels == 0) continue;
    for (int i = 0; i < 8; ++i) list_pixel(x + i);
  }
  for (; x < width; ++x) list_pixel(x);
  return next;
}

}  // namespace

EdgeBox edge_box(const uint8_t* edge, ptrdiff_t stride, const ImgROI& roi) {
  if (roi.left > roi.right || roi.top > roi.bottom) return {nullptr, stride, 0, 0};
  return {edge + roi.top * stride + roi.left, stride, inclusive_width(roi), inclusive_height(roi)};
}

size_t count_rows(const EdgeBox& box, uint16_t* rows) {
  size_t count = 0;
  for (int y = 0; y < box.height; ++y) {
    const int in_row = count_row(box.pixels + y * box.stride, box.width);
    rows[y] = static_cast<uint16_t>(in_row);
    count += static_cast<size_t>(in_row);
  }
  return count;
}

void count_columns(const EdgeBox& box, uint16_t* columns) {
  std::memset(columns, 0, static_cast<size_t>(box.width) * sizeof(uint16_t));
  for (int y = 0; y < box.height; ++y) {
    const uint8_t* row = box.pixels + y * box.stride;
    for (int x = 0; x < box.width; ++x) columns[x] = static_cast<uint16_t>(columns[x] + (row[x] != 0));
  }
}

EdgePoints list_edge_points(const EdgeBox& box, size_t count, uint16_t mask) {
  EdgePoints points;
  points.list = allocate<EdgePoint>(static_cast<uint64_t>(count) + 1);
  if (!points.list) return points;
  points.count = count;
  EdgePoint* next = points.list.get();
  for (int y = 0; y < box.height; ++y) next = list_row(box.pixels + y * box.stride, box.width, y, mask, next);
  return points;
}

}  // namespace skew
