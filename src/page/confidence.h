// How likely an answer is right.
#pragma once

#include "page/view.h"

namespace skew {

// The probability that the direction of a view lies within 0.25 degree of that of the page's lines, were the view all
// that is known of the page.
double confidence_in_writing(const View& view);
double confidence_in_structure(const View& view);

// True where the direction may be that of the pixels: points that cling to a raster of eight source pixels, as the
// blocks of strong JPEG compression and ordered dither do, or a screen of dots that fills the page.
bool follows_raster(const View& view, double source_pixels_per_pixel);

}  // namespace skew
