// Literal form of the one-step angle search.
#pragma once

#include <cstdint>

#include "include/skewcorrection/types.h"

namespace skew::reference {

double get_variance(const uint16_t* histogram, int bins);

// The angle in degrees. The box has at least one pixel and at most 32767 a side.
double one_step_search(const uint8_t* edge, int stride, ImgROI roi);

}  // namespace skew::reference
