// What the angle searches pass around.
//
// A point's two coordinates are called main and cross: the main one is multiplied by the cosine of an angle,
// the cross one by the sine. The two products' difference, for one sign of the angle, or their sum, for the
// other, is the line on which the turned point lies.
#pragma once

#include <cstddef>
#include <cstdint>

namespace skew {

// A box of an edge map. Without pixels (width and height 0) when the bounds of its region were inverted.
struct EdgeBox {
  const uint8_t* pixels;  // the top left one; non-zero on edges
  ptrdiff_t stride;       // bytes
  int width, height;
};

// The projection onto rows has y as its main coordinate, the one onto columns x.
enum class Axis { kRows, kColumns };

// One angle: the products of every main coordinate with its cosine and of every cross coordinate with its
// sine.
struct AngleProducts {
  const uint16_t *cosine, *sine;
};

}  // namespace skew
