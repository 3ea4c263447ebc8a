// Projection profiles of a whole edge map at continuous angles.
//
// The points are turned once by a multiple of 0.2 degree and sorted into strips across the profile's
// direction, each with a histogram in quarter pixels. Turning on by a small angle is then a shear, and a
// shear moves each strip's histogram as a whole: the profile at any angle nearby is a sum of shifted
// histograms, at no cost for each point.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/buffer.h"

namespace skew {

// A point of an edge. Places are counted from the middle of the map in 1/16 pixel and lie on the edge itself,
// not on the raster.
constexpr int kPlaceUnits = 16;
struct PagePoint {
  int32_t x, y;
  int16_t gx, gy;  // the gradient there
};

struct PagePoints {
  Buffer<PagePoint> list;  // null when there was no memory
  int count = 0;
};

// The points of an edge map that lie two pixels or more off its border.
PagePoints find_page_points(const uint8_t* image, const uint8_t* edges, int width, int height,
                            ptrdiff_t stride);

// The histograms of one direction.
class ProfileStrips {
 public:
  // Room for points up to `reach` pixels from the middle. False if there is no memory.
  bool prepare(int reach);
  void clear();
  // A point so many 1/65536 pixel from the middle along the strips' row and across it.
  void add(int64_t along, int64_t across) {
    uint8_t& count = counts_[((along >> 20) + strips_ / 2) * bins_ + (across >> 14) + bins_ / 2];
    count = static_cast<uint8_t>(count + (count < 255));
    ++points_;
  }
  // How sharply the points pile up when they are sheared by a slope (1/65536, up to kSteepest): the profile
  // is spread over a pixel, differenced over a pixel and squared. 1 is what points strewn at random would
  // give.
  double sharpness(int slope) const;

 private:
  Buffer<uint8_t> counts_;  // bins_ for each strip; a count stays at 255
  Buffer<const uint8_t*> starts_;
  Buffer<uint16_t> profile_;
  int strips_ = 0, bins_ = 0, margin_ = 0, points_ = 0;
};

constexpr int kSteepest = 1024;  // 0.89 degree

// The strips of both directions. A point counts in the one along which its edge runs.
class Profiles {
 public:
  bool prepare(int width, int height);
  // Fills the strips with the points turned by an angle index (0.2 degree each), from -225 to 225.
  void turn(const PagePoints& points, int angle_index);
  double rows(int slope) const { return rows_.sharpness(slope); }
  double columns(int slope) const { return columns_.sharpness(-slope); }

 private:
  ProfileStrips rows_, columns_;
};

}  // namespace skew
