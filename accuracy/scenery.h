// What photographs and scans show besides the text of one sheet. Everything is drawn in the units of the page
// (layouts.h), with the origin in its middle and the x axis along its lines.
#pragma once

#include <cairo.h>

#include "accuracy/image.h"

namespace accuracy {

// Planks or the rules of a pad below the sheet, at an angle of their own, over everything in view.
void draw_ground(cairo_t* cairo, Random& random, double shade);

// An open book's other half: its paper, the fold with its shadow and the edges of the leaves beneath. The fold is
// degrees off the sheet's edge; side is -1 for the left, 1 for the right.
void draw_fold(cairo_t* cairo, Random& random, int side, double degrees, double paper);

// Pasted photographs in frames, a ruler, a few ruled lines: each at another angle than the text.
void draw_clutter(cairo_t* cairo, Random& random);

// What a scanner adds to finished pixels: lines one pixel wide, along the image's sides.
void add_dust_lines(Gray& page, Random& random);

// A screen of dots under everything gray, or a picture dithered by a table to black and white.
void add_halftone(Gray& page, Random& random);

}  // namespace accuracy
