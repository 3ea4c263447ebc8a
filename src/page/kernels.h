// The inner loops of the page measurement, which the compiler puts into vectors by itself.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/forms.h"

namespace skew {

// Some rows of histograms, each to be read from its own start.
struct ShiftedRows {
  const uint8_t* const* rows;
  int count;
};

struct PageKernels {
  // sums[x] += weight * pixels[x]. The weights that meet in one sum add up to 256, so that 16 bits hold it.
  void (*add_row)(const uint8_t* pixels, int width, int weight, uint16_t* sums);
  // profile[i] = the sum of rows[r][i] over all rows, which 16 bits hold.
  void (*sum_rows)(const ShiftedRows& shifted, int length, uint16_t* profile);
  // Each count spread over four bins, differenced over four bins and squared: the sum over i of
  // (c[i+4] + ... + c[i+7] - c[i] - ... - c[i+3])^2 for all i with i + 7 < length.
  uint64_t (*squared_differences)(const uint16_t* counts, int length);
};
SKEW_DECLARE_FORMS(PageKernels)

}  // namespace skew
