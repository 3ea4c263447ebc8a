// Gradient and non-maximum suppression, row by row. A row is suppressed as soon as the gradient of the row
// below it is known, so three rows of magnitudes are all that is ever kept.
#include "skew/edge_map.h"

namespace skew {
namespace {

// Which neighbours a pixel is compared with.
constexpr int16_t kAcross = 0;   // left and right
constexpr int16_t kRising = 1;   // below-left and above-right
constexpr int16_t kUpright = 2;  // above and below
constexpr int16_t kFalling = 3;  // below-right and above-left

// tan 67.5 degrees is 2 + kTangent / 65536. An angle is within 22.5 degrees of an axis when the component
// along the axis is more than that many times the other one.
constexpr int kTangent = 27146;

#if SKEW_SIMD
constexpr int kLargestLanes = kLanes16;
#else
constexpr int kLargestLanes = 1;
#endif

inline int16_t sector_of(int dx, int dy) {
  const int ax = dx < 0 ? -dx : dx, ay = dy < 0 ? -dy : dy;
  if (((ay * kTangent) >> 16) < ax - 2 * ay) return kAcross;
  if (((ax * kTangent) >> 16) < ay - 2 * ax) return kUpright;
  return (dx ^ dy) < 0 ? kRising : kFalling;  // neither is 0 here, unless both are
}

// The largest magnitude of a pass, lane by lane: the lanes take turns in no order that matters.
struct Largest {
  int16_t lanes[kLargestLanes] = {};

