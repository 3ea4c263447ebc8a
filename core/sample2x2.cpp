#include "core/sample2x2.h"

#include "core/buffer.h"

namespace skew {
namespace {

// How one side of the region maps to one side of the destination.
struct Axis {
  double scale;  // source pixels per destination pixel
  int averaged;  // destination pixels whose source position still has a neighbour inside the region

  Axis(int from, int to)
      : scale(static_cast<double>(from) / to), averaged(static_cast<int>((from - 1.0) / scale)) {}
  int position(int i) const { return static_cast<int>(i * scale); }
};

// The source column of each destination column. From the first column without a right neighbour on, each
// takes the position of the column before it.
void map_columns(const Axis& axis, int count, int32_t* map) {
  for (int i = 0; i < count; ++i) map[i] = axis.position(i < axis.averaged || i == 0 ? i : i - 1);
}

void sample_row_pair(const uint8_t* row, ptrdiff_t stride, const int32_t* map, int averaged, int count,
                     uint8_t* out) {
  const uint8_t* below = row + stride;
  for (int i = 0; i < averaged; ++i) {
    const int32_t m = map[i];
    out[i] = static_cast<uint8_t>((row[m] + row[m + 1] + below[m] + below[m + 1]) >> 2);
  }
  for (int i = averaged; i < count; ++i) out[i] = static_cast<uint8_t>((row[map[i]] + below[map[i]]) >> 1);
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
    if (j < rows.averaged)
      sample_row_pair(row, stride, map.get(), columns.averaged, out_width, out_row);
    else
      sample_single_row(row, map.get(), columns.averaged, out_width, out_row);
  }
  return true;
}

}  // namespace skew
