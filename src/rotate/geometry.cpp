// Rotation geometry in whole numbers, and the sine and cosine of arbitrary angles.
#include "rotate/geometry.h"

#include <cmath>

namespace skew {
namespace {

constexpr double kRadians = 3.14159265358979323846 / 180;  // in one degree
constexpr double kTurnScale = 65536;

constexpr int64_t smaller(int64_t a, int64_t b) { return a < b ? a : b; }
constexpr int64_t larger(int64_t a, int64_t b) { return a < b ? b : a; }

// a / b rounded up, for b > 0.
constexpr int64_t divide_up(int64_t a, int64_t b) { return a / b + (a % b > 0); }

struct Range {
  int64_t low, high;  // half-open, positions
};

// The columns of the band for which start + step * column lies in the range.
Columns columns_in_range(int64_t start, int64_t step, Range range, Columns band) {
  if (step == 0) return start >= range.low && start < range.high ? band : Columns{band.begin, band.begin};
  if (step < 0) {
    start = -start;
    step = -step;
    range = {1 - range.high, 1 - range.low};
  }
  const int64_t begin = larger(band.begin, divide_up(range.low - start, step));
  const int64_t end = smaller(band.end, divide_up(range.high - start, step));
  if (begin >= end) return {band.begin, band.begin};
  return {static_cast<int>(begin), static_cast<int>(end)};
}

Range valued_range(Border border, int length) {
  switch (border) {
    case Border::kExtrapolated:
      // One column has no pair of neighbours to extend.
      return {1 - kPositionOne, length > 1 ? (length - int64_t{1}) * kPositionOne : -kPositionOne};
    case Border::kClamped:
      return {-kPositionOne / 2, length * kPositionOne - kPositionOne / 2};
    default:
      return {0, (length - int64_t{1}) * kPositionOne};
  }
}

// Power series in double precision, for 0 ... 45 degrees. The first term left out is below 1e-17, far below
// half a unit of 1/65536. Only sums and products are used, so that every processor gets the same bits.
double sine_series(double radians) {
  const double square = radians * radians;
  double sum = 0;
  for (int n = 17; n >= 3; n -= 2) sum = (1 - sum) * square / (n * (n - 1));
  return radians * (1 - sum);
}

double cosine_series(double radians) {
  const double square = radians * radians;
  double sum = 0;
  for (int n = 18; n >= 2; n -= 2) sum = (1 - sum) * square / (n * (n - 1));
  return 1 - sum;
}

int32_t rounded(double value) { return static_cast<int32_t>(value * kTurnScale + 0.5); }

}  // namespace

Rotation rotation_about_centre(Size source, Size destination, Turn turn, Border border) {
  // Twice the centre of each image, in pixels.
  const int64_t from_x = source.width - int64_t{1}, from_y = source.height - int64_t{1};
  const int64_t to_x = destination.width - int64_t{1}, to_y = destination.height - int64_t{1};
  return {source,
          destination,
          from_x * 65536 - to_x * turn.cosine + to_y * turn.sine,
          from_y * 65536 - to_x * turn.sine - to_y * turn.cosine,
          2 * turn.cosine,
          2 * turn.sine,
          border};
}

Runs find_runs(const Rotation& rotation, int y, int margin, Columns band) {
  const int64_t x_start = rotation.origin_x - int64_t{y} * rotation.step_y;
  const int64_t y_start = rotation.origin_y + int64_t{y} * rotation.step_x;
  const auto run = [=](Border border, int right_margin, Columns columns) {
    const Range across = valued_range(border, rotation.source.width - right_margin);
    const Range down = valued_range(border, rotation.source.height);
    columns = columns_in_range(x_start, rotation.step_x, across, columns);
    return columns_in_range(y_start, rotation.step_y, down, columns);
  };
  const Columns valued = run(rotation.border, 0, band);
  return {valued, run(Border::kInner, margin, valued)};
}

Turn turn_by(double degrees) {
  const double magnitude = std::fabs(degrees);
  const double acute = magnitude > 90 ? 180 - magnitude : magnitude;
  const bool steep = acute > 45;
  const double radians = (steep ? 90 - acute : acute) * kRadians;
  const int32_t small = rounded(sine_series(radians)), large = rounded(cosine_series(radians));
  const int32_t sine = steep ? large : small, cosine = steep ? small : large;
  return {degrees < 0 ? -sine : sine, magnitude > 90 ? -cosine : cosine};
}

}  // namespace skew
