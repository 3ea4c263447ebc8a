// Literal forms of the filters.
#pragma once

#include <cstdint>

namespace skew::reference {

// Rows (width + 3) & ~3 bytes apart.
void gauss_smooth(uint8_t* image, int width, int height);
void close_gaps(uint8_t* image, int width, int height);

// Rows width bytes apart.
int gray_stretch(uint8_t* image, int width, int height);

}  // namespace skew::reference
