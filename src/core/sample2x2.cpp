#include "core/sample2x2.h"

#include "core/buffer.h"
#include "core/simd.h"

namespace skew {
namespace {

// How one side of the region maps to one side of the destination.
struct Axis {
  double scale;  // source pixels per destination pixel
  int averaged;  // destination pixels whose source position still has a neighbour inside the region

  Axis(int from, int to) : scale(static_cast<double>(from) / to) {
    averaged = static_cast<int>((from - 1.0) / scale);
    if (averaged > to) averaged = to;
  }
  int position(int i) const { return static_cast<int>(i * scale); }
};

// The source column of each destination column. From the first column without a right neighbour on, each
// takes the position of the column before it.
void map_columns(const Axis& axis, int count, int32_t* map) {
  for (int i = 0; i < count; ++i) map[i] = axis.position(i < axis.averaged || i == 0 ? i : i - 1);
}

// One destination row's work: a row of source pixels, the one below, where to sample them and how many there
// are.
struct RowPair {
  const uint8_t *row, *below;
  const int32_t* map;
  int averaged, count;
  ptrdiff_t ahead;  // bytes to the next pair of source rows, or 0
};

#if SKEW_SIMD

// The first columns, kLanes16 at a time, where each source pixel is used exactly once. Returns how many.
int halve_row_pair(const RowPair& pair, uint8_t* out) {
  const auto pair_sums = [](const uint8_t* from) {
    const U16 pixels = load<U16>(from);
    return (pixels & 255) + (pixels >> 8);
  };
  int i = 0;
  for (; i + kLanes16 <= pair.averaged; i += kLanes16)
    store_narrowed(out + i, (pair_sums(pair.row + 2 * i) + pair_sums(pair.below + 2 * i)) >> 2);
  return i;
}

#else

int halve_row_pair(const RowPair&, uint8_t*) { return 0; }

#endif

// Asks for the same taps of the next rows meanwhile: where rows are skipped the processor does not foresee
// them, and the reduction of a large page is mostly waiting for memory.
void sample_row_pair(const RowPair& pair, int i, uint8_t* out) {
  const int32_t* map = pair.map;
  const ptrdiff_t below = pair.below - pair.row, ahead = pair.ahead;
  for (const int end = pair.averaged; i < end; ++i) {
    const uint8_t* tap = pair.row + map[i];
    __builtin_prefetch(tap + ahead);
    __builtin_prefetch(tap + ahead + below);
    out[i] = static_cast<uint8_t>((tap[0] + tap[1] + tap[below] + tap[below + 1]) >> 2);
  }
  for (; i < pair.count; ++i) out[i] = static_cast<uint8_t>((pair.row[map[i]] + pair.below[map[i]]) >> 1);
}

void sample_single_row(const uint8_t* row, const int32_t* map, int averaged, int count, uint8_t* out) {
  for (int i = 0; i < averaged; ++i) out[i] = static_cast<uint8_t>((row[map[i]] + row[map[i] + 1]) >> 1);
  for (int i = averaged; i < count; ++i) out[i] = row[map[i]];
}

}  // namespace

bool sample2x2(const uint8_t* region, ptrdiff_t stride, int width, int height, uint8_t* out,
               ptrdiff_t out_stride, int out_width, int out_height) {
  if (width < 1 || height < 1 || out_width < 1 || out_height < 1) return true;
  const Buffer<int32_t> map = allocate<int32_t>(out_width);
  if (!map) return false;

  const Axis columns(width, out_width), rows(height, out_height);
  map_columns(columns, out_width, map.get());
  for (int j = 0; j < out_height; ++j) {
    const uint8_t* row = region + rows.position(j) * stride;
    uint8_t* out_row = out + j * out_stride;
    if (j < rows.averaged) {
      const int rows_ahead = j + 1 < rows.averaged ? rows.position(j + 1) - rows.position(j) : 0;
      const RowPair pair = {row, row + stride, map.get(), columns.averaged, out_width, rows_ahead * stride};
      sample_row_pair(pair, columns.scale == 2 ? halve_row_pair(pair, out_row) : 0, out_row);
    } else {
      sample_single_row(row, map.get(), columns.averaged, out_width, out_row);
    }
  }
  return true;
}

}  // namespace skew
