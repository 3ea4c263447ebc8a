// Two levels out of the image's histogram, and one piecewise linear map over the image. Counting every level
// costs an increment in memory for each pixel; so the levels are guessed from a few rows, and whole vectors
// are compared with the levels around the guess, which proves it or shows that everything must be counted.
#include <cstddef>
#include <cstring>

#include "enhance/filter_rows.h"
#include "include/skewcorrection/enhance.h"

namespace skew {
namespace {

constexpr int kLevels = 256;
constexpr int kTailShare = 50;  // one in 50, or 2 percent, of the pixels lie outside the band on either side
constexpr int kWidestBand = 149;  // a band wider than this needs no stretching
constexpr int kWidening = 32;     // levels on either side

// Equal neighbours are counted in different tables: an increment need not wait for the one before it.
struct Histogram {
  static constexpr int kTables = 4;
  size_t tables[kTables][kLevels];

  void add(const uint8_t* row, int width) {
    int x = 0;
    for (; width - x >= kTables; x += kTables)
      for (int i = 0; i < kTables; ++i) ++tables[i][row[x + i]];
    for (; x < width; ++x) ++tables[0][row[x]];
  }
  int64_t count(int level) const {
    int64_t sum = 0;
    for (const auto& table : tables) sum += static_cast<int64_t>(table[level]);
    return sum;
  }
};

struct Band {
  int low, high;
};

// The first level from below that, with those below it, holds `threshold` pixels; the first from above. A
// level that is not found is 255, or 0: then the band is inverted.
Band find_band(const Histogram& histogram, int64_t threshold) {
  Band band = {0, kLevels - 1};
  for (int64_t sum = 0; band.low < kLevels - 1; ++band.low) {
    sum += histogram.count(band.low);
    if (sum >= threshold) break;
  }
  for (int64_t sum = 0; band.high > 0; --band.high) {
    sum += histogram.count(band.high);
    if (sum >= threshold) break;
  }
  return band;
}

// The rows and columns that are looked at and changed.
struct Region {
  uint8_t* pixels;
  int width, height;
  ptrdiff_t stride;
  uint8_t* row(int64_t y) const { return pixels + static_cast<ptrdiff_t>(y) * stride; }
};

Band count_band(const Region& region, int row_step, int64_t threshold) {
  Histogram histogram = {};
  for (int64_t y = 0; y < region.height; y += row_step) histogram.add(region.row(y), region.width);
  return find_band(histogram, threshold);
}

#if SKEW_SIMD

constexpr int kSampleStep = 16;  // rows

LevelCounts count_up_to(const Region& region, const LevelSet& levels) {
  LevelCounts counts = {};
  const FilterRows& filter = kernels<FilterRows>();
  for (int y = 0; y < region.height; ++y) filter.count_up_to(region.row(y), 0, region.width, levels, &counts);
  return counts;
}

// Moves a guessed band by up to one level on either side to where it belongs. False if it belongs elsewhere.
bool correct_band(const Region& region, int64_t threshold, Band* band) {
  const int low = band->low - 2, high = band->high - 2;
  if (low < 0 || low > 252 || high < 0 || high > 252) return false;
  LevelSet levels;
  for (int i = 0; i < 4; ++i) {
    levels.level[i] = static_cast<uint8_t>(low + i);
    levels.level[4 + i] = static_cast<uint8_t>(high + i);
  }
  const LevelCounts counts = count_up_to(region, levels);
  const int64_t pixels = int64_t{region.width} * region.height;
  bool found_low = false, found_high = false;
  for (int i = 0; i < 3; ++i) {
    if (counts.up_to[i] < threshold && counts.up_to[i + 1] >= threshold) {
      band->low = low + i + 1;
      found_low = true;
    }
    if (pixels - counts.up_to[4 + i] >= threshold && pixels - counts.up_to[5 + i] < threshold) {
      band->high = high + i + 1;
      found_high = true;
    }
  }
  return found_low && found_high;
}

#endif

Band find_band(const Region& region, int64_t threshold) {
#if SKEW_SIMD
  const int64_t sample = threshold / kSampleStep;
  if (sample > 0) {
    Band band = count_band(region, kSampleStep, sample);
    if (correct_band(region, threshold, &band)) return band;
  }
#endif
  return count_band(region, 1, threshold);
}

// The three pieces that the levels below the band, in it and above it are mapped onto.
struct Stretch {
  Band from, to;

  explicit Stretch(const Band& band) : from(band) {
    to.low = band.low > kWidening ? band.low - kWidening : 0;
    to.high = band.high <= 254 - kWidening ? band.high + kWidening : 255;
  }

  LevelMap map() const {
    const uint32_t band = factor(to.high - to.low, from.high - from.low);
    return {static_cast<uint8_t>(from.low),
            static_cast<uint8_t>(from.high),
            static_cast<uint16_t>(factor(to.low, from.low)),
            static_cast<uint16_t>(band >> 16),
            static_cast<uint16_t>(band),
            static_cast<uint16_t>(factor(255 - to.high, 255 - from.high))};
  }

 private:
  // to / from in 1/65536, rounded up; an empty piece has no pixel to multiply.
  static uint32_t factor(int to_width, int from_width) {
    if (from_width == 0) return 0;
    const uint32_t divisor = static_cast<uint32_t>(from_width);
    return ((static_cast<uint32_t>(to_width) << 16) + divisor - 1) / divisor;
  }
};

void apply(const Stretch& stretch, const Region& region) {
  const LevelMap map = stretch.map();
  const FilterRows& filter = kernels<FilterRows>();
  for (int y = 0; y < region.height; ++y) filter.map_levels(map, region.row(y), 0, region.width);
}

}  // namespace
}  // namespace skew

int GrayStretch_T(uint8_t* pImage, int width, int height) {
  if (width < 2 || height < 2) return 0;
  const skew::Region region = {pImage, width - 1, height - 1, width};
  const skew::Band band = skew::find_band(region, int64_t{width} * height / skew::kTailShare);
  if (band.low >= band.high || band.high - band.low > skew::kWidestBand) return 0;
  skew::apply(skew::Stretch(band), region);
  return 1;
}
