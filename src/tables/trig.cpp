// Sine and cosine of an angle in degrees, read from the tables.
#include "include/skewcorrection/tables.h"
#include "tables/angle_index.h"

namespace {

// The index of the angle, or of the last entry when it lies beyond the tables.
int clamped_index(double degrees) {
  const int index = skew::angle_index(degrees);
  return index != skew::kNoAngleIndex ? index : skew::kAngleCount - 1;
}

}  // namespace

double SIN_sin(double angle) {
  if (std::isnan(angle)) return angle;
  return skew::signed_sine(angle, clamped_index(angle)) / 65536.0;
}

double COS_cos(double angle) {
  if (std::isnan(angle)) return angle;
  return COS[clamped_index(angle)] / 65536.0;
}
