#include "page/kernels.h"

namespace skew {
namespace {

void add_row(const uint8_t* pixels, int width, int weight, uint16_t* sums) {
  for (int x = 0; x < width; ++x) sums[x] = static_cast<uint16_t>(sums[x] + weight * pixels[x]);
}

void sum_rows(const ShiftedRows& shifted, int length, uint16_t* profile) {
  for (int i = 0; i < length; ++i) profile[i] = 0;
  for (int r = 0; r < shifted.count; ++r) {
    const uint8_t* row = shifted.rows[r];
    for (int i = 0; i < length; ++i) profile[i] = static_cast<uint16_t>(profile[i] + row[i]);
  }
}

uint64_t squared_differences(const uint16_t* counts, int length) {
  uint64_t sum = 0;
  for (int i = 0; i + 7 < length; ++i) {
    const int before = counts[i] + counts[i + 1] + counts[i + 2] + counts[i + 3];
    const int after = counts[i + 4] + counts[i + 5] + counts[i + 6] + counts[i + 7];
    sum += static_cast<uint64_t>(int64_t{after - before} * (after - before));
  }
  return sum;
}

}  // namespace

SKEW_FORM(PageKernels) = {add_row, sum_rows, squared_differences};

}  // namespace skew
