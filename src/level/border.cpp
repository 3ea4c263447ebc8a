// The colour of an image's border: the median of each channel over a frame wide enough that dust, noise and
// writing that touches the edge are few.
#include <cstring>

#include "level/image.h"

namespace skew {
namespace {

constexpr int kFrameShare = 50;  // the frame is one part in so many of the shorter side

struct Histogram {
  size_t counts[4][256];  // by byte of a pixel
};

void count_pixels(const Image& image, int y, int begin, int end, Histogram* histogram) {
  const uint8_t* p = image.row(y) + static_cast<ptrdiff_t>(begin) * image.pixel_bytes;
  for (int x = begin; x < end; ++x)
    for (int i = 0; i < image.pixel_bytes; ++i) ++histogram->counts[i][*p++];
}

// Of two middle values the lower.
uint8_t median(const size_t (&counts)[256], size_t total) {
  int value = 0;
  for (size_t sum = counts[0]; sum * 2 < total;) sum += counts[++value];
  return static_cast<uint8_t>(value);
}

}  // namespace

uint32_t border_colour(const Image& image) {
  const int shorter = image.width < image.height ? image.width : image.height;
  const int frame = shorter / kFrameShare > 1 ? shorter / kFrameShare : 1;
  Histogram histogram = {};
  for (int y = 0; y < image.height; ++y) {
    const bool whole = y < frame || y >= image.height - frame || image.width <= 2 * frame;
    count_pixels(image, y, 0, whole ? image.width : frame, &histogram);
    if (!whole) count_pixels(image, y, image.width - frame, image.width, &histogram);
  }
  size_t total = 0;
  for (const size_t count : histogram.counts[0]) total += count;
  uint8_t bytes[4];
  for (int i = 0; i < image.pixel_bytes; ++i) bytes[i] = median(histogram.counts[i], total);
  if (image.pixel_bytes == 1) return 0xFF000000 | bytes[0] * 0x010101u;
  if (image.pixel_bytes == 3)
    return 0xFF000000 | static_cast<uint32_t>(bytes[0]) << 16 | static_cast<uint32_t>(bytes[1]) << 8 |
           bytes[2];
  uint32_t pixel;
  std::memcpy(&pixel, bytes, sizeof pixel);
  return pixel;
}

}  // namespace skew

int skew_border_gray(const unsigned char* pSrc, ptrdiff_t stride, int width, int height, uint32_t* pFill) {
  const skew::Image image = {pSrc, stride, width, height, 1};
  if (!image.valid() || pFill == nullptr) return SKEW_INVALID_ARGUMENT;
  *pFill = skew::border_colour(image);
  return SKEW_OK;
}

int skew_border_rgb(const unsigned char* pSrc, ptrdiff_t stride, int width, int height, uint32_t* pFill) {
  const skew::Image image = {pSrc, stride, width, height, 3};
  if (!image.valid() || pFill == nullptr) return SKEW_INVALID_ARGUMENT;
  *pFill = skew::border_colour(image);
  return SKEW_OK;
}

int skew_border_argb(const uint32_t* pSrc, ptrdiff_t stride, int width, int height, uint32_t* pFill) {
  const skew::Image image = {reinterpret_cast<const uint8_t*>(pSrc), stride, width, height, 4};
  if (!image.valid() || pFill == nullptr) return SKEW_INVALID_ARGUMENT;
  *pFill = skew::border_colour(image);
  return SKEW_OK;
}
