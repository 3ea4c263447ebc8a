// How four neighbouring pixels become one, for each kind of pixel.
//
// A kind says how many bytes a pixel has, what a pixel without a source becomes, and how the four neighbours
// are weighted. Fractions are in 1/2^17 and may lie between -1 and 0 at the upper and left border, where the
// neighbours are extrapolated; the results are then limited to what a byte holds.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/simd.h"
#include "rotate/geometry.h"

namespace skew {
inline namespace SKEW_LANES {

struct Taps {
  const uint8_t *upper_left, *upper_right, *lower_left, *lower_right;
};

struct Fraction {
  int32_t x, y;
};

// The weighted mean of one channel, in 1/2^34. All of it fits 44 bits.
inline int64_t blend(int upper_left, int upper_right, int lower_left, int lower_right, Fraction f) {
  const int64_t upper = upper_left * kPositionOne + int64_t{upper_right - upper_left} * f.x;
  const int64_t lower = lower_left * kPositionOne + int64_t{lower_right - lower_left} * f.x;
  return upper * kPositionOne + (lower - upper) * f.y;
}

inline uint8_t limited(int64_t value) {
  return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// The blend of byte k of the taps as a byte, with the given rounding term, in 1/2^34.
inline uint8_t blend_byte(const Taps& taps, int k, Fraction f, int64_t rounding) {
  const int64_t sum =
      blend(taps.upper_left[k], taps.upper_right[k], taps.lower_left[k], taps.lower_right[k], f);
  return limited((sum + rounding) >> (2 * kPositionBits));
}

constexpr int64_t kHalf = int64_t{1} << (2 * kPositionBits - 1);

// One or three bytes, each rounded to nearest, halves up.
template <int Channels>
struct BytePixel {
  static constexpr int kBytes = Channels;
  uint32_t fill_value;

  void fill(uint8_t* to, int count) const {
    if (Channels == 1) {
      std::memset(to, static_cast<int>(fill_value & 255), static_cast<size_t>(count));
      return;
    }
    for (int i = 0; i < count * Channels; ++i) to[i] = static_cast<uint8_t>(fill_value >> (i % Channels * 8));
  }
  void write(uint8_t* to, const Taps& taps, Fraction f) const {
    for (int k = 0; k < Channels; ++k) to[k] = blend_byte(taps, k, f, kHalf);
  }
};

// A 32-bit integer: the three colours rounded down, alpha taken from the upper left neighbour.
struct ArgbPixel {
  static constexpr int kBytes = 4;
  uint32_t fill_value;

  void fill(uint8_t* to, int count) const {
    for (int i = 0; i < count; ++i) std::memcpy(to + 4 * i, &fill_value, 4);
  }
  void write(uint8_t* to, const Taps& taps, Fraction f) const {
    const int alpha = kAlphaByte;
    for (int k = 0; k < 4; ++k) to[k] = k == alpha ? taps.upper_left[k] : blend_byte(taps, k, f, 0);
  }

 private:
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  static constexpr int kAlphaByte = 0;
#else
  static constexpr int kAlphaByte = 3;
#endif
};

// One byte with weights in 1/256, each rounded by itself, so that a pair may sum to 257.
struct FixedPixel {
  static constexpr int kBytes = 1;

  void fill(uint8_t*, int) const {}
  void write(uint8_t* to, const Taps& taps, Fraction f) const {
    const uint32_t right = weight(f.x), left = weight(kPositionOne - f.x);
    const uint32_t lower = weight(f.y), upper = weight(kPositionOne - f.y);
    const uint32_t upper_sum = *taps.upper_left * left + *taps.upper_right * right;
    const uint32_t lower_sum = *taps.lower_left * left + *taps.lower_right * right;
    *to = limited((upper_sum * upper + lower_sum * lower + 32768) >> 16);
  }

 private:
  static uint32_t weight(int64_t fraction) { return static_cast<uint32_t>((fraction + 256) >> 9); }
};

}  // namespace SKEW_LANES
}  // namespace skew
