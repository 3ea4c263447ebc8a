// The edge points of a box as a list, in raster order.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/buffer.h"
#include "include/skewcorrection/types.h"

namespace skew {

// Relative to the box: the top left pixel is (0, 0).
struct EdgePoint {
  uint16_t y, x;
};
static_assert(sizeof(EdgePoint) == 4, "callers hand lists over as pairs of 16-bit values");

struct EdgePoints {
  Buffer<EdgePoint> list;  // null when there was no memory
  size_t count = 0;
};

// True when the box holds at least one pixel.
bool is_box(const ImgROI& roi);

// The non-zero pixels of a box, rows from the top down and each from the left. The list is as long as needed.
EdgePoints find_edge_points(const uint8_t* edge, ptrdiff_t stride, const ImgROI& roi);

}  // namespace skew
