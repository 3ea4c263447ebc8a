// The 3 x 3 kernel in two steps, along the row and down the columns. Each row is summed along once, when it
// is the row below; what the two rows above it add is carried along, so the image may be overwritten on the
// way.
#include "core/buffer.h"
#include "core/cpu.h"
#include "core/raster.h"
#include "enhance/filter_rows.h"
#include "include/skewcorrection/enhance.h"

namespace skew {
namespace {

int sum_of_three(const uint8_t* p) { return p[-1] + 2 * p[0] + p[1]; }

void smooth_plain(const SmoothStep& step, int begin, int end) {
  for (int x = begin; x < end; ++x) {
    const int sum = sum_of_three(step.below + x);
    step.out[x] = static_cast<uint8_t>((step.upper[x] + sum) >> 4);
    step.upper[x] = static_cast<uint16_t>(step.own[x] + 2 * sum);
    step.own[x] = static_cast<uint16_t>(sum);
  }
}

int smooth_fast([[maybe_unused]] const SmoothStep& step, int begin, [[maybe_unused]] int end) {
#if defined(SKEW_WIDER_FORMS)
  if (vector_bytes() >= 32) return lanes32::smooth_vectors(step, begin, end);
#endif
#if SKEW_SIMD
  return smooth_vectors(step, begin, end);
#else
  (void)step, (void)end;
  return begin;
#endif
}

}  // namespace
}  // namespace skew

int ImgGaussSmooth(uint8_t* pImage, int width, int height) {
  const size_t columns = width > 0 ? static_cast<size_t>(width) : 0;
  const skew::Buffer<uint16_t> sums = skew::allocate<uint16_t>(2, columns);
  if (!sums) return SKEW_NO_WORKING_MEMORY;
  if (width < 3 || height < 3) return SKEW_OK;

  const ptrdiff_t stride = skew::padded_stride(width);
  uint16_t *upper = sums.get(), *own = upper + columns;
  for (int x = 1; x < width - 1; ++x) {
    own[x] = static_cast<uint16_t>(skew::sum_of_three(pImage + stride + x));
    upper[x] = static_cast<uint16_t>(skew::sum_of_three(pImage + x) + 2 * own[x]);
  }
  for (int y = 1; y < height - 1; ++y) {
    uint8_t* row = pImage + y * stride;
    const skew::SmoothStep step = {row + stride, upper, own, row};
    skew::smooth_plain(step, skew::smooth_fast(step, 1, width - 1), width - 1);
  }
  return SKEW_OK;
}
