// How four neighbouring pixels become one, for each kind of pixel.
//
// A kind says how many bytes a pixel has, what a pixel without a source becomes, and how the four neighbours
// are weighted: in write() for one pixel at any position that has a value, which is the definition, and in
// blend() for kLanes32 pixels whose fractions lie between 0 and 1. Their neighbours come in pairs, left and
// right: gathered one by one or, for pixels of one byte, looked up in the few rows that neighbouring pixels
// share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/simd.h"
#include "rotate/geometry.h"

namespace skew {
inline namespace SKEW_LANES {

struct Taps {
  const uint8_t *upper_left, *upper_right, *lower_left, *lower_right;
};

// In 1/2^17. Between -1 and 0 at the upper and left border, where the neighbours are extrapolated.
struct Fraction {
  int32_t x, y;
};

inline uint8_t limited(int64_t value) {
  return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// The weighted mean of byte k of the taps, limited to a byte. The sum is in 1/2^34, as is the rounding term;
// all of it fits 44 bits.
inline uint8_t blend_byte(const Taps& taps, int k, Fraction f, int64_t rounding) {
  const int upper_left = taps.upper_left[k], lower_left = taps.lower_left[k];
  const int64_t upper = upper_left * kPositionOne + int64_t{taps.upper_right[k] - upper_left} * f.x;
  const int64_t lower = lower_left * kPositionOne + int64_t{taps.lower_right[k] - lower_left} * f.x;
  return limited((upper * kPositionOne + (lower - upper) * f.y + rounding) >> (2 * kPositionBits));
}

constexpr int64_t kHalf = int64_t{1} << (2 * kPositionBits - 1);

#if SKEW_SIMD

constexpr int kTileColumns = 128;

// Some pixels of one row of a tile whose neighbours are gathered one by one.
struct alignas(32) TileRow {
  int32_t offset[kTileColumns];  // of the upper left neighbour, bytes from that of the first pixel
  int32_t x[kTileColumns], y[kTileColumns];           // fractions, 1/2^17
  uint64_t upper[kTileColumns], lower[kTileColumns];  // a left neighbour in the low half, its right one above
};

constexpr int kHighShift = 9;  // of a vertical fraction for blend_lanes
constexpr int32_t kHalfLane = 1 << (kPositionBits - 1);

// The means of kLanes32 bytes. As blend_byte, with the sum divided by 2^17 in passing: the upper mean is then
// a whole number, and of its product with the vertical fraction, 42 bits, multiply_high keeps those above
// 2^17: 32 - 17 = 15 bits are made up by shifting the factors, by 6 and by kHighShift.
inline I32 blend_lanes(I32 upper_left, I32 upper_right, I32 lower_left, I32 lower_right, I32 x, I32 y_high,
                       int32_t rounding) {
  const I32 upper = (upper_left << kPositionBits) + (upper_right - upper_left) * x;
  const I32 lower = (lower_left << kPositionBits) + (lower_right - lower_left) * x;
  return (upper + multiply_high((lower - upper) << 6, y_high) + rounding) >> kPositionBits;
}

// The three colours of kLanes32 pixels; bits 24 to 31 are zero.
inline U32 blend_colors(const Pairs& upper, const Pairs& lower, I32 x, I32 y, int32_t rounding) {
  const I32 y_high = y << kHighShift;
  U32 pixels = {};
  for (int shift = 0; shift < 24; shift += 8) {
    const auto channel = [=](U32 all) { return (I32)((all >> shift) & 255); };
    pixels |= (U32)blend_lanes(channel(upper.first), channel(upper.second), channel(lower.first),
                               channel(lower.second), x, y_high, rounding)
              << shift;
  }
  return pixels;
}

// What the kinds of one byte share. Their pairs lie in one vector: the left neighbour in bits 0 to 7 of a
// lane, the right one in bits 8 to 15.
struct ByteLanes {
  using Pair = U32;
  static uint64_t read_pair(const uint8_t* from) {
    uint16_t pair;
    std::memcpy(&pair, from, 2);
    return pair;
  }
  static Pair load_pair(const uint64_t* from) { return load_pairs(from).first; }
  static void store_pixels(uint8_t* to, U32 low, U32 high) {
    store_narrowed(to, narrowed((I32)low, (I32)high));
  }
#if SKEW_LOOKUP
  // Byte numbers for look_up, from columns 0 ... kLanes32 - 1.
  static U8 lookup_index(I32 columns) { return (U8)((U32)columns * 0x0101u + 0x80800100u); }
  static Pair look_up(const uint8_t* from, U8 index) { return (U32)lookup(load_repeated(from), index); }
#endif
};

#endif  // SKEW_SIMD

// One byte, rounded to nearest, halves up.
struct GrayPixel {
  static constexpr int kBytes = 1;
  static constexpr int kMargin = 0;  // columns at the right that reading pairs must leave
  uint32_t fill_value;

  void fill(uint8_t* to, int count) const {
    std::memset(to, static_cast<int>(fill_value & 255), static_cast<size_t>(count));
  }
  void write(uint8_t* to, const Taps& taps, Fraction f) const { *to = blend_byte(taps, 0, f, kHalf); }

#if SKEW_SIMD
  using Lanes = ByteLanes;
  static U32 blend(U32 upper, U32 lower, I32 x, I32 y) {
    return (U32)blend_lanes((I32)(upper & 255), (I32)(upper >> 8), (I32)(lower & 255), (I32)(lower >> 8), x,
                            y << kHighShift, kHalfLane);
  }
#endif
};

// Three bytes, each rounded to nearest, halves up.
struct RgbPixel {
  static constexpr int kBytes = 3;
  static constexpr int kMargin = 1;  // a pair is read as eight bytes
  uint32_t fill_value;

  void fill(uint8_t* to, int count) const {
    for (int i = 0; i < count; ++i, to += 3)
      for (int k = 0; k < 3; ++k) to[k] = static_cast<uint8_t>(fill_value >> (8 * k));
  }
  void write(uint8_t* to, const Taps& taps, Fraction f) const {
    for (int k = 0; k < 3; ++k) to[k] = blend_byte(taps, k, f, kHalf);
  }

#if SKEW_SIMD
  struct Lanes {
    using Pair = Pairs;
    static uint64_t read_pair(const uint8_t* from) {
      uint64_t pair;
      std::memcpy(&pair, from, 8);
      return (pair & 0xFFFFFFFFu) | (pair << 8 & 0xFFFFFFFF00000000u);
    }
    static Pair load_pair(const uint64_t* from) { return load_pairs(from); }
    static void store_pixels(uint8_t* to, U32 low, U32 high) {
      store_triples(to, low);
      store_triples(to + 3 * kLanes32, high);
    }
  };
  static U32 blend(const Pairs& upper, const Pairs& lower, I32 x, I32 y) {
    return blend_colors(upper, lower, x, y, kHalfLane);
  }

 private:
  // The low three bytes of each lane.
  static void store_triples(uint8_t* to, U32 pixels) {
#if SKEW_LOOKUP
    const uint8_t packing[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 128, 128, 128, 128};
    uint8_t bytes[kVectorBytes];
    store(bytes, lookup((U8)pixels, load_repeated(packing)));
    for (int i = 0; i < kVectorBytes; i += 16) std::memcpy(to + i / 4 * 3, bytes + i, 12);
#else
    for (int i = 0; i < kLanes32; ++i, to += 3) {
      const uint32_t pixel = pixels[i];
      std::memcpy(to, &pixel, 3);
    }
#endif
  }
#endif
};

// A 32-bit integer: the three colours rounded down, alpha taken from the upper left neighbour.
struct ArgbPixel {
  static constexpr int kBytes = 4;
  static constexpr int kMargin = 0;
  uint32_t fill_value;

  void fill(uint8_t* to, int count) const {
    for (int i = 0; i < count; ++i) std::memcpy(to + 4 * i, &fill_value, 4);
  }
  void write(uint8_t* to, const Taps& taps, Fraction f) const {
    for (int k = 0; k < 3; ++k) to[k] = blend_byte(taps, k, f, 0);
    to[3] = taps.upper_left[3];
  }

#if SKEW_SIMD
  struct Lanes {
    using Pair = Pairs;
    static uint64_t read_pair(const uint8_t* from) {
      uint64_t pair;
      std::memcpy(&pair, from, 8);
      return pair;
    }
    static Pair load_pair(const uint64_t* from) { return load_pairs(from); }
    static void store_pixels(uint8_t* to, U32 low, U32 high) {
      store(to, low);
      store(to + kVectorBytes, high);
    }
  };
  static U32 blend(const Pairs& upper, const Pairs& lower, I32 x, I32 y) {
    return blend_colors(upper, lower, x, y, 0) | (upper.first & 0xFF000000u);
  }
#endif
};

// One byte with weights in 1/256, each rounded by itself, so that a pair may sum to 257.
struct FixedPixel {
  static constexpr int kBytes = 1;
  static constexpr int kMargin = 0;

  void fill(uint8_t*, int) const {}
  void write(uint8_t* to, const Taps& taps, Fraction f) const {
    const uint32_t right = weight(f.x), left = weight(kPositionOne - f.x);
    const uint32_t lower = weight(f.y), upper = weight(kPositionOne - f.y);
    const uint32_t upper_sum = *taps.upper_left * left + *taps.upper_right * right;
    const uint32_t lower_sum = *taps.lower_left * left + *taps.lower_right * right;
    *to = limited((upper_sum * upper + lower_sum * lower + 32768) >> 16);
  }

#if SKEW_SIMD
  using Lanes = ByteLanes;
  static U32 blend(U32 upper, U32 lower, I32 x, I32 y) {
    constexpr int32_t kOne = 1 << kPositionBits;
    const U32 right = weights(x), left = weights(kOne - x);
    const U32 upper_sum = (upper & 255) * left + (upper >> 8) * right;
    const U32 lower_sum = (lower & 255) * left + (lower >> 8) * right;
    const U32 sum = (upper_sum * weights(kOne - y) + lower_sum * weights(y) + 32768) >> 16;
    return select(sum > 255, U32{} + 255, sum);
  }
#endif

 private:
  static uint32_t weight(int64_t fraction) { return static_cast<uint32_t>((fraction + 256) >> 9); }
#if SKEW_SIMD
  static U32 weights(I32 fraction) { return (U32)((fraction + 256) >> 9); }
#endif
};

}  // namespace SKEW_LANES
}  // namespace skew
