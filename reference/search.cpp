#include "reference/search.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "include/skewcorrection/tables.h"

namespace skew::reference {
namespace {

struct Search {
  uint16_t* points;  // pairs of table offsets: y * 256, x * 256
  int count;
  uint16_t* histograms[4];  // rows for +a, rows for -a, columns for +a, columns for -a
  int half;

  void clear() {
    for (uint16_t* histogram : histograms) std::memset(histogram, 0, 2 * half * sizeof(uint16_t));
  }
  double score(int rows, int columns) const {
    return get_variance(histograms[rows], 2 * half) * get_variance(histograms[columns], 2 * half);
  }
};

void count_both_signs(Search& s, int a) {
  s.clear();
  for (int i = 0; i < s.count; ++i) {
    const int y = s.points[2 * i] + a, x = s.points[2 * i + 1] + a;
    const int cos_x = A_tCos_256_226[x], sin_x = A_tSin_256_226[x];
    const int cos_y = A_tCos_256_226[y], sin_y = A_tSin_256_226[y];
    ++s.histograms[0][cos_y - sin_x + s.half];
    ++s.histograms[1][cos_y + sin_x + s.half];
    ++s.histograms[2][cos_x + sin_y + s.half];
    ++s.histograms[3][cos_x - sin_y + s.half];
  }
}

void scan(Search& s, const uint8_t* edge, int stride, const ImgROI& roi) {
  s.clear();
  for (int y = 0; y <= roi.bottom - roi.top; ++y)
    for (int x = 0; x <= roi.right - roi.left; ++x) {
      if (edge[int64_t{roi.top + y} * stride + roi.left + x] == 0) continue;
      s.points[2 * s.count] = static_cast<uint16_t>(y * 256);
      s.points[2 * s.count + 1] = static_cast<uint16_t>(x * 256);
      ++s.count;
      ++s.histograms[0][y + s.half];
      ++s.histograms[2][x + s.half];
    }
}

int best_index(Search& s) {
  double best = s.score(0, 2);
  int best_index = 0;
  for (int a = 5; a <= 225; a += 5) {
    count_both_signs(s, a);
    const double plus = s.score(0, 2), minus = s.score(1, 3);
    if (plus > best) best = plus, best_index = a;
    if (minus > best) best = minus, best_index = -a;
  }
  const int low = best_index - 4 < -225 ? -225 : best_index - 4;
  const int high = best_index + 4 > 225 ? 225 : best_index + 4;
  for (int a = low; a <= high; ++a) {
    count_both_signs(s, a < 0 ? -a : a);
    const double score = a < 0 ? s.score(1, 3) : s.score(0, 2);
    if (score > best) best = score, best_index = a;
  }
  return best_index;
}

}  // namespace

double get_variance(const uint16_t* histogram, int bins) {
  double sum = 0;
  for (int i = 0; i < bins; ++i) {
    const double count = histogram[i];
    sum += count * count;
  }
  return sum;
}

double one_step_search(const uint8_t* edge, int stride, ImgROI roi) {
  const int width = roi.right - roi.left + 1, height = roi.bottom - roi.top + 1;
  Search s = {};
  s.half = static_cast<int>(std::sqrt(width * width + height * height)) + 1;
  s.points = static_cast<uint16_t*>(std::malloc(size_t{4} * width * height));
  for (auto& histogram : s.histograms)
    histogram = static_cast<uint16_t*>(std::malloc(2 * s.half * sizeof(uint16_t)));
  scan(s, edge, stride, roi);
  const double angle = s.count < 64 ? 0.0 : best_index(s) * 0.2;
  for (uint16_t* histogram : s.histograms) std::free(histogram);
  std::free(s.points);
  return angle;
}

}  // namespace skew::reference
