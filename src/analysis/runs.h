// The horizontal runs of one pixel value in a row.
#pragma once

#include <cstdint>

namespace skew {

constexpr int kWidestRunRow = 3995;
constexpr int kRunsInRow = (kWidestRunRow + 1) / 2;

struct Run {
  uint16_t left, right;  // first and last column
  uint32_t record;       // for the labelling: the component that the run belongs to
};

// Writes the runs of `value` in a row of at most kWidestRunRow pixels, from left to right; returns their
// number.
int find_runs(const uint8_t* row, int width, uint8_t value, Run* runs);

}  // namespace skew
