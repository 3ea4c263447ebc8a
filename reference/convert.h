// Literal forms of the pixel-format conversions.
#pragma once

#include <cstdint>

namespace skew::reference {

void argb_to_gray(const int32_t* argb, uint8_t* gray, int width, int height);
void rgb_to_gray(const uint8_t* rgb, uint8_t* gray, int width, int height);
void argb_to_rgb(const int32_t* argb, uint8_t* rgb, int width, int height);

}  // namespace skew::reference
