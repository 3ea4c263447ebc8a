#include "reference/driver.h"

#include <cmath>
#include <vector>

#include "reference/canny.h"
#include "reference/search.h"
#include "reference/shrink.h"

namespace skew::reference {
namespace {

// First and last index with more than 8 edge pixels; the last never meets the first.
void bounds(const std::vector<int>& counts, int* first, int* last) {
  const int end = static_cast<int>(counts.size()) - 3;
  *first = 2;
  for (int i = 2; i <= end; ++i)
    if (counts[static_cast<size_t>(i)] > 8) {
      *first = i;
      break;
    }
  *last = end;
  for (int i = end; i > *first; --i)
    if (counts[static_cast<size_t>(i)] > 8) {
      *last = i;
      break;
    }
}

ImgROI square_content(const std::vector<uint8_t>& edges, int width, int height) {
  std::vector<int> rows(static_cast<size_t>(height)), columns(static_cast<size_t>(width));
  for (int y = 2; y <= height - 3; ++y)
    for (int x = 2; x <= width - 3; ++x)
      if (edges[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] != 0) {
        ++rows[static_cast<size_t>(y)];
        ++columns[static_cast<size_t>(x)];
      }
  int left = 0, right = 0, top = 0, bottom = 0;
  bounds(rows, &top, &bottom);
  bounds(columns, &left, &right);
  const int box_width = right - left + 1, box_height = bottom - top + 1;
  if (box_width >= box_height) {
    left = left - 1 + (box_width - box_height) / 2;
    right = left + (bottom - top);
  } else {
    top = top - 1 + (box_height - box_width) / 2;
    bottom = top + (right - left);
  }
  ImgROI square{};
  square.left = static_cast<uint16_t>(left);
  square.right = static_cast<uint16_t>(right);
  square.top = static_cast<uint16_t>(top);
  square.bottom = static_cast<uint16_t>(bottom);
  return square;
}

}  // namespace

double skew_of(const uint8_t* page, int width, int height, ptrdiff_t stride) {
  int small_width = (width + 3) & ~3;
  int small_height = static_cast<int>(int64_t{small_width} * height / width);
  if (width > 191 && height > 191) {
    small_width = width > height ? (192 * width / height + 3) & ~3 : 192;
    small_height = width > height ? 192 : 192 * height / width;
  }
  const size_t pixels = static_cast<size_t>(small_width) * static_cast<size_t>(small_height);
  std::vector<uint8_t> small(pixels), edges(pixels);
  shrink(page, stride, width, height, small.data(), small_width, small_width, small_height);
  canny(small.data(), edges.data(), 60, 120, small_width, small_height, 90);
  const double angle =
      one_step_search(edges.data(), small_width, square_content(edges, small_width, small_height));
  return std::fabs(angle) < 0.001 ? 0.0 : angle;
}

}  // namespace skew::reference
