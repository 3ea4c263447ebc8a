// The one direction in which the points of a whole page pile up most sharply.
#pragma once

#include "page/points.h"
#include "page/profile.h"
#include "page/windows.h"

namespace skew {

struct Direction {
  double angle = 0;         // degrees, from -45.5 to 45.5
  bool in_columns = false;  // the lines run down the page
  double sharpness = 0;     // of the profile across the lines there
  double crossing = 0;      // of the profile along them
  double width = 0;         // of the peak at half its height, degrees
  int points = 0;
};

// Asks windows of the edge map where to look, and follows the profiles of all points from there. `windows` receives what
// was asked. The direction has no points where no window has content. False if there is no memory.
bool find_direction(const uint8_t* edges, int width, int height, ptrdiff_t stride, const PagePoints& points,
                    Windows* windows, Direction* found);

}  // namespace skew
