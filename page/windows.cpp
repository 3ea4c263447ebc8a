#include "page/windows.h"

#include <cmath>

namespace skew {
namespace {

constexpr int kWindowSide = 256;  // pixels; the one-step search reaches no further
constexpr size_t kEnoughPoints = 400;
constexpr size_t kFewPoints = 100;  // where no window has enough
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

void keep_windows_with(size_t points, Windows* windows, int measured) {
  windows->count = 0;
  for (int i = 0; i < measured; ++i)
    if (windows->list[i].result.points >= points) windows->list[windows->count++] = windows->list[i];
}

int index_distance(int a, int b) {
  const int distance = a < b ? b - a : a - b;
  return distance < kQuarterTurn - distance ? distance : kQuarterTurn - distance;
}

}  // namespace

int measure_windows(const uint8_t* edges, int width, int height, ptrdiff_t stride, Windows* windows) {
  const int across = window_count(width), down = window_count(height), count = down * across;
  windows->list = allocate<Window>(count);
  if (!windows->list) return SKEW_NO_WORKING_MEMORY;
  for (int i = 0; i < count; ++i) {
    Window& window = windows->list[i];
    window.box = window_box(window_start(i % across, across, width), window_start(i / across, down, height),
                            width, height);
    const int status = one_step_search(edges, stride, window.box, &window.result);
    if (status != SKEW_OK) return status;
  }
  size_t most = 0;
  for (int i = 0; i < count; ++i)
    if (windows->list[i].result.points > most) most = windows->list[i].result.points;
  keep_windows_with(most >= kEnoughPoints ? kEnoughPoints : kFewPoints, windows, count);
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
