// Literal forms of the connected-component analysis and the centre of mass.
#pragma once

#include <cstdint>

#include "include/skewcorrection/types.h"

namespace skew::reference {

// As CCAnalysis; allocations are taken to succeed, sizes to be in range.
ImgROI* cc_analysis(const uint8_t* pixels, int width, int height, int* count, int eight_connected,
                    uint8_t foreground);

void barycenter(const uint8_t* pixels, int width, int height, int32_t* x, int32_t* y);

}  // namespace skew::reference
