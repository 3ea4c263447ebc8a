// Literal form of the skew driver, from a page to its angle.
#pragma once

#include <cstddef>
#include <cstdint>

namespace skew::reference {

// The angle in degrees of a page whose sides are 32 ... 65536 pixels; rows `stride` bytes apart.
double skew_of(const uint8_t* page, int width, int height, ptrdiff_t stride);

}  // namespace skew::reference
