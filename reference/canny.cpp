#include "reference/canny.h"

#include <cstdlib>
#include <cstring>

namespace skew::reference {
namespace {

constexpr int kMagnitudeBits = 0x3FFF;  // the direction code lies above them

int direction_code(int gx, int gy) {
  const int ax = std::abs(gx), ay = std::abs(gy);
  if (158218 * ay < 65536 * ax) return 0;
  if (158218 * ax < 65536 * ay) return 2;
  return gx * gy < 0 ? 1 : 3;
}

int gradient_map(const uint8_t* source, uint16_t* map, int low, int stride, int width, int height) {
  int largest = 128;
  for (int y = 1; y <= height - 2; ++y) {
    for (int x = 1; x <= width - 2; ++x) {
      const uint8_t* m = source + y * stride + x;
      const uint8_t *t = m - stride, *b = m + stride;
      const int gx = (t[1] + 2 * m[1] + b[1]) - (t[-1] + 2 * m[-1] + b[-1]);
      const int gy = (b[-1] + 2 * b[0] + b[1]) - (t[-1] + 2 * t[0] + t[1]);
      const int magnitude = std::abs(gx) + std::abs(gy);
      if (magnitude < low) continue;
      map[y * stride + x] = static_cast<uint16_t>(magnitude | (direction_code(gx, gy) << 14));
      if (magnitude > largest) largest = magnitude;
    }
  }
  return largest;
}

bool survives(const uint16_t* entry, int stride) {
  const auto at = [&](int x, int y) { return entry[y * stride + x] & kMagnitudeBits; };
  const int m = at(0, 0);
  switch (*entry >> 14) {
    case 0:
      return m > at(-1, 0) && m >= at(1, 0);
    case 2:
      return m > at(0, -1) && m >= at(0, 1);
    case 1:
      return m > at(-1, 1) && m > at(1, -1);
    default:
      return m > at(1, 1) && m > at(-1, -1);
  }
}

int seed(const uint16_t* map, uint8_t* out, int low, int64_t high, int stride, int width, int height,
         int* queue) {
  int queued = 0;
  for (int y = 1; y <= height - 2; ++y) {
    for (int x = 1; x <= width - 2; ++x) {
      const int i = y * stride + x, m = map[i] & kMagnitudeBits;
      if (m <= low || !survives(map + i, stride)) continue;
      if (m > high && out[i - 1] != 255 && out[i - stride] != 255) {
        out[i] = 255;
        queue[queued++] = i;
      } else {
        out[i] = 128;
      }
    }
  }
  return queued;
}

void follow(uint8_t* out, int stride, int* queue, int queued) {
  const int neighbours[] = {-1, 1, -stride, stride, -stride - 1, stride + 1, -stride + 1, stride - 1};
  for (int taken = 0; taken < queued; ++taken) {
    for (const int offset : neighbours) {
      const int i = queue[taken] + offset;
      if (out[i] != 128) continue;
      out[i] = 255;
      queue[queued++] = i;
    }
  }
}

void finish(uint8_t* out, int stride, int width, int height) {
  for (int i = 0; i < stride * height; ++i)
    if (out[i] == 128) out[i] = 0;
  std::memcpy(out, out + stride, width);
  std::memcpy(out + (height - 1) * stride, out + (height - 2) * stride, width);
  for (int y = 0; y < height; ++y) {
    uint8_t* row = out + y * stride;
    row[0] = row[1];
    row[width - 1] = row[width - 2];
  }
}

}  // namespace

int canny(const uint8_t* source, uint8_t* out, int low, int high, int width, int height, int cap_percent) {
  const int stride = (width + 3) & ~3;
  uint16_t* map = static_cast<uint16_t*>(std::calloc(stride * height, sizeof(uint16_t)));
  int* queue = static_cast<int*>(std::malloc(stride * height * sizeof(int)));
  if (map == nullptr || queue == nullptr) std::abort();
  std::memset(out, 0, stride * height);
  if (high < low) {
    const int lower = high;
    high = low;
    low = lower;
  }
  const int64_t largest = gradient_map(source, map, low, stride, width, height);
  int64_t limit = high;
  if (limit * 100 > largest * cap_percent) limit = largest * cap_percent / 100;
  const int queued = seed(map, out, low, limit, stride, width, height, queue);
  follow(out, stride, queue, queued);
  finish(out, stride, width, height);
  std::free(map);
  std::free(queue);
  return 0;
}

}  // namespace skew::reference
