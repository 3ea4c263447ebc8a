#include "cli/turn.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "files/failure.h"
#include "skewcorrection/convert.h"
#include "skewcorrection/level.h"
#include "skewcorrection/rotate.h"

namespace tool {

namespace {

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
    const auto border = page.channels == 1 ? skew_border_gray : skew_border_rgb;
    uint32_t fill = 0;
    if (border(page.pixels.data(), static_cast<ptrdiff_t>(page.row_bytes()), page.width, page.height,
               &fill) != SKEW_OK)
      throw files::Failure("has no border to take a colour from");
    for (int c = 0; c < 3; ++c) colour.rgb[c] = static_cast<uint8_t>(fill >> (16 - 8 * c));
  }
  if (page.channels == 1) colour.rgb[1] = colour.rgb[2] = colour.rgb[0];
  return colour;
}

files::Raster turn(const files::Raster& page, double angle, int canvas, Colour background, bool fast) {
  if (fast) return turn_in_steps(page, angle, background);
  int width = 0, height = 0;
  if (skew_rotated_size(page.width, page.height, angle, canvas, &width, &height) != SKEW_OK)
    throw files::Failure("cannot be turned by this angle");
  files::Raster out = files::make_raster(width, height, page.channels);
  const ptrdiff_t from = static_cast<ptrdiff_t>(page.row_bytes()),
                  to = static_cast<ptrdiff_t>(out.row_bytes());
  const int code = page.channels == 1
                       ? skew_rotate_gray(page.pixels.data(), from, page.width, page.height, angle, canvas,
                                          out.pixels.data(), to, background.rgb[0])
                       : skew_rotate_rgb(page.pixels.data(), from, page.width, page.height, angle, canvas,
                                         out.pixels.data(), to, background.rgb);
  if (code != SKEW_OK) throw files::Failure("cannot be turned (result " + std::to_string(code) + ")");
  return out;
}

}  // namespace tool
