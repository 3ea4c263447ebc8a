#include "page/lines.h"

#include <cmath>

namespace skew {
namespace {

constexpr double kSame = 0.3;  // degrees

// Shell's method: tiles are a few hundred at most.
void sort_by_angle(Tile* tiles, int count) {
  for (int gap = count / 2; gap > 0; gap /= 2)
    for (int i = gap; i < count; ++i) {
      const Tile tile = tiles[i];
      int k = i;
      for (; k >= gap && tiles[k - gap].angle > tile.angle; k -= gap) tiles[k] = tiles[k - gap];
      tiles[k] = tile;
    }
}

// The angle below which a share of the weight lies; between the two tiles around it.
double quantile(const Tile* tiles, int count, double total, double share) {
  double below = 0, last_middle = 0, last_angle = tiles[0].angle;
  for (int i = 0; i < count; ++i) {
    const double middle = below + tiles[i].weight() / 2;
    if (middle >= share * total) {
      if (i == 0 || middle <= last_middle) return tiles[i].angle;
      return last_angle +
             (tiles[i].angle - last_angle) * (share * total - last_middle) / (middle - last_middle);
    }
    below += tiles[i].weight();
    last_middle = middle;
    last_angle = tiles[i].angle;
  }
  return last_angle;
}

// The mean distance of the tiles from the plane a + b x + c y that fits them best by weighted least squares.
double distance_from_plane(const Tile* tiles, int count, double total) {
  double mx = 0, my = 0, ma = 0;
  for (int i = 0; i < count; ++i) {
    const double w = tiles[i].weight() / total;
    mx += w * tiles[i].x;
    my += w * tiles[i].y;
    ma += w * tiles[i].angle;
  }
  double xx = 0, xy = 0, yy = 0, xa = 0, ya = 0;
  for (int i = 0; i < count; ++i) {
    const double w = tiles[i].weight() / total, x = tiles[i].x - mx, y = tiles[i].y - my,
                 a = tiles[i].angle - ma;
    xx += w * x * x;
    xy += w * x * y;
    yy += w * y * y;
    xa += w * x * a;
    ya += w * y * a;
  }
  xx += 1;  // a page of one row or column of tiles has no slope across
  yy += 1;
  const double det = xx * yy - xy * xy;
  const double b = (xa * yy - ya * xy) / det, c = (ya * xx - xa * xy) / det;
  double sum = 0;
  for (int i = 0; i < count; ++i)
    sum += tiles[i].weight() * std::fabs(tiles[i].angle - ma - b * (tiles[i].x - mx) - c * (tiles[i].y - my));
  return sum / total;
}

}  // namespace

bool combine_tiles(const Tiles& tiles, LineField* field) {
  *field = LineField();
  field->asked = tiles.count;
  Buffer<Tile> sorted = allocate<Tile>(tiles.count);
  if (!sorted) return false;
  int count = 0;
  for (int i = 0; i < tiles.count; ++i)
    if (tiles.list[i].weight() > 0) {
      sorted[count++] = tiles.list[i];
      field->weight += tiles.list[i].weight();
    }
  field->tiles = count;
  if (count == 0) return true;
  sort_by_angle(sorted.get(), count);
  const double total = field->weight;
  field->angle = quantile(sorted.get(), count, total, 0.5);
  field->lowest = quantile(sorted.get(), count, total, 0.05);
  field->highest = quantile(sorted.get(), count, total, 0.95);
  for (int i = 0; i < count; ++i) {
    const double distance = std::fabs(sorted[i].angle - field->angle), share = sorted[i].weight() / total;
    field->scatter += distance * share;
    if (distance <= kSame) field->agreeing += share;
  }
  field->residual = distance_from_plane(sorted.get(), count, total);
  return true;
}

}  // namespace skew
