// Gradient and non-maximum suppression, row by row. A row is suppressed as soon as the gradient of the row
// below it is known, so three rows of magnitudes are all that is ever kept.
#include "skew/edge_map.h"

namespace skew {
inline namespace SKEW_LANES {
namespace {

// Which neighbours a pixel is compared with.
enum Sector : int16_t {
  kAcross = 0,   // left and right
  kRising = 1,   // below-left and above-right
  kUpright = 2,  // above and below
  kFalling = 3   // below-right and above-left
};

// tan 67.5 degrees is 2 + kTangent / 65536. An angle is within 22.5 degrees of an axis when the component
// along the axis is more than that many times the other one.
constexpr int kTangent = 27146;

inline int magnitude_of(int x, int y) { return (x < 0 ? -x : x) + (y < 0 ? -y : y); }

inline Sector sector_of(int x, int y) {
  const int along_x = x < 0 ? -x : x, along_y = y < 0 ? -y : y;
  if (((along_y * kTangent) >> 16) < along_x - 2 * along_y) return kAcross;
  if (((along_x * kTangent) >> 16) < along_y - 2 * along_x) return kUpright;
  return (x < 0) != (y < 0) && x != 0 && y != 0 ? kRising : kFalling;
}

// The gradient of columns x ... end - 1. Magnitudes below the low threshold become 0.
int gradient_row_scalar(const uint8_t* row, ptrdiff_t stride, int x, int end, int low, int16_t* magnitudes,
                        int16_t* sectors) {
  int largest = 0;
  for (; x < end; ++x) {
    const uint8_t *above = row + x - stride, *own = row + x, *below = row + x + stride;
    const int dx = (above[1] + 2 * own[1] + below[1]) - (above[-1] + 2 * own[-1] + below[-1]);
    const int dy = (below[-1] + 2 * below[0] + below[1]) - (above[-1] + 2 * above[0] + above[1]);
    const int magnitude = magnitude_of(dx, dy);
    const bool kept = magnitude >= low;
    magnitudes[x] = static_cast<int16_t>(kept ? magnitude : 0);
    sectors[x] = sector_of(dx, dy);
    if (kept && magnitude > largest) largest = magnitude;
  }
  return largest;
}

struct MagnitudeRows {
  const int16_t *above, *own, *below;
};

inline bool is_local_maximum(const MagnitudeRows& rows, int x, int16_t sector) {
  const int m = rows.own[x];
  switch (sector) {
    case kAcross:
      return m > rows.own[x - 1] && m >= rows.own[x + 1];
    case kUpright:
      return m > rows.above[x] && m >= rows.below[x];
    case kRising:
      return m > rows.below[x - 1] && m > rows.above[x + 1];
    default:
      return m > rows.below[x + 1] && m > rows.above[x - 1];
  }
}

// The 64 columns from x on.
void suppress_word_scalar(const MagnitudeRows& rows, const int16_t* sectors, int x, int low, int high,
                          uint64_t* candidates, uint64_t* edges) {
  uint64_t passed = 0, strong = 0;
  for (int b = 0; b < 64; ++b) {
    const int m = rows.own[x + b];
    if (m <= low || !is_local_maximum(rows, x + b, sectors[x + b])) continue;
    passed |= uint64_t{1} << b;
    if (m > high) strong |= uint64_t{1} << b;
  }
  *candidates = passed;
  *edges = strong;
}

}  // namespace

int mark_candidates(const GradientPass& pass) {
  const size_t row_size = work_row_size(pass.width), words = pass.bits.words;
  const auto magnitudes = [&](int y) { return pass.work + y % 3 * row_size + kWorkMargin; };
  const auto sectors = [&](int y) { return pass.work + (3 + y % 2) * row_size + kWorkMargin; };
  std::memset(magnitudes(0), 0, words * 64 * sizeof(int16_t));  // an earlier pass may have used it
  int largest = 0;
  for (int y = 1; y < pass.height; ++y) {
    if (y < pass.height - 1) {
      const int found = gradient_row_scalar(pass.source + y * pass.stride, pass.stride, 1, pass.width - 1,
                                            pass.low, magnitudes(y), sectors(y));
      if (found > largest) largest = found;
    } else {
      std::memset(magnitudes(y), 0, words * 64 * sizeof(int16_t));
    }
    if (y < 2) continue;
    const MagnitudeRows rows = {magnitudes(y - 2), magnitudes(y - 1), magnitudes(y)};
    const size_t first = (y - 1) * words;
    for (size_t i = 0; i < words; ++i)
      suppress_word_scalar(rows, sectors(y - 1), static_cast<int>(64 * i), pass.low, pass.high,
                           &pass.bits.candidates[first + i], &pass.bits.edges[first + i]);
  }
  return largest;
}

}  // namespace SKEW_LANES
}  // namespace skew
