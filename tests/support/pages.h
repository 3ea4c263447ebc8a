// Small pages drawn from formulas: letters of random dots set in words, lines and columns, at any angle.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "tests/support/random.h"

namespace skew::test {

enum class PageKind { kLines, kThreeLines, kColumns, kTable };

struct TestPage {
  int width = 0, height = 0;
  std::vector<uint8_t> pixels;  // rows width bytes apart
};

// Ink at a place of the upright page, measured in letter dots from its middle.
inline bool ink_at(PageKind kind, double u, double v) {
  if (kind == PageKind::kColumns) return ink_at(PageKind::kLines, v, -u);
  constexpr int kLetter = 7, kLine = 16;  // dots from letter to letter and from line to line
  const int x = static_cast<int>(std::floor(u)), y = static_cast<int>(std::floor(v));
  const int line = static_cast<int>(std::floor(v / kLine)),
            letter = static_cast<int>(std::floor(u / kLetter));
  if (kind == PageKind::kThreeLines && (line < -2 || line > 0)) return false;
  if (kind == PageKind::kTable && (y - line * kLine == 13 || x % 140 == 0)) return true;
  const auto mix = [](uint32_t n) {
    n = (n ^ (n >> 15)) * 0x85EBCA6Bu;
    n = (n ^ (n >> 13)) * 0xC2B2AE35u;
    return n ^ (n >> 16);
  };
  const uint32_t which = mix(static_cast<uint32_t>(line * 7919 + letter + 50000));
  if (which % 6 == 0) return false;  // a gap between words
  const int dot_x = x - letter * kLetter, dot_y = y - line * kLine, tall = (which >> 8) % 3 == 0 ? 0 : 3;
  if (dot_x >= 5 || dot_y >= 10 || dot_y < tall) return false;
  return mix((which % 23) * 64 + static_cast<uint32_t>(dot_y / 2 * 5 + dot_x)) % 5 < 3;
}

// Draws the page turned by the angle, four by four samples a pixel; `dot` pixels for one letter dot.
inline TestPage draw_page(PageKind kind, int width, int height, double degrees, double dot, int ink = 30,
                          int noise = 0) {
  TestPage page{width, height, std::vector<uint8_t>(static_cast<size_t>(width) * height)};
  const double radians = degrees * std::acos(-1.0) / 180, c = std::cos(radians) / dot,
               s = std::sin(radians) / dot;
  Random random(7);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      int hits = 0;
      for (int k = 0; k < 16; ++k) {
        const double px = x + (k % 4 + 0.5) / 4 - width / 2.0, py = y + (k / 4 + 0.5) / 4 - height / 2.0;
        const double u = px * c + py * s, v = py * c - px * s;
        if (std::fabs(u) * dot < width * 0.45 && std::fabs(v) * dot < height * 0.45)
          hits += ink_at(kind, u, v);
      }
      int value = 240 - (240 - ink) * hits / 16;
      if (noise > 0) value += random.below(2 * noise + 1) - noise;
      page.pixels[static_cast<size_t>(y) * width + x] = static_cast<uint8_t>(value < 0     ? 0
                                                                             : value > 255 ? 255
                                                                                           : value);
    }
  }
  return page;
}

}  // namespace skew::test
