#include "page/tiles.h"

#include <cmath>
#include <cstdlib>

namespace skew {
namespace {

constexpr int kSidePercent = 34;  // of the page's shorter side
constexpr int kLeastSide = 32;    // units
constexpr int kLeastPoints = 120;
constexpr double kReach = 3;         // degrees on each side
constexpr int kApart = 4;            // steps to what counts as another direction
constexpr int kMostSteps = 30;       // on each side
constexpr int kSteepestLine = 4096;  // 3.6 degrees
constexpr double kStandsOut = 1.7;   // sharpness of lines of writing; points strewn at random have 1

// The points of a page sorted by square cells, half a tile's side each way.
struct Cells {
  Buffer<int> starts;
  Buffer<PagePoint> points;
  int side = 0, across = 0, down = 0;
  int half_width = 0, half_height = 0;
};

int cell_of(const Cells& cells, const PagePoint& p) {
  const int column = (p.x / kPlaceUnits + cells.half_width) / cells.side,
            row = (p.y / kPlaceUnits + cells.half_height) / cells.side;
  return row * cells.across + column;
}

bool sort_points(const PagePoints& points, Cells* cells) {
  cells->half_width = points.half_width;
  cells->half_height = points.half_height;
  cells->across = 2 * points.half_width / cells->side + 1;
  cells->down = 2 * points.half_height / cells->side + 1;
  const int count = cells->across * cells->down;
  cells->starts = allocate_zeroed<int>(static_cast<uint64_t>(count) + 2);
  cells->points = allocate<PagePoint>(points.count);
  if (!cells->starts || !cells->points) return false;
  int* next = cells->starts.get() + 1;  // of each cell; in the end the starts have moved up by one
  for (int i = 0; i < points.count; ++i) ++next[cell_of(*cells, points.list[i]) + 1];
  for (int c = 0; c < count; ++c) next[c + 1] += next[c];
  for (int i = 0; i < points.count; ++i)
    cells->points[next[cell_of(*cells, points.list[i])]++] = points.list[i];
  return true;
}

int cell_points(const Cells& cells, int column, int row, const PagePoint** first) {
  if (column >= cells.across || row >= cells.down) return 0;
  const int c = row * cells.across + column;
  *first = &cells.points[cells.starts[c]];
  return cells.starts[c + 1] - cells.starts[c];
}

// Fills the strips with the four cells of a tile; places count from the tile's middle.
void fill(const Cells& cells, const Turn& turn, bool columns, int column, int row, const Tile& tile,
          ProfileStrips* strips) {
  strips->clear();
  for (int k = 0; k < 4; ++k) {
    const PagePoint* first = nullptr;
    const int count = cell_points(cells, column + k % 2, row + k / 2, &first);
    for (int i = 0; i < count; ++i) {
      PagePoint p = first[i];
      p.x -= tile.x * kPlaceUnits;
      p.y -= tile.y * kPlaceUnits;
      const TurnedPoint t = turn(p);
      if (t.in_rows == columns) continue;
      if (columns)
        strips->add(t.across, t.along);
      else
        strips->add(t.along, t.across);
    }
  }
}

// False where the sharpest direction lies at the end of the range: the tile's own is beyond it.
bool find_top(const ProfileStrips& strips, bool columns, double step, Tile* tile) {
  double scores[2 * kMostSteps + 1] = {};
  const int steps = static_cast<int>(kReach / step + 0.5) / 2 * 2;
  const auto score = [&](int i) {
    const int slope = slope_of((i - steps) * step);
    scores[i] = strips.sharpness(columns ? -slope : slope);
  };
  int best = 0;
  for (int i = 0; i <= 2 * steps; i += 2) {
    score(i);
    if (scores[i] > scores[best]) best = i;
  }
  if (best == 0 || best == 2 * steps) return false;
  tile->rival = 0;
  for (int i = 0; i <= 2 * steps; i += 2)
    if (std::abs(i - best) > kApart && scores[i] > tile->rival) tile->rival = scores[i];
  // The steps between, on both sides of the best.
  score(best - 1);
  score(best + 1);
  const int better = scores[best - 1] > scores[best + 1] ? best - 1 : best + 1;
  if (scores[better] > scores[best]) best = better;
  const double bend = scores[best - 1] + scores[best + 1] - 2 * scores[best];
  tile->angle += (best - steps + (bend < 0 ? (scores[best - 1] - scores[best + 1]) / 2 / bend : 0)) * step;
  tile->sharpness = scores[best];
  return true;
}

}  // namespace

double Tile::weight() const {
  return sharpness < kStandsOut || rival > 0.85 * sharpness ? 0 : (sharpness - 1) * points;
}

bool measure_tiles(const PagePoints& points, const Direction& page, Tiles* tiles) {
  const int shorter = 2 * (points.half_width < points.half_height ? points.half_width : points.half_height);
  const int side = shorter * kSidePercent / 100;
  tiles->side = side < kLeastSide ? kLeastSide : side;
  Cells cells;
  cells.side = tiles->side / 2;
  if (!sort_points(points, &cells)) return false;
  tiles->list = allocate<Tile>(cells.across, cells.down);
  ProfileStrips strips;
  if (!tiles->list || !strips.prepare(cells.side * 3 / 2 + 2, kSteepestLine)) return false;
  // A unit across the lines over the length of a tile is this angle; half of it is a step.
  const double finest = kReach / kMostSteps, half_unit = 0.5 / tiles->side * (180 / 3.14159265358979323846);
  const double step = half_unit < finest ? finest : half_unit > 0.3 ? 0.3 : half_unit;
  const int index = static_cast<int>(std::floor(page.angle / 0.2 + 0.5));
  const int wrapped = index > 225 ? 225 : index < -225 ? -225 : index;
  const Turn turn(wrapped);
  for (int row = 0; row < cells.down; ++row)
    for (int column = 0; column < cells.across; ++column) {
      Tile tile = {(column + 1) * cells.side - cells.half_width,
                   (row + 1) * cells.side - cells.half_height,
                   0,
                   wrapped * 0.2,
                   0,
                   0};
      fill(cells, turn, page.in_columns, column, row, tile, &strips);
      tile.points = strips.points();
      if (tile.points >= kLeastPoints && find_top(strips, page.in_columns, step, &tile))
        tiles->list[tiles->count++] = tile;
    }
  return true;
}

}  // namespace skew
