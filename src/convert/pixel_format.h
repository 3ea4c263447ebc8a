// The conversions behind the exported ones, over any number of pixels.
#pragma once

#include <cstddef>
#include <cstdint>

namespace skew {

// Pixels of an image; 0 when there are none. Two negative sides count like two positive ones.
constexpr int64_t pixel_count(int width, int height) {
  const int64_t product = int64_t{width} * height;
  return product > 0 ? product : 0;
}

// Source and destination may start at the same address.
void gray_from_argb(const int32_t* argb, int64_t count, uint8_t* gray);
void gray_from_rgb(const uint8_t* rgb, int64_t count, uint8_t* gray);
void rgb_from_argb(const int32_t* argb, int64_t count, uint8_t* rgb);

}  // namespace skew
