// The report's pictures, as text that stands inside the HTML.
#pragma once

#include <string>

#include "cli/measure.h"
#include "files/raster.h"

namespace tool {

// A reduced JPEG as a data: address.
std::string picture_address(const files::Raster& raster);

// The edge map as SVG: edges dark, the windows coloured by agreement, the content box dashed.
std::string edges_svg(const SkewPageDetails& details);

// The score over the angle as SVG, with the angle marked.
std::string curve_svg(const SkewPageDetails& details, double angle);

}  // namespace tool
