#include "enhance/row_filter.h"
#include "include/skewcorrection/enhance.h"

namespace skew {
namespace {

void smooth_row(const RowNeighbourhood& rows, int width, uint8_t* out) {
  const auto column = [&](int x) { return rows.above[x] + 2 * rows.own[x] + rows.below[x]; };
  for (int x = 1; x < width - 1; ++x)
    out[x] = static_cast<uint8_t>((column(x - 1) + 2 * column(x) + column(x + 1)) >> 4);
}

}  // namespace
}  // namespace skew

int ImgGaussSmooth(uint8_t* pImage, int width, int height) {
  return skew::filter_rows_in_place(pImage, width, height, skew::smooth_row);
}
