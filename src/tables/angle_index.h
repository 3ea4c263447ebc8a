// How an angle in degrees becomes an index into the tables: one rule for truncation, limit, NaN and sign.
#pragma once

#include <cmath>
#include <cstdint>

#include "include/skewcorrection/tables.h"

namespace skew {

constexpr int kAngleCount = 330;   // entries of SIN and COS: 0 to 65.8 degrees
constexpr int kNoAngleIndex = -1;  // what an angle outside the tables has

// |degrees| * 5, rounded down: an index into SIN and COS; kNoAngleIndex for NaN and from 66 degrees on.
inline int angle_index(double degrees) {
  const double steps = std::fabs(degrees) * 5;
  return steps < kAngleCount ? static_cast<int>(steps) : kNoAngleIndex;  // false for NaN
}

// The sine at an index that angle_index() found, 1/65536, with the sign of the angle. The cosine has none.
inline int32_t signed_sine(double degrees, int index) { return degrees < 0 ? -SIN[index] : SIN[index]; }

}  // namespace skew
