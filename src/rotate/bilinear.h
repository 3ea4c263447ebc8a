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
struct alignas(kVectorBytes) TileRow {
  int32_t offset[kTileColumns];  // of the upper left neighbour, bytes from that of the first pixel
  int32_t x[kTileColumns], y[kTileColumns];           // fractions, 1/2^17
  uint64_t upper[kTileColumns], lower[kTileColumns];  // a left neighbour in the low half, its right one above
};

// The weighted means of kLanes32 bytes, in 1/2^kMeanBits. As blend_byte with finer units: the horizontal weights
// have kMeanBits bits, and the product with the vertical fraction must lose 17 bits where multiply_high takes
// 32, so the fraction is shifted by 14, as far as its sign allows, and the result doubled. What rounding down
// there drops is less than the lowest bit of `upper`, so the whole part stays right.
constexpr int kMeanBits = 23;
constexpr int kHighShift = 14;
constexpr int32_t kHalfMean = 1 << (kMeanBits - 1);

struct Weights {
  Weights(I32 x, I32 y)
      : left((1 << kMeanBits) - (x << (kMeanBits - kPositionBits))),
        right(x << (kMeanBits - kPositionBits)),
        lower(y << kHighShift) {}
  I32 left, right, lower;
};

SKEW_INLINE U32 mean(I32 upper_left, I32 upper_right, I32 lower_left, I32 lower_right, const Weights& weights,
                     int32_t rounding) {
  const I32 upper = upper_left * weights.left + upper_right * weights.right;
  const I32 lower = lower_left * weights.left + lower_right * weights.right;
  const I32 change = multiply_high(lower - upper, weights.lower);
  return (U32)(upper + change + change + rounding);
}

// The three colours of kLanes32 pixels; bits 24 to 31 are zero.
SKEW_INLINE U32 blend_colors(const Pairs& upper, const Pairs& lower, I32 x, I32 y, int32_t rounding) {
  const Weights weights(x, y);
  const auto channel = [&](int shift) {
    const auto bytes = [=](U32 pixels) { return (I32)(pixels >> shift & 255); };
    return mean(bytes(upper.first), bytes(upper.second), bytes(lower.first), bytes(lower.second), weights,
                rounding);
  };
  return (channel(0) >> kMeanBits) | (channel(8) >> (kMeanBits - 8) & 0xFF00u) |
         (channel(16) >> (kMeanBits - 16) & 0xFF0000u);
}

// What the kinds of one byte share. Their pairs lie in one vector: the left neighbour in bits 0 to 7 of a
// lane, the right one in bits 8 to 15.
struct ByteLanes {
  using Pair = U32;
  static uint64_t read_pair(const uint8_t* from) { return load<uint16_t>(from); }
  static Pair load_pair(const uint64_t* from) { return load_pairs(from).first; }
  static void store_pixels(uint8_t* to, U32 low, U32 high) {
    store_narrowed(to, narrowed((I32)low, (I32)high));
  }
#if SKEW_LOOKUP
  // Looks up the pairs of kLanes32 pixels in a source row: at the columns of their left neighbours, counted from
  // that of the first pixel. kColumns columns are read from there. With more row changes than kMostRowChanges
  // from the first pixel to the last, gathering is quicker.
  class Window {
   public:
    static constexpr int kMostRowChanges = kLanes32;
    static constexpr int kColumns = kTableBytes;
    explicit Window(I32 columns) : index_((U8)((U32)columns * 0x0101u + 0x80800100u)) {}
    Pair read(const uint8_t* from) const { return (U32)lookup(load_table(from), index_); }

   private:
    U8 index_;
  };
#endif
};

// What the kinds of three and four bytes share.
struct ColorLanes {
  using Pair = Pairs;
  static Pair load_pair(const uint64_t* from) { return load_pairs(from); }
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
    return mean((I32)(upper & 255), (I32)(upper >> 8), (I32)(lower & 255), (I32)(lower >> 8), Weights(x, y),
                kHalfMean) >>
           kMeanBits;
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
  struct Lanes : ColorLanes {
    static uint64_t read_pair(const uint8_t* from) {
      const auto pair = load<uint64_t>(from);
      return (pair & 0xFFFFFFFFu) | (pair << 8 & 0xFFFFFFFF00000000u);
    }
    SKEW_INLINE static void store_pixels(uint8_t* to, U32 low, U32 high) {
      store_triples(to, low);
      store_triples(to + 3 * kLanes32, high);
    }
#if SKEW_LOOKUP
    class Window {
     public:
      static constexpr int kMostRowChanges = 3 * (kLanes32 + 1) <= kTableBytes ? 1 : -1;
      static constexpr int kColumns = (kTableBytes + 2) / 3;
      explicit Window(I32 columns) : index_((U8)((U32)columns * 0x030303u + 0x80020100u)) {}
      Pair read(const uint8_t* from) const {
        const U8 pixels = load_table(from);
        return {(U32)lookup(pixels, index_), (U32)lookup(pixels, (U8)((U32)index_ + 0x030303u))};
      }

     private:
      U8 index_;
    };
#endif
  };
  SKEW_INLINE static U32 blend(const Pairs& upper, const Pairs& lower, I32 x, I32 y) {
    return blend_colors(upper, lower, x, y, kHalfMean);
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
  struct Lanes : ColorLanes {
    static uint64_t read_pair(const uint8_t* from) { return load<uint64_t>(from); }
    static void store_pixels(uint8_t* to, U32 low, U32 high) {
      store(to, low);
      store(to + kVectorBytes, high);
    }
#if SKEW_LOOKUP
    class Window {
     public:
      static constexpr int kMostRowChanges = 1;
      static constexpr int kColumns = kLanes32 + 1;
      explicit Window(I32 columns) : columns_(columns) {}
      Pair read(const uint8_t* from) const {
        return {permuted(load<U32>(from), columns_), permuted(load<U32>(from + 4), columns_)};
      }

     private:
      I32 columns_;
    };
#endif
  };
  SKEW_INLINE static U32 blend(const Pairs& upper, const Pairs& lower, I32 x, I32 y) {
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
