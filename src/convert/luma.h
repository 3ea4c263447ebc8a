// The luma of one pixel: every gray image of the library is made with these weights. Static, since kernels include
// this (core/forms.h).
#pragma once

#include <cstdint>

namespace skew {

// 0 ... 255 for channels in 0 ... 255; the shift rounds down.
static constexpr int luma(int red, int green, int blue) {
  return (306 * red + 601 * green + 117 * blue) >> 10;
}

static constexpr int luma_of_argb(uint32_t pixel) {
  return luma(static_cast<int>((pixel >> 16) & 255), static_cast<int>((pixel >> 8) & 255),
              static_cast<int>(pixel & 255));
}

}  // namespace skew
