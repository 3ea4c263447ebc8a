#include "reference/three_step.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "reference/search.h"

namespace skew::reference {
namespace {

struct Work {
  int w, h, half, count;
  uint16_t *points, *p, *m;  // pairs y, x; differences; sums

  Work(const uint8_t* edge, int width, const ImgROI& roi, bool vertical)
      : w(roi.right - roi.left + 1), h(roi.bottom - roi.top + 1), count(0) {
    half = static_cast<int>(std::sqrt(w * w + h * h)) + 3;
    points = static_cast<uint16_t*>(std::malloc(size_t{4} * w * h));
    p = static_cast<uint16_t*>(std::calloc(2 * half, 2));
    m = static_cast<uint16_t*>(std::calloc(2 * half, 2));
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        if (edge[int64_t{roi.top + y} * ((width + 3) & ~3) + roi.left + x] == 0) continue;
        points[2 * count] = static_cast<uint16_t>(y);
        points[2 * count + 1] = static_cast<uint16_t>(x);
        ++count;
        ++p[(vertical ? x : y) + half];
      }
  }
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  ~Work() {
    std::free(points);
    std::free(p);
    std::free(m);
  }
  void clear(uint16_t* histogram) const { std::memset(histogram, 0, size_t{4} * half); }
  double score(const uint16_t* histogram) const { return get_variance(histogram, 2 * half); }
};

}  // namespace

ThreeSteps three_steps_horizontal(const uint8_t* edge, int width, ImgROI roi, const uint16_t* coarse_sin,
                                  const uint16_t* coarse_cos, const uint16_t* fine_sin,
                                  const uint16_t* fine_cos) {
  Work v(edge, width, roi, false);
  const double zero = v.score(v.p);
  if (std::fabs(zero) < 0.001) return {0.0, zero};

  double best = zero;
  int step = 0;
  for (int k = 1; k <= 39; ++k) {
    v.clear(v.p);
    v.clear(v.m);
    for (int i = 0; i < v.count; ++i) {
      const int c = coarse_cos[k * v.h + v.points[2 * i]], s = coarse_sin[k * v.w + v.points[2 * i + 1]];
      ++v.p[c - s + v.half];
      ++v.m[c + s];
    }
    const double plus = v.score(v.p), minus = v.score(v.m);
    if (plus > best) best = plus, step = k;
    if (minus > best) best = minus, step = -k;
  }
  if (step == 39 || step == -39) return {static_cast<double>(step), best};

  int row = 5 * step;
  double fine = zero;
  const auto try_row = [&](int r) {
    uint16_t* histogram = step > 0 ? v.p + v.half : v.m;
    v.clear(step > 0 ? v.p : v.m);
    for (int i = 0; i < v.count; ++i) {
      const int c = fine_cos[r * v.h + v.points[2 * i]], s = fine_sin[r * v.w + v.points[2 * i + 1]];
      ++histogram[step > 0 ? c - s : c + s];
    }
    const double score = v.score(step > 0 ? v.p : v.m);
    if (score > fine) fine = score, row = step > 0 ? r : -r;
  };
  if (step != 0) {
    const int k = std::abs(step);
    for (int r = 5 * (k - 1); r <= 5 * (k + 1) - 1 && r <= 199; ++r) try_row(r);
    const int b = std::abs(row);
    const int low = static_cast<int>((b * 0.2 - 0.2) * 5), high = static_cast<int>((b * 0.2 + 0.2) * 5);
    for (int r = low > 0 ? low : 0; r < high && r <= 199; ++r) try_row(r);
  }
  return {row * 0.2, fine};
}

ThreeSteps three_steps_vertical(const uint8_t* edge, int width, ImgROI roi, const uint16_t* coarse_sin,
                                const uint16_t* coarse_cos, const uint16_t* fine_sin,
                                const uint16_t* fine_cos) {
  Work v(edge, width, roi, true);
  const double zero = v.score(v.p);
  if (std::fabs(zero) < 0.001) return {0.0, zero};

  double best = zero;
  int step = 0;
  for (int k = 1; k <= 39; ++k) {
    v.clear(v.p);
    v.clear(v.m);
    for (int i = 0; i < v.count; ++i) {
      const int c = coarse_cos[k * v.w + v.points[2 * i + 1]], s = coarse_sin[k * v.h + v.points[2 * i]];
      ++v.p[c - s + v.half];
      ++v.m[c + s];
    }
    const double minus = v.score(v.p), plus = v.score(v.m);
    if (minus > best) best = minus, step = -k;
    if (plus > best) best = plus, step = k;
  }
  if (step == 39 || step == -39) return {static_cast<double>(step), best};

  int row = 5 * step;
  double fine = zero;
  const auto try_row = [&](int r) {
    uint16_t* histogram = step < 0 ? v.p + v.half : v.m;
    v.clear(step < 0 ? v.p : v.m);
    for (int i = 0; i < v.count; ++i) {
      const int c = fine_cos[r * v.w + v.points[2 * i + 1]], s = fine_sin[r * v.h + v.points[2 * i]];
      ++histogram[step < 0 ? c - s : c + s];
    }
    const double score = v.score(step < 0 ? v.p : v.m);
    if (score > fine) fine = score, row = step < 0 ? -r : r;
  };
  if (step != 0) {
    const int k = std::abs(step);
    for (int r = 5 * (k - 1); r <= 5 * k + 4 && r <= 199; ++r) try_row(r);
    const int b = std::abs(row);
    const int low = static_cast<int>((b * 0.2 - 0.2) * 5), high = static_cast<int>((b * 0.2 + 0.2) * 5);
    for (int r = low > 0 ? low : 0; r < high && r <= 199; ++r) try_row(r);
  }
  return {row * 0.2, fine};
}

}  // namespace skew::reference
