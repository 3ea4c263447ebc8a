// Reduction by true area averaging: every source pixel counts by the part of it that a working pixel covers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/buffer.h"

namespace skew {

// The size at which a page is measured. Both directions share one scale, so that angles are kept; what is
// left of the longer side beyond the last whole working pixel is dropped.
struct ReducedSize {
  int width = 0, height = 0;
  int64_t step = 0;  // source pixels for one working pixel, 1/65536; at least 65536, exactly that to copy
  double scale() const { return static_cast<double>(step) / 65536; }
};

// A shorter side of 768 pixels where the page has that many, within the limits below; never enlarged.
constexpr int kReducedSide = 896;
constexpr int kLongestReducedSide = 4096;
constexpr int kReducedPixels = 3 << 20;
ReducedSize reduced_size(int width, int height);

// Fills size.width by size.height pixels, rows out_stride bytes apart. Returns false if there is no memory.
bool area_average(const uint8_t* pixels, int width, ptrdiff_t stride, const ReducedSize& size, uint8_t* out,
                  ptrdiff_t out_stride);

}  // namespace skew
