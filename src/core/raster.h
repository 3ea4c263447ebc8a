// How rasters lie in memory, and the boxes in them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "include/skewcorrection/types.h"

namespace skew {

// The record is part of the published interface.
static_assert(sizeof(ImgROI) == 24 && offsetof(ImgROI, left) == 0 && offsetof(ImgROI, right) == 2 &&
              offsetof(ImgROI, top) == 4 && offsetof(ImgROI, bottom) == 6 && offsetof(ImgROI, area) == 8 &&
              offsetof(ImgROI, link) == 12 && offsetof(ImgROI, maxRun) == 16 &&
              offsetof(ImgROI, scratchIndex) == 18 && offsetof(ImgROI, reserved) == 20);

// Bytes from one row of a padded raster to the next: the width raised to a multiple of 4.
constexpr ptrdiff_t padded_stride(int width) {
  return static_cast<ptrdiff_t>((static_cast<int64_t>(width) + 3) & ~int64_t{3});
}

// The distance between rows, which is negative for rasters stored bottom up.
constexpr uint64_t row_distance(ptrdiff_t stride) {
  return stride < 0 ? 0 - static_cast<uint64_t>(stride) : static_cast<uint64_t>(stride);
}

// Whether memory can hold so many rows, 1 or more, at this distance.
constexpr bool is_addressable(ptrdiff_t stride, int height) {
  return row_distance(stride) <= static_cast<uint64_t>(PTRDIFF_MAX) / static_cast<uint64_t>(height);
}

// The columns and rows of a region whose four bounds are inclusive; zero or negative when it is inverted.
constexpr int inclusive_width(const ImgROI& box) { return box.right - box.left + 1; }
constexpr int inclusive_height(const ImgROI& box) { return box.bottom - box.top + 1; }

}  // namespace skew
