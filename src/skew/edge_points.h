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

// Counts the points of each row, modulo 65536, and returns how many there are in all.
size_t count_rows(const EdgeBox& box, uint16_t* rows);

// Counts the points of each column, modulo 65536.
void count_columns(const EdgeBox& box, uint16_t* columns);

// The non-zero pixels of a box, rows from the top down and each from the left; count is what
// count_rows() gives. Coordinates are reduced by the mask. The list is null if there is no memory.
EdgePoints list_edge_points(const EdgeBox& box, size_t count, uint16_t mask);

}  // namespace skew