  int value() const {
    int largest = 0;
    for (const int16_t lane : lanes) largest = lane > largest ? lane : largest;
    return largest;
  }
};

// The gradient of a row, from the rows `stride` bytes around it. Magnitudes below the low threshold become 0,
// and where whole vectors of them do the sectors are left as they are: nobody will ask.
struct GradientRow {
  const uint8_t* source;
  ptrdiff_t stride;
  int low;
  int16_t *magnitudes, *sectors;
};

void gradient_scalar(const GradientRow& row, int x, int end, Largest* largest) {
  for (; x < end; ++x) {
    const uint8_t *own = row.source + x, *above = own - row.stride, *below = own + row.stride;
    const int dx = (above[1] + 2 * own[1] + below[1]) - (above[-1] + 2 * own[-1] + below[-1]);
    const int dy = (below[-1] + 2 * below[0] + below[1]) - (above[-1] + 2 * above[0] + above[1]);
    const int sum = (dx < 0 ? -dx : dx) + (dy < 0 ? -dy : dy);
    const int16_t magnitude = static_cast<int16_t>(sum < row.low ? 0 : sum);
    row.magnitudes[x] = magnitude;
    row.sectors[x] = sector_of(dx, dy);
    if (magnitude > largest->lanes[0]) largest->lanes[0] = magnitude;
  }
}

#if SKEW_SIMD

struct Gradient {
  I16 dx, dy, magnitude;
};

inline Gradient gradient_at(const uint8_t* own, ptrdiff_t stride) {
  const auto pixels = [](const uint8_t* from) { return (I16)load_widened(from); };
  const uint8_t *above = own - stride, *below = own + stride;
  const I16 falling = pixels(below + 1) - pixels(above - 1), rising = pixels(above + 1) - pixels(below - 1);
  const I16 across = pixels(own + 1) - pixels(own - 1), upright = pixels(below) - pixels(above);
  const I16 dx = falling + rising + across + across, dy = falling - rising + upright + upright;
  return {dx, dy, maximum(dx, -dx) + maximum(dy, -dy)};
}

inline I16 sectors_of(const Gradient& gradient) {
  const I16 ax = maximum(gradient.dx, -gradient.dx), ay = maximum(gradient.dy, -gradient.dy);
  const I16 across = (I16)(multiply_high<kTangent>(ay) < ax - ay - ay);
  const I16 upright = (I16)(multiply_high<kTangent>(ax) < ay - ax - ax);
  const I16 rising = (I16)((gradient.dx ^ gradient.dy) < 0);
  return ~across & (kFalling + select(upright, upright, rising + rising));
}

// kLanes8 columns at a time; the last ones overlap those before them.
void gradient_vectors(const GradientRow& row, int x, int end, Largest* largest) {
  const int16_t below_low = static_cast<int16_t>(row.low - 1);
  I16 most = load<I16>(largest->lanes);
  while (x < end) {
    if (x > end - kLanes8) x = end - kLanes8;
    const Gradient first = gradient_at(row.source + x, row.stride);
    const Gradient second = gradient_at(row.source + x + kLanes16, row.stride);
    const I16 kept1 = (I16)(first.magnitude > below_low), kept2 = (I16)(second.magnitude > below_low);
    const I16 magnitude1 = first.magnitude & kept1, magnitude2 = second.magnitude & kept2;
    store(row.magnitudes + x, magnitude1);
    store(row.magnitudes + x + kLanes16, magnitude2);
    if (mask_bits(kept1, kept2) != 0) {
      store(row.sectors + x, sectors_of(first));
      store(row.sectors + x + kLanes16, sectors_of(second));
      most = maximum(most, maximum(magnitude1, magnitude2));
    }
    x += kLanes8;
  }
  store(largest->lanes, most);
}

#endif

void gradient_row(const GradientRow& row, int x, int end, Largest* largest) {
#if SKEW_SIMD
  if (end - x >= kLanes8) return gradient_vectors(row, x, end, largest);
#endif
  gradient_scalar(row, x, end, largest);
}

struct SuppressionRows {
  const int16_t *above, *own, *below;  // magnitudes
  const int16_t* sectors;
};

struct WordBits {
  uint64_t candidates, edges;
};

#if SKEW_SIMD

// All ones where a magnitude is a local maximum across its edge.
inline I16 local_maxima(const SuppressionRows& rows, int x) {
  const auto at = [x](const int16_t* row, int offset) { return load<I16>(row + x + offset); };
  const I16 sectors = at(rows.sectors, 0), own = at(rows.own, 0);
  const I16 across = (I16)(sectors == kAcross), upright = (I16)(sectors == kUpright);
  const I16 rising = (I16)(sectors == kRising);
  const I16 diagonal_before = select(rising, at(rows.below, -1), at(rows.above, -1));
  const I16 diagonal_behind = select(rising, at(rows.above, 1), at(rows.below, 1));
  const I16 before = select(across, at(rows.own, -1), select(upright, at(rows.above, 0), diagonal_before));
  const I16 behind = select(across, at(rows.own, 1), select(upright, at(rows.below, 0), diagonal_behind));
  // On the axes a neighbour behind may be equal: then one less is compared.
  return (I16)(own > before) & (I16)(own > behind + (across | upright));
}

// The 64 columns from x on.
inline WordBits suppressed_word(const SuppressionRows& rows, int x, int low, int high) {
  const int16_t low_lane = static_cast<int16_t>(low), high_lane = static_cast<int16_t>(high);
  WordBits word = {0, 0};
  for (int b = 0; b < 64; b += kLanes8, x += kLanes8) {
    const I16 first = load<I16>(rows.own + x), second = load<I16>(rows.own + x + kLanes16);
    const I16 above1 = (I16)(first > low_lane), above2 = (I16)(second > low_lane);
    if (mask_bits(above1, above2) == 0) continue;
    const I16 passed1 = above1 & local_maxima(rows, x), passed2 = above2 & local_maxima(rows, x + kLanes16);
    const I16 strong1 = passed1 & (I16)(first > high_lane), strong2 = passed2 & (I16)(second > high_lane);
    word.candidates |= static_cast<uint64_t>(mask_bits(passed1, passed2)) << b;
    word.edges |= static_cast<uint64_t>(mask_bits(strong1, strong2)) << b;
  }
  return word;
}

#else

inline bool is_local_maximum(const SuppressionRows& rows, int x) {
  const int m = rows.own[x];
  switch (rows.sectors[x]) {
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
inline WordBits suppressed_word(const SuppressionRows& rows, int x, int low, int high) {
  WordBits word = {0, 0};
  for (int b = 0; b < 64; ++b) {
    const int m = rows.own[x + b];
    if (m <= low || !is_local_maximum(rows, x + b)) continue;
    word.candidates |= uint64_t{1} << b;
    if (m > high) word.edges |= uint64_t{1} << b;
  }
  return word;
}

#endif

int mark_candidates(const GradientPass& pass) {
  const ptrdiff_t words = pass.bits.words;
  const auto magnitudes = [&](int y) { return pass.work + y % 3 * pass.work_row + kWorkMargin; };
  const auto sectors = [&](int y) { return pass.work + (3 + y % 2) * pass.work_row + kWorkMargin; };
  Largest largest;
  std::memset(magnitudes(0), 0, words * 64 * sizeof(int16_t));  // an earlier pass may have used it
  for (int y = 1; y < pass.height; ++y) {
    const GradientRow gradient = {pass.source + y * pass.stride, pass.stride, pass.low, magnitudes(y),
                                  sectors(y)};
    if (y < pass.height - 1) {
      gradient_row(gradient, 1, pass.width - 1, &largest);
    } else {
      std::memset(magnitudes(y), 0, words * 64 * sizeof(int16_t));
    }
    if (y < 2) continue;
    const SuppressionRows rows = {magnitudes(y - 2), magnitudes(y - 1), magnitudes(y), sectors(y - 1)};
    const ptrdiff_t first = (y - 1) * words;
    for (ptrdiff_t i = 0; i < words; ++i) {
      const WordBits word = suppressed_word(rows, static_cast<int>(64 * i), pass.low, pass.high);
      pass.bits.candidates[first + i] = word.candidates;
      pass.bits.edges[first + i] = word.edges;
    }
  }
  return largest.value();
}

}  // namespace

SKEW_FORM(EdgeKernels) = {mark_candidates};

}  // namespace skew
