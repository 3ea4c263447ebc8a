#include "page/windows.h"

#include <cmath>

namespace skew {
namespace {

constexpr int kWindowSide = 256;  // pixels; the one-step search reaches no further
constexpr size_t kEnoughPoints = 400;
constexpr size_t kFewPoints = 100;  // where no window has enough
constexpr int kNear = 2;            // angle indices between windows that say the same
constexpr int kSettled = 8;         // windows, and four fifths of those with enough points
constexpr int kVoteReach = 4;       // angle indices; a window votes for its angle and, less, for those nearby

// Windows along a side: the first at its start, the last at its end, half a window apart or less.
int window_count(int length) {
  return length <= kWindowSide ? 1 : 1 + (length - kWindowSide + kWindowSide / 2 - 1) / (kWindowSide / 2);
}

int window_start(int index, int count, int length) {
  return count == 1 ? 0 : index * (length - kWindowSide) / (count - 1);
}

ImgROI window_box(int left, int top, int width, int height) {
  const auto last = [](int start, int length) {
    return static_cast<uint16_t>((start + kWindowSide < length ? start + kWindowSide : length) - 1);
  };
  ImgROI box = {};
  box.left = static_cast<uint16_t>(left);
  box.right = last(left, width);
  box.top = static_cast<uint16_t>(top);
  box.bottom = last(top, height);
  return box;
}

// Angle indices count up to quarter turns.
int index_distance(int a, int b) {
  const int distance = a < b ? b - a : a - b;
  return distance < kQuarterTurn - distance ? distance : kQuarterTurn - distance;
}

// Where some windows have enough points, those that have only a few do not count.
void drop_thin_windows(Windows* windows) {
  bool enough = false;
  for (int i = 0; i < windows->count; ++i) enough = enough || windows->list[i].result.points >= kEnoughPoints;
  int kept = 0;
  for (int i = 0; i < windows->count; ++i)
    if (!enough || windows->list[i].result.points >= kEnoughPoints) windows->list[kept++] = windows->list[i];
  windows->count = kept;
}

// True when so many well-filled windows already say the same that the rest need not be asked.
bool is_settled(const Windows& windows) {
  int most = 0, filled = 0;
  for (int i = 0; i < windows.count; ++i) {
    if (windows.list[i].result.points < kEnoughPoints) continue;
    ++filled;
    int near = 0;
    for (int k = 0; k < windows.count; ++k)
      near += windows.list[k].result.points >= kEnoughPoints &&
              index_distance(windows.list[i].result.angle_index, windows.list[k].result.angle_index) <= kNear;
    if (near > most) most = near;
  }
  return most >= kSettled && 5 * most >= 4 * filled;
}

}  // namespace

// A number without a common divisor with count, near its golden section: steps of it visit all windows, the first
// few far from each other.
int spread_step(int count) {
  for (int step = count * 618 / 1000 + 1;; ++step) {
    int a = count, b = step;
    while (b != 0) {
      const int rest = a % b;
      a = b;
      b = rest;
    }
    if (a == 1) return step;
  }
}

int measure_windows(const uint8_t* edges, int width, int height, ptrdiff_t stride, Windows* windows) {
  const int across = window_count(width), down = window_count(height), all = across * down;
  *windows = Windows();
  windows->list = allocate<Window>(down, across);
  if (!windows->list) return SKEW_NO_WORKING_MEMORY;
  const int step = spread_step(all);
  for (int n = 0, i = 0; n < all; ++n, i = (i + step) % all) {
    Window window;
    window.box = window_box(window_start(i % across, across, width), window_start(i / across, down, height),
                            width, height);
    const int status = one_step_search(edges, stride, window.box, &window.result);
    if (status != SKEW_OK) return status;
    if (window.result.points >= kFewPoints) windows->list[windows->count++] = window;
    if (n % 4 == 3 && is_settled(*windows)) break;
  }
  drop_thin_windows(windows);
  return SKEW_OK;
}

int find_candidates(const Windows& windows, int candidates[kCandidates]) {
  double votes[kQuarterTurn] = {};
  for (int i = 0; i < windows.count; ++i) {
    const OneStepResult& result = windows.list[i].result;
    for (int d = -kVoteReach; d <= kVoteReach; ++d) {
      const int index = (result.angle_index + d + kQuarterTurn) % kQuarterTurn;
      votes[index] += (kVoteReach + 1 - (d < 0 ? -d : d)) * static_cast<double>(result.points);
    }
  }
  int found = 0;
  while (found < kCandidates) {
    int best = 0;
    for (int i = 1; i < kQuarterTurn; ++i)
      if (votes[i] > votes[best]) best = i;
    if (votes[best] == 0) break;
    for (int i = 0; i < kQuarterTurn; ++i)
      if (index_distance(i, best) <= 2 * kVoteReach) votes[i] = 0;
    candidates[found++] = best > kQuarterTurn / 2 ? best - kQuarterTurn : best;
  }
  return found;
}

double quarter_distance(double a, double b) {
  const double distance = std::fabs(a - b);
  return distance > 45 ? std::fabs(distance - 90) : distance;
}

}  // namespace skew
