#include "accuracy/scenery.h"

#include <algorithm>

#include "accuracy/layouts.h"

namespace accuracy {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kFar = 2000;  // beyond the corners of every picture

void gray(cairo_t* cairo, double shade) { cairo_set_source_rgb(cairo, shade, shade, shade); }

void line(cairo_t* cairo, double x0, double y0, double x1, double y1, double thickness) {
  cairo_set_line_width(cairo, thickness);
  cairo_move_to(cairo, x0, y0);
  cairo_line_to(cairo, x1, y1);
  cairo_stroke(cairo);
}

// An angle that is clearly not the text's, in radians.
double other_angle(Random& random) {
  return random.uniform(1.5, 40) * (random.chance(0.5) ? 1 : -1) * kPi / 180;
}

}  // namespace

void draw_ground(cairo_t* cairo, Random& random, double shade) {
  cairo_save(cairo);
  cairo_rotate(cairo, other_angle(random));
  if (random.chance(0.5)) {
    const double plank = random.uniform(40, 140);
    for (double y = -kFar; y < kFar; y += plank) {
      gray(cairo, shade * random.uniform(0.7, 1.3));
      cairo_rectangle(cairo, -kFar, y, 2 * kFar, plank);
      cairo_fill(cairo);
      gray(cairo, shade * 0.3);
      line(cairo, -kFar, y, kFar, y, random.uniform(0.5, 2));
      for (int grain = 0; grain < 5; ++grain) {
        gray(cairo, shade * random.uniform(0.6, 1.4));
        const double at = y + plank * random.uniform();
        line(cairo, -kFar, at, kFar, at, random.uniform(0.3, 1));
      }
    }
  } else {
    const double pitch = random.uniform(10, 30);
    const bool grid = random.chance(0.5);
    gray(cairo, shade < 0.3 ? shade + 0.3 : shade * 0.4);
    for (double at = -kFar; at < kFar; at += pitch) {
      line(cairo, -kFar, at, kFar, at, 0.9);
      if (grid) line(cairo, at, -kFar, at, kFar, 0.9);
    }
  }
  cairo_restore(cairo);
}

void draw_fold(cairo_t* cairo, Random& random, int side, double degrees, double paper) {
  cairo_save(cairo);
  cairo_scale(cairo, side, 1);
  cairo_translate(cairo, kPageWidth / 2, 0);
  cairo_rotate(cairo, side * degrees * kPi / 180);
  const double height = kPageHeight / 2 + random.uniform(2, 12);
  gray(cairo, paper);
  cairo_rectangle(cairo, 0, -height, kPageWidth, 2 * height);
  cairo_fill(cairo);
  const double shadow = random.uniform(15, 60), depth = random.uniform(0.3, 0.8);
  cairo_pattern_t* fade = cairo_pattern_create_linear(-shadow * 0.6, 0, shadow, 0);
  cairo_pattern_add_color_stop_rgba(fade, 0, 0, 0, 0, 0);
  cairo_pattern_add_color_stop_rgba(fade, 0.38, 0, 0, 0, depth);
  cairo_pattern_add_color_stop_rgba(fade, 1, 0, 0, 0, 0);
  cairo_set_source(cairo, fade);
  cairo_rectangle(cairo, -shadow, -height, 2 * shadow, 2 * height);
  cairo_fill(cairo);
  cairo_pattern_destroy(fade);
  gray(cairo, 0.1);
  line(cairo, 0, -height, 0, height, random.uniform(0.8, 3));
  for (int leaf = 0; leaf < 4; ++leaf) {  // the edges of the leaves beneath
    gray(cairo, paper * random.uniform(0.5, 0.85));
    const double y = height + 1.5 * leaf;
    line(cairo, 0, y, kPageWidth, y + random.uniform(-3, 3), 0.8);
  }
  cairo_restore(cairo);
}

void draw_clutter(cairo_t* cairo, Random& random) {
  for (int picture = 1 + random.below(2); picture > 0; --picture) {
    const double width = random.uniform(80, 220), height = width * random.uniform(0.6, 1.4);
    cairo_save(cairo);
    cairo_translate(cairo, random.uniform(-0.4, 0.4) * kPageWidth, random.uniform(-0.45, 0.45) * kPageHeight);
    cairo_rotate(cairo, other_angle(random));
    gray(cairo, 0.97);
    cairo_rectangle(cairo, -width / 2 - 6, -height / 2 - 6, width + 12, height + 12);
    cairo_fill(cairo);
    for (int band = 0; band < 12; ++band) {
      gray(cairo, random.uniform(0.55, 0.95));  // pale, so that text over it can be read
      cairo_rectangle(cairo, -width / 2, -height / 2 + height * band / 12, width, height / 12);
      cairo_fill(cairo);
    }
    gray(cairo, 0.3);
    cairo_set_line_width(cairo, 1.2);
    cairo_rectangle(cairo, -width / 2, -height / 2, width, height);
    cairo_stroke(cairo);
    cairo_restore(cairo);
  }
  cairo_save(cairo);
  cairo_rotate(cairo, other_angle(random));
  gray(cairo, random.uniform(0.3, 0.8));
  const double from = random.uniform(-0.5, 0.4) * kPageHeight, pitch = random.uniform(12, 30);
  for (int rule = 2 + random.below(8); rule > 0; --rule)
    line(cairo, -0.6 * kPageWidth, from + rule * pitch, 0.6 * kPageWidth, from + rule * pitch,
         random.uniform(0.4, 1.5));
  cairo_restore(cairo);
  gray(cairo, 0.08);
}

void add_dust_lines(Gray& page, Random& random) {
  const bool down = random.chance(0.7);  // a speck on the glass of a feeder draws a line down the page
  for (int lines = 1 + random.below(4); lines > 0; --lines) {
    const int at = random.below(down ? page.width : page.height), length = down ? page.height : page.width;
    const int from = random.chance(0.6) ? 0 : random.below(length / 2);
    const int shade = random.below(200);
    for (int i = from; i < length; ++i) {
      uint8_t& pixel = down ? page.row(i)[at] : page.row(at)[i];
      pixel = static_cast<uint8_t>(std::min<int>(pixel, shade));
    }
  }
}

void add_halftone(Gray& page, Random& random) {
  if (random.chance(0.5)) {
    const double turn = (random.chance(0.3) ? 0 : random.uniform(0, 90)) * kPi / 180;
    const double pitch = random.uniform(2.5, 7), tint = random.uniform(30, 120);
    const double c = std::cos(turn) * 2 * kPi / pitch, s = std::sin(turn) * 2 * kPi / pitch;
    for (int y = 0; y < page.height; ++y)
      for (int x = 0; x < page.width; ++x) {
        const double dots = std::cos(x * c + y * s) * std::cos(y * c - x * s);
        const double value = page.row(y)[x] - tint * std::max(0.0, dots);
        page.row(y)[x] = static_cast<uint8_t>(std::max(0.0, value));
      }
    return;
  }
  static const uint8_t order[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  const int darker = random.below(90);
  for (int y = 0; y < page.height; ++y)
    for (int x = 0; x < page.width; ++x)
      page.row(y)[x] = page.row(y)[x] - darker > 16 * order[y & 3][x & 3] + 8 ? 255 : 0;
}

}  // namespace accuracy
