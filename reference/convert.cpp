#include "reference/convert.h"

namespace skew::reference {

void argb_to_gray(const int32_t* argb, uint8_t* gray, int width, int height) {
  for (int64_t i = 0; i < int64_t{width} * height; ++i) {
    const uint32_t pixel = static_cast<uint32_t>(argb[i]);
    const uint32_t red = (pixel >> 16) & 255, green = (pixel >> 8) & 255, blue = pixel & 255;
    gray[i] = static_cast<uint8_t>((306 * red + 601 * green + 117 * blue) >> 10);
  }
}

void rgb_to_gray(const uint8_t* rgb, uint8_t* gray, int width, int height) {
  for (int64_t i = 0; i < int64_t{width} * height; ++i)
    gray[i] = static_cast<uint8_t>((306 * rgb[3 * i] + 601 * rgb[3 * i + 1] + 117 * rgb[3 * i + 2]) >> 10);
}

void argb_to_rgb(const int32_t* argb, uint8_t* rgb, int width, int height) {
  for (int64_t i = 0; i < int64_t{width} * height; ++i) {
    const uint32_t pixel = static_cast<uint32_t>(argb[i]);
    rgb[3 * i] = static_cast<uint8_t>(pixel >> 16);
    rgb[3 * i + 1] = static_cast<uint8_t>(pixel >> 8);
    rgb[3 * i + 2] = static_cast<uint8_t>(pixel);
  }
}

}  // namespace skew::reference
