// Literal form of the sampled 2 x 2 mean.
#pragma once

#include <cstddef>
#include <cstdint>

namespace skew::reference {

// `region` is the region's first pixel; both sides of region and destination are at least 1. A first
// destination column without a right neighbour samples column 0.
void shrink(const uint8_t* region, ptrdiff_t stride, int width, int height, uint8_t* out,
            ptrdiff_t out_stride, int out_width, int out_height);

}  // namespace skew::reference
