// Pixels of one upright page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace files {

struct Raster {
  int width = 0, height = 0;
  int channels = 1;             // 1 gray, 3 red green blue
  std::vector<uint8_t> pixels;  // rows exactly width * channels bytes apart

  size_t row_bytes() const { return static_cast<size_t>(width) * channels; }
  const uint8_t* row(int y) const { return pixels.data() + row_bytes() * y; }
  uint8_t* row(int y) { return pixels.data() + row_bytes() * y; }
};

inline Raster make_raster(int width, int height, int channels) {
  Raster raster{width, height, channels, {}};
  raster.pixels.resize(raster.row_bytes() * height);
  return raster;
}

}  // namespace files
