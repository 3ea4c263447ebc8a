// Where points go when an image is turned.
//
// A rotation takes each pixel of the result from source position - source centre = T (position - centre), with
// T the sines and cosines rounded to 1/65536, whose determinant is not exactly 1. Points move by its inverse.
#include <cmath>

#include "include/skewcorrection/level.h"
#include "rotate/table_turn.h"

namespace skew {
namespace {

SkewTransform transform_of(Size source, Size result, Turn turn) {
  const double one = 65536, sine = turn.sine / one, cosine = turn.cosine / one;
  const double determinant = sine * sine + cosine * cosine;
  SkewTransform t = {source.width, source.height, result.width, result.height, 0, 0, 0, 0, 0, 0};
  t.a = t.d = cosine / determinant;
  t.c = sine / determinant;
  t.b = -t.c;
  t.e = result.width / 2.0 - t.a * (source.width / 2.0) - t.c * (source.height / 2.0);
  t.f = result.height / 2.0 - t.b * (source.width / 2.0) - t.d * (source.height / 2.0);
  return t;
}

}  // namespace
}  // namespace skew

int skew_transform(int width, int height, double angle, int canvas, SkewTransform* pTransform) {
  if (pTransform == nullptr) return SKEW_INVALID_ARGUMENT;
  skew::Size result;
  const int code = skew_rotated_size(width, height, angle, canvas, &result.width, &result.height);
  if (code == SKEW_OK) *pTransform = skew::transform_of({width, height}, result, skew::turn_by(angle));
  return code;
}

int skew_transform_in_steps(int width, int height, double angle, SkewTransform* pTransform) {
  const int index = skew::angle_index(angle);
  if (pTransform == nullptr || width < 1 || height < 1 || index == skew::kNoAngleIndex)
    return SKEW_INVALID_ARGUMENT;
  const skew::Size size = {width, height};
  *pTransform = skew::transform_of(size, size, skew::table_turn(angle, index));
  return SKEW_OK;
}

int skew_map_points(const SkewTransform* pTransform, int direction, double* pPoints, int count) {
  if (pTransform == nullptr || count < 0 || (pPoints == nullptr && count > 0)) return SKEW_INVALID_ARGUMENT;
  const SkewTransform& t = *pTransform;
  const double determinant = t.a * t.d - t.b * t.c;
  const bool known = direction == SKEW_MAP_TO_RESULT || direction == SKEW_MAP_TO_SOURCE;
  if (!known || !(std::fabs(determinant) > 0)) return SKEW_INVALID_ARGUMENT;  // NaN is refused, too
  for (ptrdiff_t i = 0; i < count; ++i) {
    double* const point = pPoints + 2 * i;
    const double x = point[0], y = point[1];
    if (direction == SKEW_MAP_TO_RESULT) {
      point[0] = t.a * x + t.c * y + t.e;
      point[1] = t.b * x + t.d * y + t.f;
    } else {
      point[0] = (t.d * (x - t.e) - t.c * (y - t.f)) / determinant;
      point[1] = (t.a * (y - t.f) - t.b * (x - t.e)) / determinant;
    }
  }
  return SKEW_OK;
}
