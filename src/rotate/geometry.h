// Where each destination pixel of a rotation takes its value from.
//
// A source position is a whole number of 1/2^17 pixel: sines and cosines are multiples of 1/65536, and the
// centre of an image lies on a multiple of half a pixel. So positions are exact and need no rounding rule.
// They are held in 64 bits, since those of large images exceed 32.
#pragma once

#include <cstddef>
#include <cstdint>

namespace skew {

constexpr int kPositionBits = 17;
constexpr int64_t kPositionOne = int64_t{1} << kPositionBits;

struct Turn {
  int32_t sine, cosine;  // 1/65536; the sine has the sign of the angle
};

struct Size {
  int width, height;
};

// Which positions have a value, and how the outermost ones get it.
enum class Border {
  kExtrapolated,  // -1 < X < width - 1: between -1 and 0 the first two columns are extended
  kInner,         // 0 <= X < width - 1
  kClamped        // -1/2 <= X < width - 1/2: the outer columns are repeated
};

// The position for destination pixel (x, y) is (origin_x + x * step_x - y * step_y,
// origin_y + x * step_y + y * step_x).
struct Rotation {
  Size source, destination;
  int64_t origin_x, origin_y;
  int32_t step_x, step_y;  // the cosine and the sine, in 1/2^17
  Border border;
};

// Turns about the common centre of the source and a destination that may have another size.
Rotation rotation_about_centre(Size source, Size destination, Turn turn, Border border);

struct Columns {
  int begin, end;  // half-open
};

// The columns of one destination row that have a value, and those among them whose four neighbours all lie in
// the source, a margin away from its right side, with fractions between 0 and 1. Both are single runs, the
// second within the first.
struct Runs {
  Columns valued, inner;
};

// The runs of row y among the columns of the band; the margin is in columns.
Runs find_runs(const Rotation& rotation, int y, int margin, Columns band);

// Sine and cosine of any angle within -180 ... 180 degrees, each rounded to 1/65536, with the same result on
// every processor and C library. The angle must be finite and in range.
Turn turn_by(double degrees);

}  // namespace skew
