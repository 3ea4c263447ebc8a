// What looks like writing on a reduced page: connected components of ink of the size of letters.
//
// Ink is what is darker than its surroundings by a share of the contrast there. Paper edges, rules, frames, desks,
// shadows and pictures make components that are much larger than the page's letters, or hardly any; they are dropped, and
// what is left decides the angle. Sheets photographed askew and lines drawn by hand or dust cannot outvote it then.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/buffer.h"

namespace skew {

// A component of ink. Bounds are inclusive, in working pixels.
struct Letter {
  uint16_t left, top, right, bottom;
  uint32_t area;  // pixels
  int width() const { return right - left + 1; }
  int height() const { return bottom - top + 1; }
};

struct Letters {
  Buffer<Letter> list;
  int count = 0;
  int typical_height = 0;  // half of the letters' ink stands in components up to this height
  Buffer<uint64_t> ink;    // the letters' pixels, a bit each, least significant first; words per row below
  int row_words = 0;
};

// Finds the letters of an image whose rows lie stride bytes apart; where `light` is true, light ones on a dark ground.
// False if there is no memory.
bool find_letters(const uint8_t* image, int width, int height, ptrdiff_t stride, bool light,
                  Letters* letters);

// Sets the bytes of the letters' outermost pixels to 255 in a map whose rows lie stride bytes apart, all others to 0.
void outline_letters(const Letters& letters, int width, int height, uint8_t* map, ptrdiff_t stride);

}  // namespace skew
