// The direction of the lines in the parts of a page.
#pragma once

#include "page/direction.h"
#include "page/points.h"

namespace skew {

struct Tile {
  int x, y;  // of its middle, units from the page's middle
  int points;
  double angle;      // degrees
  double sharpness;  // there
  double rival;      // of the best direction that is clearly another
  // How much it says: content above that of points strewn at random; 0 where no direction stands out.
  double weight() const;
};

struct Tiles {
  Buffer<Tile> list;
  int count = 0;
  int side = 0;  // units
};

// Measures square tiles at half overlap, those with enough points, within three degrees of the page's direction.
// False if there is no memory.
bool measure_tiles(const PagePoints& points, const Direction& page, Tiles* tiles);

}  // namespace skew
