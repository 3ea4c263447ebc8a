// The centre of mass from whole-number sums: exact, whatever the order.
#include <cstddef>

#include "analysis/row_sums.h"
#include "include/skewcorrection/analysis.h"

namespace skew {
namespace {

int32_t rounded_mean(uint64_t sum, uint64_t count) {
  return static_cast<int32_t>(static_cast<double>(sum) / static_cast<double>(count) + 0.5);
}

}  // namespace
}  // namespace skew

void getBarycenter(const uint8_t* pSrc, int width, int height, int32_t* pX, int32_t* pY) {
  uint64_t count = 0, columns = 0, rows = 0;
  for (int y = 0; width > 0 && y < height; ++y) {
    const skew::RowSum sum = skew::kernels<skew::RowSums>().sum(pSrc + ptrdiff_t{y} * width, width);
    count += sum.count;
    columns += sum.columns;
    rows += sum.count * static_cast<uint64_t>(y);
  }
  *pX = count == 0 ? 0 : skew::rounded_mean(columns, count);
  *pY = count == 0 ? 0 : skew::rounded_mean(rows, count);
}
