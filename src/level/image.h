// What the levelling functions share: the image they look at, and the check of what they are given.
#pragma once

#include "core/raster.h"
#include "include/skewcorrection/level.h"
#include "rotate/geometry.h"

namespace skew {

// An image of the caller; pixel_bytes is 1 for gray, 3 for RGB, 4 for ARGB.
struct Image {
  const uint8_t* pixels;
  ptrdiff_t stride;
  int width, height, pixel_bytes;

  const uint8_t* row(int y) const { return pixels + y * stride; }
  bool valid() const {
    return pixels != nullptr && width >= 1 && height >= 1 &&
           row_distance(stride) >= static_cast<uint64_t>(width) * static_cast<uint64_t>(pixel_bytes) &&
           stride % (pixel_bytes == 4 ? 4 : 1) == 0 && is_addressable(stride, height);
  }
};

// False for options out of range or NaN.
bool valid_options(const SkewLevelOptions& options);

// The median colour of a valid image's border, 0xAARRGGBB.
uint32_t border_colour(const Image& image);

}  // namespace skew
