// Sets of pages whose text lines run at known angles.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "accuracy/image.h"

namespace accuracy {

// One page and what is known of it. Angles are degrees, positive where lines fall to the right.
struct Page {
  std::string name, group, way;    // the group and the way of spoiling it counts in; empty: in none
  double truth = 0;                // of the lines; the middle of them where they are not parallel ...
  double lowest = 0, highest = 0;  // ... and run from here to here
  double paper = kUnknown;         // of the sheet's edges
  bool sure = true;                // the truth's own standard error is at most 0.1
  bool lines = true;               // there are three lines of writing or more
  std::function<Gray()> load;

  static constexpr double kUnknown = 1e9;
};

// The distance of two angles up to quarter turns, 0 ... 45: a page on its side stays on its side.
double apart(double a, double b);

// How far an answer is wrong: nothing where it lies among the directions of lines that are not parallel.
double off(const Page& page, double angle);

// The images of a folder with a truth.csv. Columns, named in its first line, in any order:
//   file                      an image that Leptonica reads
//   truth or true_angle       degrees
//   collection or class       the group; pages of the class no_text hold no writing
//   standard_error            of the truth; may be missing
// A meta.csv beside it may give lo and hi, where the lines of a file's page run from lo to hi.
std::vector<Page> folder_set(const std::string& folder);

// Scanned pages, each turned by known angles. The list names, a line each: the file in the folder, its group
// ("unsure": its own skew is not known to better than 0.1), its own skew, and the part to use as
// x,y,width,height or "-".
std::vector<Page> scan_set(const std::string& folder, const std::string& list);

// The median of the outermost pixels: what the page lies on.
uint8_t border_median(const Gray& page);

}  // namespace accuracy
