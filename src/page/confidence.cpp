// A logistic model of a few figures that a person would look at, too: how sharply the lines stand out, in how many
// parts of the page, how well the parts agree. Its weights were fitted to some thousand pages with known angles, real and
// drawn; docs/accuracy.md shows how well they hold on pages that were not among them. What no weight can know is
// decided by rule: a raster that poses as lines.
#include "page/confidence.h"

#include <cmath>
#include <cstring>

namespace skew {
namespace {

constexpr double kLn2 = 0.69314718055994530942;

// The C library's logarithm and exponential differ in their last bits between systems; these are the same everywhere
// and right to 10^-6, for arguments well inside the range of a double.
double natural_log(double v) {
  int power = 0;
  while (v > 1.5) {
    v /= 2;
    ++power;
  }
  while (v < 0.75) {
    v *= 2;
    --power;
  }
  const double s = (v - 1) / (v + 1), q = s * s;
  return power * kLn2 + 2 * s * (1 + q * (1.0 / 3 + q * (1.0 / 5 + q * (1.0 / 7 + q * (1.0 / 9 + q / 11)))));
}

double exponential(double v) {
  const int power = static_cast<int>(std::floor(v / kLn2 + 0.5));
  const double r = v - power * kLn2;
  double e = 1 + r * (1 + r / 2 * (1 + r / 3 * (1 + r / 4 * (1 + r / 5 * (1 + r / 6 * (1 + r / 7))))));
  for (int i = 0; i < power; ++i) e *= 2;
  for (int i = 0; i > power; --i) e /= 2;
  return e;
}

double smaller(double a, double b) { return a < b ? a : b; }
double larger(double a, double b) { return a > b ? a : b; }

double logistic(double v) { return 1 / (1 + exponential(-smaller(larger(v, -20), 20))); }

constexpr double kUnknownScatter = 0.5;  // degrees, where no tile has a direction of its own
constexpr int kFewTiles = 4;

struct Figures {
  double sharpness, crossing;  // logarithms
  double scatter;              // logarithm
  double agreeing, share;      // of the tiles' weight, and of the tiles that have a direction
  double tiles, weight;        // logarithms
};

Figures figures_of(const View& view) {
  const LineField& f = view.field;
  Figures r;
  r.sharpness = smaller(natural_log(larger(view.direction.sharpness, 0.5)), 4);
  r.crossing = natural_log(larger(view.direction.crossing, 0.5));
  r.scatter = natural_log(f.tiles > 0 ? f.scatter + 0.02 : kUnknownScatter);
  r.agreeing = f.agreeing;
  r.share = f.tiles / larger(f.asked, kFewTiles);
  r.tiles = natural_log(1.0 + f.tiles);
  r.weight = natural_log(1.0 + f.weight);
  return r;
}

// Phases of a period of eight, as cosines.
constexpr double kEighth[] = {1,  0.70710678118654752,  0, -0.70710678118654752,
                              -1, -0.70710678118654752, 0, 0.70710678118654752};

// How far the places of the points on one axis concentrate on one phase of eight source pixels: 0 not at all, 1 wholly.
double clinging(const PagePoints& points, bool vertical, double source_pixels) {
  double count = 0, cosines = 0, sines = 0;
  for (int i = 0; i < points.count; ++i) {
    const PagePoint& p = points.list[i];
    const int ax = p.gx < 0 ? -p.gx : p.gx, ay = p.gy < 0 ? -p.gy : p.gy;
    if ((ay > ax) != vertical) continue;
    const int phase =
        static_cast<int>(std::floor((vertical ? p.y : p.x) * (source_pixels / kPlaceUnits))) & 7;
    ++count;
    cosines += kEighth[phase];
    sines += kEighth[(phase + 6) & 7];
  }
  return count > 0 ? std::sqrt(cosines * cosines + sines * sines) / count : 0;
}

}  // namespace

double confidence_in_writing(const View& view) {
  const Figures f = figures_of(view);
  const double p = logistic(-2.62 + 0.20 * f.sharpness + 2.94 * smaller(f.crossing, 1) - 1.12 * f.scatter +
                            1.75 * f.agreeing + 1.76 * f.tiles + 3.72 * f.share - 0.71 * f.weight);
  return view.field.tiles < kFewTiles ? p / 2 : p;
}

double confidence_in_structure(const View& view) {
  const Figures f = figures_of(view);
  const double p = logistic(-2.09 + 0.73 * f.sharpness + 1.17 * smaller(f.crossing, 3.5) + 1.40 * f.scatter +
                            7.02 * f.agreeing - 0.93 * f.tiles + 1.04 * f.share - 0.06 * f.weight);
  return view.field.tiles < kFewTiles ? p / 2 : p;
}

bool follows_raster(const View& view, double source_pixels_per_pixel) {
  constexpr double kRasterAngle = 0.15;    // degrees from the pixels' rows
  constexpr double kNoiseSharpness = 2.5;  // noise alone piles up to 2 along the pixels' own rows
  constexpr double kClinging = 0.15;       // on both axes; text on pages that lie exactly level has less
  constexpr double kClingingAlong = 0.25;  // along the lines alone, where text has no reason to
  const double source = view.pixels_per_unit * source_pixels_per_pixel;
  if (std::fabs(view.direction.angle) < kRasterAngle) {
    if (view.direction.sharpness < kNoiseSharpness) return true;
    const double rows = clinging(view.points, true, source), columns = clinging(view.points, false, source);
    if (smaller(rows, columns) > kClinging || (view.direction.in_columns ? rows : columns) > kClingingAlong)
      return true;
  }
  // Dots of a screen cover the page evenly, and pile up as well along as across.
  constexpr double kScreenCrossing = 0.75, kScreenSharpness = 12, kScreenCover = 0.17;
  const double page =
      4.0 * view.points.half_width * view.points.half_height * view.pixels_per_unit * view.pixels_per_unit;
  const double cover = static_cast<double>(view.letters) * view.letter_height * view.letter_height / page;
  return view.direction.crossing > kScreenCrossing * view.direction.sharpness &&
         view.direction.sharpness < kScreenSharpness && cover > kScreenCover;
}

}  // namespace skew
