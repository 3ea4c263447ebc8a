// The angle at which the edge points of a box pile up most sharply in their row and column projections.
#pragma once

#include <cstddef>
#include <cstdint>

#include "include/skewcorrection/types.h"

namespace skew {

struct OneStepResult {
  int angle_index = 0;     // signed, in steps of 0.2 degree, -225 ... 225
  double score = 0;        // of that angle: sum of squared row counts times sum of squared column counts
  double level_score = 0;  // of the angle 0
  size_t points = 0;  // edge points in the box; below kOneStepPoints nothing is searched, both scores are 0
  double degrees() const { return angle_index * 0.2; }
};

constexpr size_t kOneStepPoints = 64;

// Searches the box of an edge map (non-zero bytes) whose rows lie stride bytes apart. An empty or inverted
// box has no points, and nothing is read. Coordinates count modulo 256. Returns SKEW_OK or
// SKEW_NO_WORKING_MEMORY; then the result is as if there were no points.
int one_step_search(const uint8_t* edge, ptrdiff_t stride, const ImgROI& roi, OneStepResult* result);

}  // namespace skew
