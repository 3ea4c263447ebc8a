#include "analysis/row_sums.h"

namespace skew {
namespace {

#if SKEW_SIMD

constexpr int kBlock = 255;  // vectors: what a byte lane can count

// Adds `vectors` vectors, at most kBlock, whose first pixel is in column `column`. Lane by lane it counts
// zeros and, after each vector, adds the counts so far: a zero in vector v is then added vectors - v times,
// which tells the sum of v over the zeros without a multiplication.
void add_block(const uint8_t* pixels, uint64_t vectors, uint64_t column, RowSum* sum) {
  U8 zeros = {};
  U16 added[2] = {};
  for (uint64_t v = 0; v < vectors; ++v) {
    zeros -= (U8)(load<U8>(pixels + v * kLanes8) == 0);
    const Widened so_far = widen(zeros);
    added[0] += so_far.first;
    added[1] += so_far.second;
  }
  uint8_t counts[kLanes8];
  uint16_t sums[kLanes8];
  store(counts, zeros);
  store(sums, added[0]);
  store(sums + kLanes16, added[1]);
  uint32_t all = 0, weighted = 0, lanes = 0;
  for (uint32_t i = 0; i < kLanes8; ++i) {
    all += counts[i];
    weighted += sums[i];
    lanes += i * counts[i];
  }
  const uint64_t pixels_in = vectors * kLanes8;
  const uint64_t zero_offsets = kLanes8 * (vectors * all - weighted) + lanes;  // from `column` on
  sum->count += pixels_in - all;
  sum->columns += (pixels_in - all) * column + pixels_in * (pixels_in - 1) / 2 - zero_offsets;
}

#endif

RowSum sum_row(const uint8_t* row, int width) {
  RowSum sum = {0, 0};
  int x = 0;
#if SKEW_SIMD
  while (width - x >= kLanes8) {
    const int left = (width - x) / kLanes8, vectors = left < kBlock ? left : kBlock;
    add_block(row + x, static_cast<uint64_t>(vectors), static_cast<uint64_t>(x), &sum);
    x += vectors * kLanes8;
  }
#endif
  for (; x < width; ++x) {
    if (row[x] == 0) continue;
    ++sum.count;
    sum.columns += static_cast<uint64_t>(x);
  }
  return sum;
}

}  // namespace

SKEW_FORM(RowSums) = {sum_row};

}  // namespace skew
