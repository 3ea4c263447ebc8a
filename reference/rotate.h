// Literal forms of the rotations: row by row, in double precision, or in 16.16 fixed point for the gray image
// in place. Angles must be in range and at least 0.2 degree in magnitude; images of at most a few thousand
// pixels a side.
#pragma once

#include <cstdint>

namespace skew::reference {

void rotate_gray(const uint8_t* source, int width, int height, double angle, uint8_t* destination,
                 uint8_t fill);
void rotate_rgb(const uint8_t* source, int width, int height, double angle, uint8_t* destination,
                uint8_t fill);
void rotate_argb(const int32_t* source, int width, int height, double angle, int32_t* destination,
                 int32_t fill);

// Writes the pixels that have a source; the others keep their values.
void rotate_fixed(const uint8_t* source, int width, int height, double angle, uint8_t* destination);

}  // namespace skew::reference
