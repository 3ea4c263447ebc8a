#include "reference/enhance.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace skew::reference {
namespace {

uint8_t* copy_of(const uint8_t* image, size_t bytes) {
  uint8_t* copy = static_cast<uint8_t*>(std::malloc(bytes + 1));
  if (copy == nullptr) std::abort();
  std::memcpy(copy, image, bytes);
  return copy;
}

}  // namespace

void gauss_smooth(uint8_t* image, int width, int height) {
  const ptrdiff_t stride = (width + 3) & ~3;
  uint8_t* copy = copy_of(image, static_cast<size_t>(stride * height));
  for (int y = 1; y < height - 1; ++y)
    for (int x = 1; x < width - 1; ++x) {
      const uint8_t* p = copy + y * stride + x;
      const int sum = p[-stride - 1] + (p[-stride] << 1) + p[-stride + 1] + (p[-1] << 1) + (p[0] << 2) +
                      (p[1] << 1) + p[stride - 1] + (p[stride] << 1) + p[stride + 1];
      image[y * stride + x] = static_cast<uint8_t>(sum >> 4);
    }
  std::free(copy);
}

void close_gaps(uint8_t* image, int width, int height) {
  const ptrdiff_t stride = (width + 3) & ~3;
  uint8_t* copy = copy_of(image, static_cast<size_t>(stride * height));
  for (int y = 1; y < height - 1; ++y)
    for (int x = 1; x < width - 1; ++x) {
      const uint8_t* p = copy + y * stride + x;
      if (p[0] != 0) continue;
      const int al = p[-stride - 1], a = p[-stride], ar = p[-stride + 1], l = p[-1], r = p[1],
                bl = p[stride - 1], b = p[stride], br = p[stride + 1];
      const int sum = al + a + ar + l + r + bl + b + br;
      if (sum < 500 || sum > 1274) continue;
      const bool set = l != 0 || r != 0 ? a == 0 && b == 0 && (al != 0 || l != 0 || bl != 0) &&
                                              (ar != 0 || r != 0 || br != 0)
                                        : (al != 0 || a != 0 || ar != 0) && (bl != 0 || b != 0 || br != 0);
      if (set) image[y * stride + x] = 255;
    }
  std::free(copy);
}

int gray_stretch(uint8_t* image, int width, int height) {
  uint32_t histogram[256] = {};
  for (int y = 0; y < height - 1; ++y)
    for (int x = 0; x < width - 1; ++x) ++histogram[image[int64_t{y} * width + x]];
  const int64_t threshold = int64_t{width} * height / 50;
  int low = 255, high = 0;
  int64_t sum = 0;
  for (int v = 0; v < 256 && low == 255; ++v)
    if ((sum += histogram[v]) >= threshold) low = v;
  sum = 0;
  for (int v = 255; v > 0 && high == 0; --v)
    if ((sum += histogram[v]) >= threshold) high = v;
  if (high == 0 || low >= high || high - low > 149) return 0;

  const int new_low = low > 32 ? low - 32 : 0, new_high = high <= 222 ? high + 32 : 255;
  uint8_t table[256];
  for (int v = 0; v < 256; ++v) {
    if (v < low)
      table[v] = static_cast<uint8_t>(v * new_low / low);
    else if (v < high)
      table[v] = static_cast<uint8_t>(new_low + (v - low) * (new_high - new_low) / (high - low));
    else
      table[v] =
          static_cast<uint8_t>(high == 255 ? 255 : new_high + (v - high) * (255 - new_high) / (255 - high));
  }
  for (int y = 0; y < height - 1; ++y)
    for (int x = 0; x < width - 1; ++x) image[int64_t{y} * width + x] = table[image[int64_t{y} * width + x]];
  return 1;
}

}  // namespace skew::reference
