// What the tiles of a page say together: the direction of its lines and how far it varies.
#pragma once

#include "page/tiles.h"

namespace skew {

struct LineField {
  double angle = 0;                // the weighted median of the tiles' angles, degrees
  double lowest = 0, highest = 0;  // nine tenths of the weight lie above and below
  double scatter = 0;              // weighted mean distance from the median, degrees
  double residual = 0;  // the same from a plane through the angles: lines that fan out evenly leave little
  double agreeing = 0;  // share of the weight within kSame of the median
  int tiles = 0;        // with a direction of their own
  int asked = 0;        // with enough points
  double weight = 0;    // of all tiles together
};

// False if there is no memory.
bool combine_tiles(const Tiles& tiles, LineField* field);

}  // namespace skew
