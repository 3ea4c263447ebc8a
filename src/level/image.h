// What the levelling functions share: the image they look at, and the check of what they are given.
#pragma once

#include "core/buffer.h"
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

// The gray image that a valid image is measured by, rows width bytes apart; null if there is no memory.
Buffer<uint8_t> gray_copy(const Image& image);

// skew_plan_gray for a valid gray image that stands for one of pixel_bytes a pixel and with such a border.
int judge(const Image& gray, int pixel_bytes, uint32_t border, const SkewLevelOptions* options,
          SkewLevel* level);

// skew_rotate_gray or its relative, with the fill colour as 0xAARRGGBB, of which gray images take the luma.
int rotate(const Image& image, double angle, int canvas, uint32_t fill, uint8_t* out, ptrdiff_t out_stride);

}  // namespace skew
