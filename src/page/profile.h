// Projection profiles of edge points at continuous angles.
//
// The points are turned once by a multiple of 0.2 degree and sorted into strips across the profile's
// direction, each with a histogram in quarter units. Turning on by a small angle is then a shear, and a
// shear moves each strip's histogram as a whole: the profile at any angle nearby is a sum of shifted
// histograms, at no cost for each point.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/buffer.h"
#include "page/points.h"

namespace skew {

// The histograms of one direction.
class ProfileStrips {
 public:
  // Room for points up to `reach` units from the middle and for slopes up to `steepest`. False if there is no memory.
  bool prepare(int reach, int steepest);
  void clear();
  // A point so many 1/65536 unit from the middle along the strips' row and across it.
  void add(int64_t along, int64_t across) {
    const int strip = static_cast<int>(along >> 20) + strips_ / 2,
              bin = static_cast<int>(across >> 14) + bins_ / 2;
    uint8_t& count = counts_[strip * bins_ + bin];
    count = static_cast<uint8_t>(count + (count < 255));
    ++points_;
    if (strip < first_strip_) first_strip_ = strip;
    if (strip > last_strip_) last_strip_ = strip;
    if (bin < first_bin_) first_bin_ = bin;
    if (bin > last_bin_) last_bin_ = bin;
  }
  int points() const { return points_; }
  // How sharply the points pile up when they are sheared by a slope (1/65536, up to `steepest`): the profile
  // is spread over a unit, differenced over a unit and squared. 1 is what points strewn at random would
  // give.
  double sharpness(int slope) const;

 private:
  Buffer<uint8_t> counts_;  // bins_ for each strip; a count stays at 255
  Buffer<const uint8_t*> starts_;
  Buffer<uint16_t> profile_;
  int strips_ = 0, bins_ = 0, margin_ = 0, points_ = 0;
  int first_strip_ = 0, last_strip_ = 0, first_bin_ = 0, last_bin_ = 0;  // that hold points
};

// The slope of a small angle in 1/65536, from the first terms of the tangent's series, so that it is the same
// everywhere; up to 4 degrees the next term is below 10^-6.
int slope_of(double degrees);

// A point in the frame that is turned by an angle index, and which of the two profiles it counts in: the one along
// which its edge runs. Places are in 1/65536 unit.
struct TurnedPoint {
  int64_t along, across;  // the rows' direction
  bool in_rows;
};
class Turn {
 public:
  // By an angle index (0.2 degree each), from -225 to 225.
  explicit Turn(int angle_index);
  TurnedPoint operator()(const PagePoint& p) const {
    const int64_t rise_along = p.gx * cosine_ + p.gy * sine_, rise_across = p.gy * cosine_ - p.gx * sine_;
    return {(p.x * cosine_ + p.y * sine_) / kPlaceUnits, (p.y * cosine_ - p.x * sine_) / kPlaceUnits,
            rise_across * rise_across >= rise_along * rise_along};
  }

 private:
  int64_t cosine_, sine_;  // 1/65536
};

constexpr int kSteepest = 1024;  // 0.89 degree

// The strips of both directions.
class Profiles {
 public:
  bool prepare(const PagePoints& points);
  // Fills the strips with the points turned by an angle index.
  void turn(const PagePoints& points, int angle_index);
  double rows(int slope) const { return rows_.sharpness(slope); }
  double columns(int slope) const { return columns_.sharpness(-slope); }

 private:
  ProfileStrips rows_, columns_;
};

}  // namespace skew
