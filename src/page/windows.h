// What the parts of a page say on their own.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/buffer.h"
#include "skew/one_step_search.h"

namespace skew {

constexpr int kQuarterTurn = 450;  // angle indices, 0.2 degree each

struct Window {
  ImgROI box = {};
  OneStepResult result;
};

struct Windows {
  Buffer<Window> list;
  int count = 0;
};

// Measures windows of 256 x 256 pixels at half overlap, those that hold enough points, until eight or more and four
// fifths of them say the same. Returns SKEW_OK or SKEW_NO_WORKING_MEMORY.
int measure_windows(const uint8_t* edges, int width, int height, ptrdiff_t stride, Windows* windows);

// The angle indices, from -225 to 225, that most windows agree on, each counting by its points: the best
// first, then what remains when the windows near the ones before are left out. Returns how many there are.
constexpr int kCandidates = 3;
int find_candidates(const Windows& windows, int candidates[kCandidates]);

// How far two angles lie apart that count up to quarter turns, degrees.
double quarter_distance(double a, double b);

}  // namespace skew
