// Where the content of a page lies in its edge map.
#pragma once

#include <cstdint>

namespace skew {

struct Box {
  int left, right, top, bottom;  // inclusive
};

// The bounds of the rows and columns that hold more than 8 edge pixels, the two outermost rows and columns on
// each side left out; where no row or column does, they reach to the limits. The map is tight and at least 5
// pixels wide and high; `counts` has room for `width` bytes.
Box find_content_box(const uint8_t* edges, int width, int height, uint8_t* counts);

// The box cut to a square with its shorter side. The longer side is cut around its middle, less one pixel.
Box square_of(const Box& box);

}  // namespace skew
