// A histogram of the image, two levels out of it, and one piecewise linear map over the image.
#include <cstddef>
#include <cstring>

#include "include/skewcorrection/enhance.h"

namespace skew {
namespace {

constexpr int kLevels = 256;
constexpr int kTailShare = 50;  // one in 50, or 2 percent, of the pixels lie outside the band on either side
constexpr int kWidestBand = 149;  // a band wider than this needs no stretching
constexpr int kWidening = 32;     // levels on either side

struct Histogram {
  size_t counts[kLevels];
};

struct Band {
  int low, high;
};

void count_row(const uint8_t* row, int width, Histogram* histogram) {
  for (int x = 0; x < width; ++x) ++histogram->counts[row[x]];
}

// The first level from below that, with those below it, holds `threshold` pixels; the first from above. A
// level that is not found is 255, or 0: then the band is inverted.
Band find_band(const Histogram& histogram, int64_t threshold) {
  Band band = {0, kLevels - 1};
  for (int64_t sum = 0; band.low < kLevels - 1; ++band.low) {
    sum += static_cast<int64_t>(histogram.counts[band.low]);
    if (sum >= threshold) break;
  }
  for (int64_t sum = 0; band.high > 0; --band.high) {
    sum += static_cast<int64_t>(histogram.counts[band.high]);
    if (sum >= threshold) break;
  }
  return band;
}

void make_table(const Band& band, uint8_t* table) {
  const int new_low = band.low > kWidening ? band.low - kWidening : 0;
  const int new_high = band.high <= 254 - kWidening ? band.high + kWidening : 255;
  const int width = band.high - band.low, new_width = new_high - new_low;
  for (int v = 0; v < band.low; ++v) table[v] = static_cast<uint8_t>(v * new_low / band.low);
  for (int v = band.low; v < band.high; ++v)
    table[v] = static_cast<uint8_t>(new_low + (v - band.low) * new_width / width);
  table[255] = 255;
  for (int v = band.high; v < 255; ++v)
    table[v] = static_cast<uint8_t>(new_high + (v - band.high) * (255 - new_high) / (255 - band.high));
}

}  // namespace
}  // namespace skew

int GrayStretch_T(uint8_t* pImage, int width, int height) {
  if (width < 2 || height < 2) return 0;
  const ptrdiff_t stride = width;
  skew::Histogram histogram = {};
  for (int y = 0; y < height - 1; ++y) skew::count_row(pImage + y * stride, width - 1, &histogram);

  const skew::Band band = skew::find_band(histogram, int64_t{width} * height / skew::kTailShare);
  if (band.low >= band.high || band.high - band.low > skew::kWidestBand) return 0;

  uint8_t table[skew::kLevels];
  skew::make_table(band, table);
  for (int y = 0; y < height - 1; ++y) {
    uint8_t* row = pImage + y * stride;
    for (int x = 0; x < width - 1; ++x) row[x] = table[row[x]];
  }
  return 1;
}
