// Boxes of words and lines of a page, moved to where a rotation of the page took them.
#pragma once

#include <string>

#include "skewcorrection/level.h"

namespace files {

constexpr double kFarthest = 1e9;  // pixels; documents with larger numbers are refused

struct Point {
  double x = 0, y = 0;
};

// Upright; x to the right, y downward, in pixels from the upper left corner of the image.
struct Box {
  double left = 0, top = 0, right = 0, bottom = 0;
};

// The way of one page, from source to result or back.
class BoxMap {
 public:
  BoxMap(const SkewTransform& transform, bool back) : transform_(transform), back_(back) {}

  // The sizes of the image that boxes come from, and of the one they go to.
  int width_before() const { return back_ ? transform_.outWidth : transform_.width; }
  int height_before() const { return back_ ? transform_.outHeight : transform_.height; }
  int width_after() const { return back_ ? transform_.width : transform_.outWidth; }
  int height_after() const { return back_ ? transform_.height : transform_.outHeight; }
  bool back() const { return back_; }

  // By how much the page was turned: degrees, positive where the lines of the source fall to the right.
  double angle() const;

  Point point(Point p) const;

  // A word, a picture or a block: keeps its size and moves with its centre.
  Box box(const Box& b) const;

  // A line of text, with points at the two ends of its baseline, which are moved too. The box keeps its height
  // above and below the baseline, so that it gets flatter where the line becomes level, and higher where it
  // does not stay so.
  Box line(const Box& b, Point& first, Point& last) const;

  // A line of text without a baseline: if it is long, it is taken to lie along the lines of the page.
  Box line(const Box& b) const;

 private:
  SkewTransform transform_;
  bool back_;
};

// A coordinate as text: at most three decimals, or none.
std::string coordinate(double value, bool whole);

}  // namespace files
