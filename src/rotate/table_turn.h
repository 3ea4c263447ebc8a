// What the rotations by a table angle share: the check of their arguments and the sine and cosine.
#pragma once

#include <cstdint>

#include "rotate/geometry.h"
#include "tables/angle_index.h"

namespace skew {

// The turn of an angle index, with the sign of the angle.
inline Turn table_turn(double degrees, int index) { return {signed_sine(degrees, index), COS[index]}; }

inline bool valid_rotation(const void* source, int width, int height, double degrees,
                           const void* destination) {
  return source != nullptr && width > 0 && height > 0 && angle_index(degrees) != kNoAngleIndex &&
         destination != nullptr;
}

// The rotation of an image within its own size; positions as the published colour and gray rotations take
// them.
inline Rotation table_rotation(int width, int height, Turn turn) {
  return rotation_about_centre({width, height}, {width, height}, turn, Border::kExtrapolated);
}

}  // namespace skew
