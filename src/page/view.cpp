#include "page/view.h"

#include "include/skewcorrection/skew.h"
#include "page/letters.h"

namespace skew {
namespace {

constexpr int kHighCapPercent = 90;
// Letters are looked at in units of a sixth of their typical height. That is fine enough for a hundredth of a degree, and
// coarse enough that lines which are not quite straight still pile up in one place: at full resolution a bent page
// answers with its straightest lines, in these units with the mean of all.
constexpr double kUnitsPerLetter = 6;

bool look_along(const WorkingImage& image, View* view) {
  view->points = find_page_points(image.pixels.get(), view->edges.get(), image.width, image.height,
                                  image.stride, view->pixels_per_unit);
  if (!view->points.list || !find_direction(view->edges.get(), image.width, image.height, image.stride,
                                            view->points, &view->windows, &view->direction))
    return false;
  return !view->seen() || (measure_tiles(view->points, view->direction, &view->tiles) &&
                           combine_tiles(view->tiles, &view->field));
}

}  // namespace

bool look_at_writing(const WorkingImage& image, Ink ink, View* view) {
  Letters letters;
  view->edges = allocate<uint8_t>(image.height, image.stride);
  if (!view->edges || !find_letters(image.pixels.get(), image.width, image.height, image.stride,
                                    ink == Ink::kLight, &letters))
    return false;
  outline_letters(letters, image.width, image.height, view->edges.get(), image.stride);
  view->letters = letters.count;
  view->letter_height = letters.typical_height;
  if (letters.typical_height > kUnitsPerLetter)
    view->pixels_per_unit = letters.typical_height / kUnitsPerLetter;
  return look_along(image, view);
}

bool look_at_structure(const WorkingImage& image, int low, int high, View* view) {
  view->edges = allocate<uint8_t>(image.height, image.stride);
  return view->edges &&
         CannyEdge(image.pixels.get(), view->edges.get(), low, high, image.width, image.height,
                   kHighCapPercent) == 0 &&
         look_along(image, view);
}

}  // namespace skew
