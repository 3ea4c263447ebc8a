// Windows say where to look, to 0.2 degree; from there two passes over the score of the profile of all points lead to the
// top of its peak, in steps of 0.1 and of 0.02 degree. Rows and columns are scored apart and the sharper of the two
// decides alone: margins, columns and frames of real pages are not square to the lines, and whatever is multiplied with
// the lines' score pulls them to its own direction.
#include "page/direction.h"

#include <cmath>

namespace skew {
namespace {

constexpr double kIndexDegrees = 0.2;
constexpr double kWideStep = 0.1, kFineStep = 0.02;  // degrees
constexpr int kWideSteps = 6, kFineSteps = 7;        // on each side
constexpr int kShift = 3;  // angle indices from one coarse angle to the next, 0.6 degree
constexpr int kMostShifts = 2;
constexpr double kDiagonal = 45, kDiagonalReach = 0.5;  // degrees
constexpr double kAgreement = 1.0;                      // degrees between a window and the page

struct Curve {
  double scores[2 * kFineSteps + 1];
  int steps = 0;                // on each side of the middle
  double step = 0, middle = 0;  // degrees
  int best = 0;
  double top() const { return scores[best]; }
  bool at_end() const { return best == 0 || best == 2 * steps; }
};

Curve score_around(const Profiles& profiles, bool columns, double middle, int steps, double step) {
  Curve curve;
  curve.steps = steps;
  curve.step = step;
  curve.middle = middle;
  for (int i = 0; i <= 2 * steps; ++i) {
    const int slope = slope_of(middle + (i - steps) * step);
    curve.scores[i] = columns ? profiles.columns(slope) : profiles.rows(slope);
    if (curve.scores[i] > curve.scores[curve.best]) curve.best = i;
  }
  return curve;
}

double lowest(const Curve& curve) {
  double low = curve.scores[0];
  for (int i = 1; i <= 2 * curve.steps; ++i) low = curve.scores[i] < low ? curve.scores[i] : low;
  return low;
}

// The centre of gravity of the part of a peak above `floor`, and how wide that is.
struct Top {
  double centre, width;
  bool cut;  // it reaches an end of the curve
};
Top top_above(const Curve& curve, double floor) {
  int first = curve.best, last = curve.best;
  while (first > 0 && curve.scores[first - 1] > floor) --first;
  while (last < 2 * curve.steps && curve.scores[last + 1] > floor) ++last;
  double weight = 0, moment = 0;
  for (int i = first; i <= last; ++i) {
    weight += curve.scores[i] - floor;
    moment += (curve.scores[i] - floor) * (i - curve.steps);
  }
  return {curve.middle + (weight > 0 ? moment / weight : curve.best - curve.steps) * curve.step,
          (last - first + 1) * curve.step, first == 0 || last == 2 * curve.steps};
}

int wrapped(int index) {
  return index > kQuarterTurn / 2    ? index - kQuarterTurn
         : index < -kQuarterTurn / 2 ? index + kQuarterTurn
                                     : index;
}

// Follows the score from a coarse angle to the top of its peak.
Direction follow(Profiles* profiles, const PagePoints& points, int coarse) {
  Curve wide;
  bool columns = false;
  for (int shift = 0;; ++shift) {
    profiles->turn(points, coarse);
    wide = score_around(*profiles, false, 0, kWideSteps, kWideStep);
    const Curve other = score_around(*profiles, true, 0, kWideSteps, kWideStep);
    columns = other.top() > wide.top();
    if (columns) wide = other;
    if (!wide.at_end() || shift == kMostShifts) break;
    coarse = wrapped(coarse + (wide.best == 0 ? -kShift : kShift));
  }
  const double floor = (lowest(wide) + wide.top()) / 2;
  Top top = top_above(wide, floor);
  const Curve fine =
      score_around(*profiles, columns, (wide.best - kWideSteps) * kWideStep, kFineSteps, kFineStep);
  const Top fine_top = top_above(fine, (lowest(wide) + fine.top()) / 2);
  if (!fine_top.cut) top = fine_top;
  Direction found;
  found.angle = coarse * kIndexDegrees + top.centre;
  found.width = top.width;
  found.in_columns = columns;
  found.points = points.count;
  const int slope = slope_of(top.centre);
  found.sharpness = columns ? profiles->columns(slope) : profiles->rows(slope);
  found.crossing = columns ? profiles->rows(slope) : profiles->columns(slope);
  return found;
}

int agreeing(const Windows& windows, double angle) {
  int count = 0;
  for (int i = 0; i < windows.count; ++i)
    count += quarter_distance(windows.list[i].result.degrees(), angle) <= kAgreement;
  return count;
}

// Near the diagonals, rows and columns are told apart by their sharpness; further out there is no choice.
void choose_quarter(Direction* found) {
  const double magnitude = std::fabs(found->angle);
  const bool beyond = magnitude > kDiagonal + kDiagonalReach;
  if (!beyond && !(magnitude > kDiagonal - kDiagonalReach && found->in_columns)) return;
  found->angle += found->angle > 0 ? -2 * kDiagonal : 2 * kDiagonal;
  found->in_columns = !found->in_columns;
}

}  // namespace

bool find_direction(const uint8_t* edges, int width, int height, ptrdiff_t stride, const PagePoints& points,
                    Windows* windows, Direction* found) {
  *found = Direction();
  if (measure_windows(edges, width, height, stride, windows) != SKEW_OK) return false;
  if (windows->count == 0) return true;
  Profiles profiles;
  if (!profiles.prepare(points)) return false;
  int candidates[kCandidates];
  const int count = find_candidates(*windows, candidates);
  *found = follow(&profiles, points, candidates[0]);
  if (2 * agreeing(*windows, found->angle) < windows->count)
    for (int i = 1; i < count; ++i) {
      const Direction other = follow(&profiles, points, candidates[i]);
      if (other.sharpness > found->sharpness) *found = other;
    }
  choose_quarter(found);
  return true;
}

}  // namespace skew
