#include "reference/rotate.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include "include/skewcorrection/tables.h"

namespace skew::reference {
namespace {

uint8_t limited(double value) { return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value); }

// The walk over the destination that the gray, RGB and ARGB forms share. inside(x, y, X0, Y0, fx, fy) writes
// a pixel that has a source, outside(x, y) any other.
template <class Inside, class Outside>
void walk(int width, int height, double angle, Inside inside, Outside outside) {
  const int index = static_cast<int>(std::fabs(angle) * 5);
  const double s = SIN[index] * (angle < 0 ? -1.0 / 65536 : 1.0 / 65536), c = COS[index] * (1.0 / 65536);
  const double cx = width * 0.5 - 0.5, cy = height * 0.5 - 0.5;
  std::vector<double> sines(static_cast<size_t>(width)), cosines(sines);
  for (size_t x = 1; x < sines.size(); ++x) {
    sines[x] = sines[x - 1] + s;
    cosines[x] = cosines[x - 1] + c;
  }
  double across = 0.0 - (((cy * s) + ((-cx) * c)) + width * 0.5 - 0.5);
  double down = ((-(c * cy)) + (s * (-cx))) + height * 0.5 - 0.5;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double X = cosines[static_cast<size_t>(x)] - across, Y = sines[static_cast<size_t>(x)] + down;
      const int X0 = static_cast<int>(X), Y0 = static_cast<int>(Y);
      if (X0 >= 0 && X0 < width - 1 && Y0 >= 0 && Y0 < height - 1)
        inside(x, y, X0, Y0, X - X0, Y - Y0);
      else
        outside(x, y);
    }
    across += s;
    down += c;
  }
}

double blend(double q00, double q01, double q10, double q11, double fx, double fy) {
  return (fx * (1 - fy)) * q01 + ((1 - fy) * (1 - fx)) * q00 + (fy * (1 - fx)) * q10 + (fy * fx) * q11;
}

}  // namespace

void rotate_gray(const uint8_t* source, int width, int height, double angle, uint8_t* destination,
                 uint8_t fill) {
  const ptrdiff_t stride = width;
  walk(
      width, height, angle,
      [=](int x, int y, int X0, int Y0, double fx, double fy) {
        const uint8_t* q = source + Y0 * stride + X0;
        destination[y * stride + x] = limited(blend(q[0], q[1], q[stride], q[stride + 1], fx, fy) + 0.5);
      },
      [=](int x, int y) { destination[y * stride + x] = fill; });
}

void rotate_rgb(const uint8_t* source, int width, int height, double angle, uint8_t* destination,
                uint8_t fill) {
  const ptrdiff_t stride = ptrdiff_t{3} * width;
  walk(
      width, height, angle,
      [=](int x, int y, int X0, int Y0, double fx, double fy) {
        for (int k = 0; k < 3; ++k) {
          const uint8_t* q = source + Y0 * stride + 3 * X0 + k;
          destination[y * stride + 3 * x + k] =
              limited(blend(q[0], q[3], q[stride], q[stride + 3], fx, fy) + 0.5);
        }
      },
      [=](int x, int y) {
        for (int k = 0; k < 3; ++k) destination[y * stride + 3 * x + k] = fill;
      });
}

void rotate_argb(const int32_t* source, int width, int height, double angle, int32_t* destination,
                 int32_t fill) {
  const ptrdiff_t stride = width;
  walk(
      width, height, angle,
      [=](int x, int y, int X0, int Y0, double fx, double fy) {
        const int32_t* q = source + Y0 * stride + X0;
        const auto channel = [](int32_t pixel, int shift) {
          return (static_cast<uint32_t>(pixel) >> shift) & 255;
        };
        uint32_t pixel = static_cast<uint32_t>(q[0]) & 0xFF000000u;
        for (int shift = 0; shift < 24; shift += 8)
          pixel |= uint32_t{limited(blend(channel(q[0], shift), channel(q[1], shift),
                                          channel(q[stride], shift), channel(q[stride + 1], shift), fx, fy))}
                   << shift;
        destination[y * stride + x] = static_cast<int32_t>(pixel);
      },
      [=](int x, int y) { destination[y * stride + x] = fill; });
}

void rotate_fixed(const uint8_t* source, int width, int height, double angle, uint8_t* destination) {
  const int index = static_cast<int>(std::fabs(angle) * 5);
  const int s = angle < 0 ? -SIN[index] : SIN[index], c = COS[index];
  const ptrdiff_t stride = width;
  int row_x = (c * (1 - width) + s * (height - 1) + (width - 1) * 65536) / 2;
  int row_y = (c * (1 - height) + s * (1 - width) + (height - 1) * 65536) / 2;
  for (int y = 0; y < height; ++y, row_x -= s, row_y += c) {
    int from_x = row_x, from_y = row_y;
    for (int x = 0; x < width; ++x, from_x += c, from_y += s) {
      if (from_x < 0 || from_y < 0) continue;
      const int sx = from_x >> 16, sy = from_y >> 16;
      if (sx + 1 >= width || sy + 1 >= height) continue;
      const int fx = ((from_x & 65535) + 128) >> 8, wx = ((sx + 1) * 65536 - from_x + 128) >> 8;
      const int fy = ((from_y & 65535) + 128) >> 8, wy = ((sy + 1) * 65536 - from_y + 128) >> 8;
      const uint8_t* q = source + sy * stride + sx;
      const int value =
          (q[0] * wx * wy + q[1] * fx * wy + q[stride] * wx * fy + q[stride + 1] * fx * fy + 32768) >> 16;
      destination[y * stride + x] = static_cast<uint8_t>(value > 255 ? 255 : value);
    }
  }
}

}  // namespace skew::reference
