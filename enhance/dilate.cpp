#include "enhance/row_filter.h"
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

void close_gaps(const RowNeighbourhood& rows, int width, uint8_t* out) {
  for (int x = 1; x < width - 1; ++x)
    if (bridges(rows, x)) out[x] = 255;
}

}  // namespace
}  // namespace skew

int dilation(uint8_t* pImage, int width, int height) {
  return skew::filter_rows_in_place(pImage, width, height, skew::close_gaps);
}
