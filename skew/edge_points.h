// The edge points of a box as a list, in raster order.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/buffer.h"
#include "include/skewcorrection/types.h"
#include "skew/edge_box.h"

namespace skew {

// The pixels of a region of an edge map.
EdgeBox edge_box(const uint8_t* edge, ptrdiff_t stride, const ImgROI& roi);

// Relative to the box: the top left pixel is (0, 0).
struct EdgePoint {
  uint16_t y, x;
};
static_assert(sizeof(EdgePoint) == 4, "callers hand lists over as pairs of 16-bit values");

struct EdgePoints {
  size_t count = 0;
  Buffer<EdgePoint> list;
};

size_t count_edge_points(const EdgeBox& box);

// The non-zero pixels of a box, rows from the top down and each from the left; count is what
// count_edge_points() gives. Coordinates are reduced by the mask. The list is null if there is no memory.
EdgePoints list_edge_points(const EdgeBox& box, size_t count, uint16_t mask);

// Adds the points of each row and of each column to the counts, which are not cleared first.
void count_rows_and_columns(const EdgeBox& box, uint16_t* rows, uint16_t* columns);

}  // namespace skew
