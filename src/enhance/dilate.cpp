// Closes gaps row by row. Two rows are kept as they were; the row below was not changed yet.
#include <cstring>

#include "core/buffer.h"
#include "core/cpu.h"
#include "core/raster.h"
#include "enhance/filter_rows.h"
#include "include/skewcorrection/enhance.h"

namespace skew {
namespace {

constexpr int kLeastSum = 500;
constexpr int kLargestSum = 1274;

bool bridges(const RowNeighbourhood& rows, int x) {
  const uint8_t *a = rows.above + x, *o = rows.own + x, *b = rows.below + x;
  if (o[0] != 0) return false;
  const int sum = a[-1] + a[0] + a[1] + o[-1] + o[1] + b[-1] + b[0] + b[1];
  if (sum < kLeastSum || sum > kLargestSum) return false;
  if ((o[-1] | o[1]) == 0) return (a[-1] | a[0] | a[1]) != 0 && (b[-1] | b[0] | b[1]) != 0;
  return (a[0] | b[0]) == 0 && (a[-1] | o[-1] | b[-1]) != 0 && (a[1] | o[1] | b[1]) != 0;
}

int close_gaps_fast(const RowNeighbourhood& rows, int begin, int end, uint8_t* out) {
#if defined(SKEW_WIDER_FORMS)
  if (vector_bytes() >= 32) return lanes32::close_gaps_vectors(rows, begin, end, out);
#endif
#if SKEW_SIMD
  return close_gaps_vectors(rows, begin, end, out);
#else
  (void)rows, (void)end, (void)out;
  return begin;
#endif
}

void close_gaps(const RowNeighbourhood& rows, int width, uint8_t* out) {
  for (int x = close_gaps_fast(rows, 1, width - 1, out); x < width - 1; ++x)
    if (bridges(rows, x)) out[x] = 255;
}

}  // namespace
}  // namespace skew

int dilation(uint8_t* pImage, int width, int height) {
  const size_t columns = width > 0 ? static_cast<size_t>(width) : 0;
  const skew::Buffer<uint8_t> kept = skew::allocate<uint8_t>(2, columns);
  if (!kept) return SKEW_NO_WORKING_MEMORY;
  if (width < 3 || height < 3) return SKEW_OK;

  const ptrdiff_t stride = skew::padded_stride(width);
  uint8_t *above = kept.get(), *own = above + columns;
  std::memcpy(above, pImage, columns);
  for (int y = 1; y < height - 1; ++y) {
    uint8_t* row = pImage + y * stride;
    std::memcpy(own, row, columns);
    skew::close_gaps({above, own, row + stride}, width, row);
    uint8_t* done = above;
    above = own;
    own = done;
  }
  return SKEW_OK;
}
