// Edge maps of random points, for the tests of the angle searches.
#pragma once

#include <cstdint>

#include "tests/support/random.h"

namespace skew::test {

// Every pixel of the box is an edge point with the given chance in 1000; what lies around it is full of points.
template <class Map>
Map noise(int width, int height, int chance, uint64_t seed) {
  Map map(width, height);
  map.pixels.assign(map.pixels.size(), 1);
  Random random(seed);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      map.set(x, y, random.below(1000) < chance ? static_cast<uint8_t>(1 + random.below(255)) : 0);
  return map;
}

}  // namespace skew::test
