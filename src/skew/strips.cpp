// See strips.h. A strip is as wide as a vector. Without vectors there are no strips.
#include "skew/strips.h"

#if SKEW_SIMD

namespace skew {
namespace {

constexpr int kStrip = kVectorBytes;
constexpr int kTile = 16;         // cross coordinates in one transposition
constexpr int kLongestRun = 255;  // so that a run's count fits a byte
constexpr int kMostRuns = 256;    // runs in one piece; a multiple of kTile

// Transposes 16 x 16 bytes, in both halves of a wider vector at once: exchanges the bits of a byte's row
// number and of its column number one after the other.
inline void transpose(U8 (&rows)[kTile]) {
  for (int round = 0; round < 4; ++round) {
    U8 mixed[kTile];
    for (int i = 0; i < kTile / 2; ++i) {
      mixed[2 * i] = zip_low(rows[i], rows[i + kTile / 2]);
      mixed[2 * i + 1] = zip_high(rows[i], rows[i + kTile / 2]);
    }
    for (int i = 0; i < kTile; ++i) rows[i] = mixed[i];
  }
}

inline U8 one_if_set(U8 pixels) { return (U8)(pixels != 0) & 1; }

// The kTile pixels from (x, y) on, and those kTile rows below where the strip is as wide as two tiles.
inline U8 load_tile_row(const EdgeBox& box, int x, int y) {
  const uint8_t* row = box.pixels + y * box.stride + x;
  return load_halves(row, row + (kStrip - kTile) * box.stride);
}

// The same for rows that may lie outside the box, or end there before kTile pixels; zeros stand for what is
// missing.
U8 load_edge_row(const EdgeBox& box, int x, int y) {
  uint8_t pixels[kStrip] = {};
  const int inside = box.width - x < kTile ? box.width - x : kTile;
  for (int half = 0; half < kStrip; half += kTile)
    if (y + half < box.height)
      std::memcpy(pixels + half, box.pixels + (y + half) * box.stride + x, static_cast<size_t>(inside));
  return load<U8>(pixels);
}

// The strip that starts at row y, column after column.
void fill_strip_of_rows(const EdgeBox& box, int y, uint8_t* counts) {
  U8 sum = {};
  for (int x = 0; x < box.width; x += kTile) {
    const bool inside = x + kTile <= box.width && y + kStrip <= box.height;
    U8 columns[kTile];
    for (int i = 0; i < kTile; ++i)
      columns[i] = one_if_set(inside ? load_tile_row(box, x, y + i) : load_edge_row(box, x, y + i));
    transpose(columns);
    const int end = box.width - x < kTile ? box.width - x : kTile;
    for (int i = 0; i < end; ++i, counts += kStrip) {
      store(counts, sum);
      sum += columns[i];
    }
  }
  store(counts, sum);
}

// The strip that starts at column x, row after row.
void fill_strip_of_columns(const EdgeBox& box, int x, uint8_t* counts) {
  const int inside = box.width - x < kStrip ? box.width - x : kStrip;
  U8 sum = {};
  for (int y = 0; y < box.height; ++y, counts += kStrip) {
    const uint8_t* row = box.pixels + y * box.stride + x;
    uint8_t pixels[kStrip] = {};
    if (inside < kStrip) std::memcpy(pixels, row, static_cast<size_t>(inside));
    store(counts, sum);
    sum += one_if_set(load<U8>(inside < kStrip ? pixels : row));
  }
  store(counts, sum);
}

// Cross coordinates of ascending products, cut into runs of equal ones.
struct Runs {
  int first;  // the product of the first run; each run has the next number, and may be empty
  int count;
  int longest;                // at least 1
  int starts[kMostRuns + 1];  // cross coordinates: run i ends where run i + 1 starts
};

// Cuts runs from cross coordinate x on, as many as fit, and returns where they end. A run that is too long,
// or a product below the one before it, ends the piece.
int cut_runs(const uint16_t* sine, int cross_length, int x, Runs* runs) {
  runs->first = sine[x];
  runs->longest = 1;
  int count = 0;
  runs->starts[0] = x;
  while (x < cross_length && count < kMostRuns && sine[x] >= runs->first + count) {
    const int product = runs->first + count, start = x;
    while (x < cross_length && sine[x] == product && x - start < kLongestRun) ++x;
    if (x - start > runs->longest) runs->longest = x - start;
    runs->starts[++count] = x;
  }
  runs->count = count;
  for (int i = count; i % kTile != 0; ++i) runs->starts[i + 1] = x;  // fill the last tile with empty runs
  return x;
}

// The run counts of one strip: a row of bytes for each main coordinate, with zeros on both sides, so that
// vectors may start up to kStrip - 1 bytes before a row and end as far behind it.
struct RunCounts {
  static constexpr int kPitch = kStrip + kMostRuns + 2 * kStrip;
  uint8_t bytes[kStrip * kPitch];

  uint8_t* row(int i) { return bytes + i * kPitch + kStrip; }

  void clear_behind(const Runs& runs) {
    const int end = (runs.count + kTile - 1) / kTile * kTile;
    for (int i = 0; i < kStrip; ++i) {
      store(row(i) - kStrip, U8{});
      store(row(i) + end, U8{});
      store(row(i) + end + kStrip, U8{});
    }
  }

