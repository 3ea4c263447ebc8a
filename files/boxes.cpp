// An upright box around a turned box would be larger, and larger again on the way back: on a page tilted by ten
// degrees a word doubles its height. So a box is not turned but carried: a word keeps its size; a line is a
// band of constant height along its baseline, and its box is about the one around the band. Both ways are exact
// inverses of each other.
#include "files/boxes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace files {

namespace {

constexpr double kLong = 8;  // times its height: the box of a line, not of a word
constexpr double kPi = 3.14159265358979323846;

// What a line of text covers above and below its baseline.
struct Band {
  double above, below;

  double height() const { return above + below; }
  Band times(double factor) const { return {above * factor, below * factor}; }
  Band widened(double share) const { return {above + share * height(), below + share * height()}; }
  Band narrowed(double share) const {  // the inverse
    const double part = share * height() / (1 + 2 * share);
    return {above - part, below - part};
  }
};

// The box around a slanted line is decided by its ends, where ascenders and descenders may be missing. This
// share of the height is what the rest of the line may need besides, above and below.
double share(double slope) { return std::min(0.2, 4 * std::fabs(slope)); }

}  // namespace

double BoxMap::angle() const { return std::atan2(transform_.c, transform_.a) * 180 / kPi; }

Point BoxMap::point(Point p) const {
  double xy[] = {p.x, p.y};
  skew_map_points(&transform_, back_ ? SKEW_MAP_TO_SOURCE : SKEW_MAP_TO_RESULT, xy, 1);
  return {xy[0], xy[1]};
}

Box BoxMap::box(const Box& b) const {
  const Point from = {(b.left + b.right) / 2, (b.top + b.bottom) / 2};
  const Point to = point(from);
  return {b.left + to.x - from.x, b.top + to.y - from.y, b.right + to.x - from.x, b.bottom + to.y - from.y};
}

Box BoxMap::line(const Box& b, Point& first, Point& last) const {
  const double run = last.x - first.x, slope = run != 0 ? (last.y - first.y) / run : 0.0;
  Point left = {b.left, first.y + slope * (b.left - first.x)};
  Point right = {b.right, first.y + slope * (b.right - first.x)};
  first = point(first);
  last = point(last);
  const double length = std::hypot(right.x - left.x, right.y - left.y);
  const Band band = {std::min(left.y, right.y) - b.top, b.bottom - std::max(left.y, right.y)};
  const double upright = std::hypot(1, slope);  // heights are measured straight up, not across the line
  const Band whole = band.widened(share(slope)).times(1 / upright);
  if (whole.height() <= 0 || std::fabs(slope) > 1 || length < kLong * whole.height()) return box(b);
  left = point(left);
  right = point(right);
  const double slope_after = (right.y - left.y) / (right.x - left.x);
  const Band after = whole.times(std::hypot(1, slope_after)).narrowed(share(slope_after));
  return {left.x, std::min(left.y, right.y) - after.above, right.x, std::max(left.y, right.y) + after.below};
}

Box BoxMap::line(const Box& b) const {
  const double slope = back_ ? 0.0 : std::tan(angle() * kPi / 180);
  const double middle = (b.top + b.bottom) / 2, rise = slope * (b.right - b.left) / 2;
  Point first = {b.left, middle - rise}, last = {b.right, middle + rise};
  return b.right > b.left ? line(b, first, last) : box(b);
}

std::string coordinate(double value, bool whole) {
  char text[64];
  const double steps = whole ? 1 : 1000;
  std::snprintf(text, sizeof text, "%.*f", whole ? 0 : 3, std::round(value * steps) / steps + 0.0);
  std::string result = text;
  if (whole) return result;
  result.erase(result.find_last_not_of('0') + 1);
  if (result.back() == '.') result.pop_back();
  return result;
}

}  // namespace files
