// The median of an array that is sorted where it lies. The order is the one that neighbours reach who change
// places whenever the first is smaller: stable, so that +0.0 and -0.0 keep their order, and with every NaN as
// a wall that nothing passes. A merge sort gives it without that method's n * n steps; it merges by rotation,
// since there may be no memory to merge into.
#include "include/skewcorrection/analysis.h"

namespace skew {
namespace {

constexpr int kShort = 16;  // up to here insertion is faster than merging

void insertion_sort(double* a, int count) {
  for (int i = 1; i < count; ++i) {
    const double moved = a[i];
    int to = i;
    for (; to > 0 && a[to - 1] < moved; --to) a[to] = a[to - 1];
    a[to] = moved;
  }
}

void reverse(double* a, int count) {
  for (int i = 0; i < count / 2; ++i) {
    const double kept = a[i];
    a[i] = a[count - 1 - i];
    a[count - 1 - i] = kept;
  }
}

// Makes the elements before `middle` change places with those from there on.
void rotate(double* a, int middle, int count) {
  reverse(a, middle);
  reverse(a + middle, count - middle);
  reverse(a, count);
}

// How many elements at the front of a descending array go before the value: those that are larger and, if
// equals_first, those that are equal.
int count_before(const double* a, int count, double value, bool equals_first) {
  int low = 0;
  while (low < count) {
    const int middle = low + (count - low) / 2;
    if (a[middle] > value || (equals_first && a[middle] == value))
      low = middle + 1;
    else
      count = middle;
  }
  return low;
}

// Merges two descending neighbours, `left` and `right` elements long: halves the longer one, finds where its
// middle element goes in the other, and brings the parts before it together and those after it.
void merge(double* a, int left, int right) {
  while (left != 0 && right != 0) {
    int from_left, from_right;
    if (left >= right) {
      from_left = left / 2;
      from_right = count_before(a + left, right, a[from_left], false);
      if (from_left == 0 && from_right == 0) return;  // one element on each side, in order
    } else {
      from_right = right / 2;
      from_left = count_before(a, left, a[left + from_right], true);
    }
    rotate(a + from_left, left - from_left, left - from_left + from_right);
    merge(a, from_left, from_right);
    a += from_left + from_right;
    left -= from_left;
    right -= from_right;
  }
}

void sort_descending(double* a, int count) {
  if (count <= kShort) return insertion_sort(a, count);
  const int left = count / 2;
  sort_descending(a, left);
  sort_descending(a + left, count - left);
  if (a[left - 1] < a[left]) merge(a, left, count - left);
}

bool is_nan(double value) { return value != value; }

void sort_between_nans(double* a, int count) {
  for (int begin = 0; begin < count; ++begin) {
    int end = begin;
    while (end < count && !is_nan(a[end])) ++end;
    sort_descending(a + begin, end - begin);
    begin = end;
  }
}

}  // namespace
}  // namespace skew

double GetMedianSkewAngle(double* pAngles, int angleCount) {
  if (pAngles == nullptr || angleCount < 1) return -1.0;
  skew::sort_between_nans(pAngles, angleCount);
  const int middle = angleCount / 2;
  const bool odd = angleCount % 2 != 0;
  return !odd && pAngles[middle] < 0.01 ? pAngles[middle - 1] : pAngles[middle];
}