  void fill(const uint8_t* counts, const Runs& runs) {
    for (int first = 0; first < runs.count; first += kTile) {
      U8 tile[kTile];
      U8 before = load<U8>(counts + static_cast<ptrdiff_t>(runs.starts[first]) * kStrip);
      for (int i = 0; i < kTile; ++i) {
        const U8 after = load<U8>(counts + static_cast<ptrdiff_t>(runs.starts[first + i + 1]) * kStrip);
        tile[i] = after - before;
        before = after;
      }
      transpose(tile);
      for (int i = 0; i < kTile; ++i) store_halves(row(i) + first, row(kStrip - kTile + i) + first, tile[i]);
    }
  }
};

inline void add_widened(uint16_t* bins, U8 counts) {
  store(bins, load<U16>(bins) + widen_low(counts));
  store(bins + kLanes16, load<U16>(bins + kLanes16) + widen_high(counts));
}

// Main coordinates whose run counts are added up as bytes before they are added to the bins.
struct Group {
  int end;              // one past the last
  int lowest, highest;  // of their products with the cosine
};

Group group_of(const uint16_t* cosine, int begin, int end) {
  uint16_t lowest = cosine[begin], highest = lowest;
  for (int i = begin; i < end; ++i) {
    lowest = cosine[i] < lowest ? cosine[i] : lowest;
    highest = cosine[i] > highest ? cosine[i] : highest;
  }
  return {end, lowest, highest};
}

// From the given main coordinate of the strip on, as many as can neither overflow a byte nor reach over the
// zeros: for sound products all but the smallest angles' strips are one group.
Group group_from(const uint16_t* cosine, int begin, int end, const Runs& runs) {
  const int most = kLongestRun / runs.longest;
  int count = end - begin < most ? end - begin : most;
  Group group = group_of(cosine, begin, begin + count);
  while (group.highest - group.lowest >= kStrip) group = group_of(cosine, begin, begin + --count);
  return group;
}

// Adds rows, which start at offsets from counts, to the bins.
void add_rows(const uint8_t* counts, const int* offsets, int rows, int length, uint16_t* bins) {
  for (int at = 0; at < length; at += kStrip, counts += kStrip) {
    U8 even = {}, odd = {};
    int i = 0;
    for (; i + 4 <= rows; i += 4) {
      even += load<U8>(counts + offsets[i]) + load<U8>(counts + offsets[i + 1]);
      odd += load<U8>(counts + offsets[i + 2]) + load<U8>(counts + offsets[i + 3]);
    }
    for (; i < rows; ++i) even += load<U8>(counts + offsets[i]);
    add_widened(bins + at, even + odd);
  }
}

void add_strip(RunCounts& counts, const Runs& runs, const uint16_t* cosine, int main_count,
               uint16_t* differences, uint16_t* sums) {
  int offsets[kStrip];
  for (int begin = 0; begin < main_count;) {
    const Group group = group_from(cosine, begin, main_count, runs);
    const int rows = group.end - begin, length = runs.count + group.highest - group.lowest;
    if (differences) {
      for (int i = 0; i < rows; ++i) offsets[i] = i * RunCounts::kPitch + cosine[begin + i] - group.highest;
      add_rows(counts.row(begin), offsets, rows, length, differences + runs.first - group.highest);
    }
    if (sums) {
      for (int i = 0; i < rows; ++i) offsets[i] = i * RunCounts::kPitch + group.lowest - cosine[begin + i];
      add_rows(counts.row(begin), offsets, rows, length, sums + runs.first + group.lowest);
    }
    begin = group.end;
  }
}

void fill_strips(const EdgeBox& box, Axis axis, const Strips& strips) {
  uint8_t* counts = strips.counts;
  for (int main = 0; main < strips.main_length; main += kStrip) {
    if (axis == Axis::kRows)
      fill_strip_of_rows(box, main, counts);
    else
      fill_strip_of_columns(box, main, counts);
    counts += (static_cast<ptrdiff_t>(strips.cross_length) + 1) * kStrip;
  }
}

void project_strips(const Strips& strips, const AngleProducts& turn, uint16_t* differences, uint16_t* sums) {
  Runs runs;
  RunCounts counts;
  for (int x = 0; x < strips.cross_length;) {
    x = cut_runs(turn.sine, strips.cross_length, x, &runs);
    counts.clear_behind(runs);
    const uint8_t* strip = strips.counts;
    for (int main = 0; main < strips.main_length; main += kStrip) {
      const int rest = strips.main_length - main;
      counts.fill(strip, runs);
      add_strip(counts, runs, turn.cosine + main, rest < kStrip ? rest : kStrip, differences, sums);
      strip += (static_cast<ptrdiff_t>(strips.cross_length) + 1) * kStrip;
    }
  }
}

uint32_t sum_of_small_squares(const uint16_t* counts, int bins) {
  uint32_t sum = 0;
  for (int i = 0; i < bins; ++i) sum += static_cast<uint32_t>(counts[i]) * counts[i];
  return sum;
}

}  // namespace

SKEW_FORM(StripKernels) = {fill_strips, project_strips, sum_of_small_squares};

}  // namespace skew

#endif
