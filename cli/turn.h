// Turning a page and choosing the colour of what comes into view.
#pragma once

#include "cli/options.h"
#include "files/raster.h"

namespace tool {

struct Colour {
  uint8_t rgb[3];
};

// The colour for a page: the one asked for, or the median of the page's own border.
Colour background_for(const files::Raster& page, const Background& wanted);

// Turns a page so that lines at this angle become level. fast uses the rotations of 0.2 degree steps, which
// keep the canvas and take a gray background.
files::Raster turn(const files::Raster& page, double angle, int canvas, Colour background, bool fast);

}  // namespace tool
