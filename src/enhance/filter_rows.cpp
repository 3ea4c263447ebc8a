#include "enhance/filter_rows.h"

#if SKEW_SIMD

namespace skew {
inline namespace SKEW_LANES {

int smooth_vectors(const SmoothStep& step, int begin, int end) {
  int x = begin;
  for (; end - x >= kLanes16; x += kLanes16) {
    const uint8_t* p = step.below + x;
    const U16 sum = load_widened(p - 1) + (load_widened(p) << 1) + load_widened(p + 1);
    store_narrowed(step.out + x, (load<U16>(step.upper + x) + sum) >> 4);
    store(step.upper + x, load<U16>(step.own + x) + (sum << 1));
    store(step.own + x, sum);
  }
  return x;
}

namespace {

// Where the sum of the eight neighbours is in range; sums of pixels that are foreground themselves do not
// matter.
U8 sums_in_range(const RowNeighbourhood& rows, int x) {
  const uint8_t* const row[3] = {rows.above + x, rows.own + x, rows.below + x};
  U16 first = {}, second = {};
  for (int i = 0; i < 9; ++i) {
    const Widened pixel = widen(load<U8>(row[i / 3] + i % 3 - 1));
    first += pixel.first;
    second += pixel.second;
  }
  const auto in_range = [](U16 sum) { return (U16)((sum >= 500) & (sum <= 1274)) & 255; };
  return narrow(in_range(first), in_range(second));
}

}  // namespace

// A pixel between foreground is rare: the sums are formed only where there is one.
int close_gaps_vectors(const RowNeighbourhood& rows, int begin, int end, uint8_t* out) {
  int x = begin;
  for (; end - x >= kLanes8; x += kLanes8) {
    const auto at = [x](const uint8_t* row, int dx) { return load<U8>(row + x + dx); };
    const U8 above = at(rows.above, 0), below = at(rows.below, 0), own = at(rows.own, 0);
    const U8 above_left = at(rows.above, -1), above_right = at(rows.above, 1);
    const U8 below_left = at(rows.below, -1), below_right = at(rows.below, 1);
    const U8 left = at(rows.own, -1), right = at(rows.own, 1);

    const U8 vertical = ((above_left | above | above_right) != 0) & ((below_left | below | below_right) != 0);
    const U8 horizontal = ((above_left | left | below_left) != 0) &
                          ((above_right | right | below_right) != 0) & ((above | below) == 0);
    const U8 bridge = (own == 0) & select((left | right) == 0, vertical, horizontal);
    if (any(bridge)) store(out + x, own | (bridge & sums_in_range(rows, x)));
  }
  return x;
}

namespace {

constexpr int kBlock = 255;  // vectors: what a byte lane can count

void count_block(const uint8_t* pixels, int vectors, const LevelSet& levels, LevelCounts* counts) {
  U8 level[kLevelsCounted], lighter[kLevelsCounted] = {};
  for (int i = 0; i < kLevelsCounted; ++i) level[i] = U8{} + levels.level[i];
  for (int v = 0; v < vectors; ++v) {
    const U8 pixel = load<U8>(pixels + v * kLanes8);
    for (int i = 0; i < kLevelsCounted; ++i) lighter[i] -= (U8)(pixel > level[i]);
  }
  for (int i = 0; i < kLevelsCounted; ++i) {
    uint8_t lanes[kLanes8];
    store(lanes, lighter[i]);
    int sum = 0;
    for (const uint8_t count : lanes) sum += count;
    counts->up_to[i] += vectors * kLanes8 - sum;
  }
}

}  // namespace

int count_up_to_vectors(const uint8_t* row, int begin, int end, const LevelSet& levels, LevelCounts* counts) {
  int x = begin;
  while (end - x >= kLanes8) {
    const int left = (end - x) / kLanes8, vectors = left < kBlock ? left : kBlock;
    count_block(row + x, vectors, levels, counts);
    x += vectors * kLanes8;
  }
  return x;
}

int map_levels_vectors(const LevelMap& map, uint8_t* row, int begin, int end) {
  const U8 low = (U8){} + map.low, high = (U8){} + map.high, width = high - low;
  const auto piece = [&](U16 below, U16 band, U16 above) {
    return multiply_high(below, (U16){} + map.below) + band * map.band_whole +
           multiply_high(band, (U16){} + map.band) + multiply_high(above, (U16){} + map.above);
  };
  int x = begin;
  for (; end - x >= kLanes8; x += kLanes8) {
    const U8 level = load<U8>(row + x);
    const Widened below = widen(smaller(level, low)), above = widen(excess(level, high)),
                  band = widen(smaller(excess(level, low), width));
    store(row + x, narrow(piece(below.first, band.first, above.first),
                          piece(below.second, band.second, above.second)));
  }
  return x;
}

}  // namespace SKEW_LANES
}  // namespace skew

#endif  // SKEW_SIMD
