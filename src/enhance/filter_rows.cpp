#include "enhance/filter_rows.h"

namespace skew {
namespace {

constexpr int kLeastSum = 500;  // of the neighbours of a gap
constexpr int kLargestSum = 1274;

#if SKEW_SIMD

// The vector forms return where they stopped.

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
  const auto in_range = [](U16 sum) { return (U16)((sum >= kLeastSum) & (sum <= kLargestSum)) & 255; };
  return narrow(in_range(first), in_range(second));
}

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

#else

int smooth_vectors(const SmoothStep&, int begin, int) { return begin; }
int close_gaps_vectors(const RowNeighbourhood&, int begin, int, uint8_t*) { return begin; }
int count_up_to_vectors(const uint8_t*, int begin, int, const LevelSet&, LevelCounts*) { return begin; }
int map_levels_vectors(const LevelMap&, uint8_t*, int begin, int) { return begin; }

#endif

void smooth(const SmoothStep& step, int begin, int end) {
  for (int x = smooth_vectors(step, begin, end); x < end; ++x) {
    const int sum = sum_of_three(step.below + x);
    step.out[x] = static_cast<uint8_t>((step.upper[x] + sum) >> 4);
    step.upper[x] = static_cast<uint16_t>(step.own[x] + 2 * sum);
    step.own[x] = static_cast<uint16_t>(sum);
  }
}

bool bridges(const RowNeighbourhood& rows, int x) {
  const uint8_t *a = rows.above + x, *o = rows.own + x, *b = rows.below + x;
  if (o[0] != 0) return false;
  const int sum = a[-1] + a[0] + a[1] + o[-1] + o[1] + b[-1] + b[0] + b[1];
  if (sum < kLeastSum || sum > kLargestSum) return false;
  if ((o[-1] | o[1]) == 0) return (a[-1] | a[0] | a[1]) != 0 && (b[-1] | b[0] | b[1]) != 0;
  return (a[0] | b[0]) == 0 && (a[-1] | o[-1] | b[-1]) != 0 && (a[1] | o[1] | b[1]) != 0;
}

void close_gaps(const RowNeighbourhood& rows, int begin, int end, uint8_t* out) {
  for (int x = close_gaps_vectors(rows, begin, end, out); x < end; ++x)
    if (bridges(rows, x)) out[x] = 255;
}

void count_up_to(const uint8_t* row, int begin, int end, const LevelSet& levels, LevelCounts* counts) {
  for (int x = count_up_to_vectors(row, begin, end, levels, counts); x < end; ++x)
    for (int i = 0; i < kLevelsCounted; ++i) counts->up_to[i] += row[x] <= levels.level[i] ? 1 : 0;
}

uint8_t mapped(const LevelMap& map, int level) {
  const int below = level < map.low ? level : map.low, above = level > map.high ? level - map.high : 0;
  const int band = level - below - above;
  const uint32_t sum =
      (static_cast<uint32_t>(below * map.below) >> 16) + static_cast<uint32_t>(band * map.band_whole) +
      (static_cast<uint32_t>(band * map.band) >> 16) + (static_cast<uint32_t>(above * map.above) >> 16);
  return static_cast<uint8_t>(sum);
}

void map_levels(const LevelMap& map, uint8_t* row, int begin, int end) {
  for (int x = map_levels_vectors(map, row, begin, end); x < end; ++x) row[x] = mapped(map, row[x]);
}

}  // namespace

SKEW_FORM(FilterRows) = {smooth, close_gaps, count_up_to, map_levels};

}  // namespace skew
