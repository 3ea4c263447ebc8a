// A histogram of the image, two levels out of it, and one piecewise linear map over the image.
#include <cstddef>
#include <cstring>

#include "core/cpu.h"
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

// The three pieces that the levels below the band, in it and above it are mapped onto.
struct Stretch {
  Band from, to;

  explicit Stretch(const Band& band) : from(band) {
    to.low = band.low > kWidening ? band.low - kWidening : 0;
    to.high = band.high <= 254 - kWidening ? band.high + kWidening : 255;
  }

  int map(int level) const {
    if (level < from.low) return level * to.low / from.low;
    if (level < from.high) return to.low + (level - from.low) * (to.high - to.low) / (from.high - from.low);
    return level == 255 ? 255 : to.high + (level - from.high) * (255 - to.high) / (255 - from.high);
  }

  LevelMap vector_form() const {
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

int map_fast(const LevelMap& map, uint8_t* row, int end) {
#if defined(SKEW_AVX2_FORMS)
  if (has_avx2()) return lanes32::map_levels_vectors(map, row, 0, end);
#endif
#if SKEW_SIMD
  return map_levels_vectors(map, row, 0, end);
#else
  (void)map, (void)row, (void)end;
  return 0;
#endif
}

void apply(const Stretch& stretch, uint8_t* image, int width, int height, ptrdiff_t stride) {
  uint8_t table[kLevels];
  for (int v = 0; v < kLevels; ++v) table[v] = static_cast<uint8_t>(stretch.map(v));
  const LevelMap map = stretch.vector_form();
  for (int y = 0; y < height; ++y) {
    uint8_t* row = image + y * stride;
    for (int x = map_fast(map, row, width); x < width; ++x) row[x] = table[row[x]];
  }
}

}  // namespace
}  // namespace skew

int GrayStretch_T(uint8_t* pImage, int width, int height) {
  if (width < 2 || height < 2) return 0;
  const ptrdiff_t stride = width;
  skew::Histogram histogram = {};
  for (int y = 0; y < height - 1; ++y) histogram.add(pImage + y * stride, width - 1);

  const skew::Band band = skew::find_band(histogram, int64_t{width} * height / skew::kTailShare);
  if (band.low >= band.high || band.high - band.low > skew::kWidestBand) return 0;
  skew::apply(skew::Stretch(band), pImage, width - 1, height - 1, stride);
  return 1;
}
