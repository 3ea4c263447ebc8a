// The three-step search that the horizontal and the vertical one share.
//
// Both turn the edge points one way (differences of products) and the other (sums), prefer the first way at
// equal scores, and look at the winner's side more finely. They differ in the axis they project on and in
// which way counts as a positive angle, so the core speaks of steps on the difference side (positive) and the
// sum side (negative) and leaves the sign of the angle to its callers.
#pragma once

#include <cstdint>

#include "include/skewcorrection/types.h"
#include "skew/projection.h"

namespace skew {

// The caller's projection tables: rows of one entry per coordinate, one row per angle.
struct ProjectionTables {
  const uint16_t *coarse_sine, *coarse_cosine;  // row k: k degrees, 1 ... 39
  const uint16_t *fine_sine, *fine_cosine;      // row r: r * 0.2 degree, 0 ... 194
};

struct ThreeStepResult {
  int fine_steps = 0;  // in 0.2 degree, positive on the side of the differences
  double score = 0;
};

// An empty or inverted box has no points and reads nothing, tables included. Returns SKEW_OK or
// SKEW_NO_WORKING_MEMORY.
int three_step_search(const uint8_t* edge, int width, const ImgROI& roi, Axis axis,
                      const ProjectionTables& tables, ThreeStepResult* result);

}  // namespace skew
