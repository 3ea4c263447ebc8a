// The sampled 2 x 2 mean: each destination pixel is the truncated mean of the block at its source position.
// Neither an area average nor an interpolation: one cheap read of four pixels, whatever the scale.
#pragma once

#include <cstddef>
#include <cstdint>

namespace skew {

// Resamples the region of `width` x `height` pixels that starts at `region`, in rows `stride` bytes apart, to
// `out_width` x `out_height` pixels in rows `out_stride` bytes apart. Every pixel read lies inside the
// region; bytes between the destination's rows keep their values. A size below 1 on either side changes
// nothing. False when there is no memory for the column map (4 * out_width bytes); the destination is then
// unchanged.
bool sample2x2(const uint8_t* region, ptrdiff_t stride, int width, int height, uint8_t* out,
               ptrdiff_t out_stride, int out_width, int out_height);

}  // namespace skew
