#include "cli/turn.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "files/failure.h"
#include "skewcorrection/convert.h"
#include "skewcorrection/rotate.h"

namespace tool {

namespace {

using Histogram = std::array<size_t, 256>;

uint8_t median(const Histogram& counts) {
  size_t total = 0, sum = 0;
  for (size_t count : counts) total += count;
  for (int value = 0; value < 256; ++value)
    if ((sum += counts[value]) * 2 >= total) return static_cast<uint8_t>(value);
  return 255;
}

// Counts the values of a frame of one fiftieth of the shorter side: wide enough that dust and noise are few.
void count_border(const files::Raster& page, std::array<Histogram, 3>& counts) {
  const int frame = std::max(1, std::min(page.width, page.height) / 50);
  for (int y = 0; y < page.height; ++y) {
    const bool edge_row = y < frame || y >= page.height - frame;
    const uint8_t* row = page.row(y);
    for (int x = 0; x < page.width; ++x) {
      if (!edge_row && x == frame && page.width > 2 * frame) x = page.width - frame;
      for (int c = 0; c < page.channels; ++c) ++counts[c][row[static_cast<size_t>(x) * page.channels + c]];
    }
  }
}

files::Raster turn_in_steps(const files::Raster& page, double angle, Colour background) {
  files::Raster out = files::make_raster(page.width, page.height, page.channels);
  const uint8_t fill = GetYfromRGB(background.rgb[0], background.rgb[1], background.rgb[2]);
  int code;
  if (page.channels == 3) {
    code = RotateRGBImage(page.pixels.data(), page.width, page.height, angle, out.pixels.data(), fill);
  } else {
    unsigned char* turned = nullptr;
    code =
        RotateGrayImage(page.pixels.data(), page.width, page.height, angle, &turned, static_cast<char>(fill));
    if (code == SKEW_OK) std::memcpy(out.pixels.data(), turned, out.pixels.size());
    std::free(turned);
  }
  if (code == SKEW_INVALID_ARGUMENT) throw files::Failure("the fast rotation takes angles below 66 degrees");
  if (code != SKEW_OK) throw files::Failure("not enough memory to turn the page");
  return out;
}

}  // namespace

Colour background_for(const files::Raster& page, const Background& wanted) {
  Colour colour;
  std::memcpy(colour.rgb, wanted.rgb, sizeof colour.rgb);
  if (!wanted.sampled) {
    if (page.channels == 1) colour.rgb[0] = GetYfromRGB(wanted.rgb[0], wanted.rgb[1], wanted.rgb[2]);
  } else {
    std::array<Histogram, 3> counts{};
    count_border(page, counts);
    for (int c = 0; c < page.channels; ++c) colour.rgb[c] = median(counts[c]);
  }
  if (page.channels == 1) colour.rgb[1] = colour.rgb[2] = colour.rgb[0];
  return colour;
}

files::Raster turn(const files::Raster& page, double angle, Canvas canvas, Colour background, bool fast) {
  if (fast) return turn_in_steps(page, angle, background);
  const int mode = canvas == Canvas::kExpand ? SKEW_CANVAS_EXPAND : SKEW_CANVAS_KEEP;
  int width = 0, height = 0;
  if (skew_rotated_size(page.width, page.height, angle, mode, &width, &height) != SKEW_OK)
    throw files::Failure("cannot be turned by this angle");
  files::Raster out = files::make_raster(width, height, page.channels);
  const ptrdiff_t from = static_cast<ptrdiff_t>(page.row_bytes()),
                  to = static_cast<ptrdiff_t>(out.row_bytes());
  const int code = page.channels == 1
                       ? skew_rotate_gray(page.pixels.data(), from, page.width, page.height, angle, mode,
                                          out.pixels.data(), to, background.rgb[0])
                       : skew_rotate_rgb(page.pixels.data(), from, page.width, page.height, angle, mode,
                                         out.pixels.data(), to, background.rgb);
  if (code != SKEW_OK) throw files::Failure("cannot be turned (result " + std::to_string(code) + ")");
  return out;
}

}  // namespace tool
