// The points of an edge map, each moved onto the edge itself.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/buffer.h"

namespace skew {

// A point of an edge. Places are counted from the middle of the map in 1/16 unit.
constexpr int kPlaceUnits = 16;
struct PagePoint {
  int32_t x, y;
  int16_t gx, gy;  // the gradient there
};

struct PagePoints {
  Buffer<PagePoint> list;  // null when there was no memory
  int count = 0;
  int half_width = 0, half_height = 0;  // of the map, in units
};

// More points than this make no angle better, only later.
constexpr int kMostPoints = 60000;

// The points of an edge map that lie two pixels or more off its border; of more than kMostPoints, evenly spread ones.
// `image` is the gray image that the edges were found in. A unit is `pixels_per_unit` pixels, 1 or more.
PagePoints find_page_points(const uint8_t* image, const uint8_t* edges, int width, int height,
                            ptrdiff_t stride, double pixels_per_unit);

}  // namespace skew
