// One way of looking at a page, and all that was seen.
#pragma once

#include "core/buffer.h"
#include "page/direction.h"
#include "page/lines.h"
#include "page/points.h"
#include "page/tiles.h"
#include "page/windows.h"

namespace skew {

// The reduced page.
struct WorkingImage {
  Buffer<uint8_t> pixels;
  int width = 0, height = 0;
  ptrdiff_t stride = 0;
};

struct View {
  Buffer<uint8_t> edges;  // the map that was looked at
  double pixels_per_unit = 1;
  int letters = 0, letter_height = 0;  // of writing
  PagePoints points;
  Windows windows;
  Direction direction;
  Tiles tiles;
  LineField field;
  double confidence = 0;
  bool seen() const { return direction.points > 0; }
};

enum class Ink { kDark, kLight };

// Looks at the letters alone. False if there is no memory.
bool look_at_writing(const WorkingImage& image, Ink ink, View* view);

// Looks at all edges whose gradient reaches `high`, and what continues them down to `low`.
bool look_at_structure(const WorkingImage& image, int low, int high, View* view);

}  // namespace skew
