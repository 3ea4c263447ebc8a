// Literal form of the edge map.
#pragma once

#include <cstdint>

namespace skew::reference {

int canny(const uint8_t* source, uint8_t* out, int low, int high, int width, int height, int cap_percent);

}  // namespace skew::reference
