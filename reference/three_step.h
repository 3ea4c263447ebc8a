// Literal forms of the horizontal and the vertical three-step search.
#pragma once

#include <cstdint>

#include "include/skewcorrection/types.h"

namespace skew::reference {

struct ThreeSteps {
  double angle, score;
};

// The box has at least one pixel and at most 32767 a side, rows lie (width + 3) & ~3 bytes apart, and the
// tables hold products rounded either way.
ThreeSteps three_steps_horizontal(const uint8_t* edge, int width, ImgROI roi, const uint16_t* coarse_sin,
                                  const uint16_t* coarse_cos, const uint16_t* fine_sin,
                                  const uint16_t* fine_cos);
ThreeSteps three_steps_vertical(const uint8_t* edge, int width, ImgROI roi, const uint16_t* coarse_sin,
                                const uint16_t* coarse_cos, const uint16_t* fine_sin,
                                const uint16_t* fine_cos);

}  // namespace skew::reference
