// The whole measurement, for rows at any distance.
#pragma once

#include <cstddef>
#include <cstdint>

namespace skew {

struct WorkingSize {
  int64_t width, height;
};

// The size a page is measured at: the shorter side becomes 192 pixels when both sides exceed 191, else the
// scale stays; the width is raised to a multiple of 4. Both sides of the page are at least 32.
WorkingSize working_size(int width, int height);

// SkewCorrection (skew.h) for rows `stride` bytes apart, at least `width`.
int measure_skew(const uint8_t* gray, int width, int height, ptrdiff_t stride, double* degrees);

}  // namespace skew
