// The scan of a row for nonzero pixels.
#pragma once

#include "core/forms.h"

namespace skew {

// The nonzero pixels of a row: how many, and the sum of their columns.
struct RowSum {
  uint64_t count, columns;
};

struct RowSums {
  RowSum (*sum)(const uint8_t* row, int width);
};
SKEW_DECLARE_FORMS(RowSums)

}  // namespace skew
