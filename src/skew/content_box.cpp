// Counts only matter up to the limit they are compared with, so bytes that stop at 255 are enough and no page
// is too long or too wide to be counted.
#include "skew/content_box.h"

#include <cstddef>
#include <cstring>

namespace skew {
namespace {

constexpr int kMargin = 2;  // rows and columns left out on each side: the outermost repeat those beside
constexpr int kLimit = 8;   // more edge pixels than this are content

int edge_pixels(const uint8_t* row, int from, int to) {
  int count = 0;
  for (int x = from; x <= to; ++x) count += row[x] != 0;
  return count;
}

void count_columns(const uint8_t* edges, int width, int height, uint8_t* counts) {
  std::memset(counts, 0, width);
  for (int y = kMargin; y <= height - 1 - kMargin; ++y) {
    const uint8_t* row = edges + static_cast<ptrdiff_t>(y) * width;
    for (int x = 0; x < width; ++x)
      counts[x] = static_cast<uint8_t>(counts[x] + (row[x] != 0 && counts[x] < 255));
  }
}

struct Span {
  int first, last;
};

// The first position that is content and the last behind it, between the margins; their limits where none is.
template <class IsContent>
Span find_content(int size, IsContent is_content) {
  const int low = kMargin, high = size - 1 - kMargin;
  int first = low, last = high;
  while (first <= high && !is_content(first)) ++first;
  if (first > high) first = low;
  while (last > first && !is_content(last)) --last;
  return {first, last > first ? last : high};
}

}  // namespace

Box find_content_box(const uint8_t* edges, int width, int height, uint8_t* counts) {
  const Span rows = find_content(height, [=](int y) {
    return edge_pixels(edges + static_cast<ptrdiff_t>(y) * width, kMargin, width - 1 - kMargin) > kLimit;
  });
  count_columns(edges, width, height, counts);
  const Span columns = find_content(width, [=](int x) { return counts[x] > kLimit; });
  return {columns.first, columns.last, rows.first, rows.last};
}

Box square_of(const Box& box) {
  const int width = box.right - box.left + 1, height = box.bottom - box.top + 1;
  Box square = box;
  if (width >= height) {
    square.left = box.left - 1 + ((width - height) >> 1);
    square.right = square.left + (box.bottom - box.top);
  } else {
    square.top = box.top - 1 + ((height - width) >> 1);
    square.bottom = square.top + (box.right - box.left);
  }
  return square;
}

}  // namespace skew
