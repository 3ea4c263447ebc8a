// The measurement from end to end: reduce, map the edges, ask the windows, refine on the whole page, judge.
#include <cmath>

#include "core/raster.h"
#include "include/skewcorrection/page.h"
#include "include/skewcorrection/skew.h"
#include "page/area_average.h"
#include "page/profile.h"
#include "page/windows.h"

namespace skew {
namespace {

constexpr int kSmallestSide = 32;
constexpr int kHighCapPercent = 90;
// Gradients of an edge. Where the usual ones give no sure answer, those for pale and soft pages are tried.
struct Thresholds {
  int low, high;
};
constexpr Thresholds kUsual = {60, 120}, kPale = {30, 60};

constexpr double kIndexDegrees = 0.2;
constexpr int kSteps = 30;  // scores on each side of the coarse angle
constexpr double kStepDegrees = 0.02;
constexpr int kScores = 2 * kSteps + 1;
constexpr int kShift = 3;  // angle indices from one coarse angle to the next, 0.6 degree
constexpr int kMostShifts = 2;

constexpr double kAgreement = 1.0;       // degrees between a window and the page
constexpr int kLeastAgreeing = 3;        // windows
constexpr double kLeastSharpness = 6.5;  // of the sharper direction, for a trusted answer
constexpr double kHighSharpness = 13;    // enough where fewer windows agree
// Sharpness above that of noise, times the points: how much content stands behind an answer. Few words have
// up to 12000, three short lines some 50000.
constexpr double kLeastStrength = 25000;
constexpr double kNoStrength = 1000;      // a speck of dust
constexpr double kNoisePeak = 2.5;        // noise on the pixel raster shows up to 2 at 0 degrees
constexpr double kNoiseElsewhere = 1.47;  // and less than this far from 0 and 45; pictures show 1.5 and more
constexpr int kElsewhere[] = {-158, -112, 112, 158};    // angle indices
constexpr double kDiagonal = 45, kDiagonalReach = 0.5;  // degrees

// What one coarse angle leads to.
struct Peak {
  double angle = 0;
  double rows = 0, columns = 0;  // sharpness of the two directions there
  int points = 0;                // of the whole page
  double sharpness() const { return rows > columns ? rows : columns; }
  double strength() const { return (sharpness() - 1) * points; }
};

// What one pair of thresholds makes of the page.
struct View {
  Buffer<uint8_t> edges;
  Windows windows;
  PagePoints points;
  Peak peak;
  SkewPage result = {};
};

struct Page {
  ReducedSize size;
  ptrdiff_t stride = 0;
  Buffer<uint8_t> image;
  Profiles profiles;
  View view;  // the one that counts
};

struct Curve {
  SkewPageScore scores[kScores];
  int best = 0;
};

// The slope of a small angle in 1/65536, from the first terms of the tangent's series, so that it is the same
// everywhere; the next term is below 10^-8.
int slope_of(double degrees) {
  const double radians = degrees * (3.14159265358979323846 / 180);
  return static_cast<int>(std::floor((radians + radians * radians * radians / 3) * 65536 + 0.5));
}

void score_around(const Profiles& profiles, int coarse, Curve* curve) {
  for (int i = 0; i < kScores; ++i) {
    const double offset = (i - kSteps) * kStepDegrees;
    const int slope = slope_of(offset);
    curve->scores[i] = {coarse * kIndexDegrees + offset, profiles.rows(slope) * profiles.columns(slope)};
    if (curve->scores[i].score > curve->scores[curve->best].score) curve->best = i;
  }
}

// The centre of gravity of the upper half of the peak.
double centre_of_peak(const Curve& curve) {
  const SkewPageScore* scores = curve.scores;
  double low = scores[0].score;
  for (const SkewPageScore& s : curve.scores) low = s.score < low ? s.score : low;
  const double floor = (low + scores[curve.best].score) / 2;
  int first = curve.best, last = curve.best;
  while (first > 0 && scores[first - 1].score > floor) --first;
  while (last + 1 < kScores && scores[last + 1].score > floor) ++last;
  double weight = 0, moment = 0;
  for (int i = first; i <= last; ++i) {
    weight += scores[i].score - floor;
    moment += (scores[i].score - floor) * (i - curve.best);
  }
  return scores[curve.best].angle + (weight > 0 ? moment / weight * kStepDegrees : 0);
}

// Follows the score from a coarse angle to the top of its peak.
Peak refine(Profiles* profiles, const PagePoints& points, int coarse) {
  Curve curve;
  for (int shift = 0;; ++shift) {
    profiles->turn(points, coarse);
    curve.best = 0;
    score_around(*profiles, coarse, &curve);
    const int beyond = curve.best == 0 ? -kShift : curve.best == kScores - 1 ? kShift : 0;
    if (beyond == 0 || shift == kMostShifts) break;
    coarse += beyond;
    if (coarse > kQuarterTurn / 2) coarse -= kQuarterTurn;
    if (coarse < -kQuarterTurn / 2) coarse += kQuarterTurn;
  }
  Peak peak;
  peak.points = points.count;
  peak.angle = centre_of_peak(curve);
  const int slope = slope_of(peak.angle - coarse * kIndexDegrees);
  peak.rows = profiles->rows(slope);
  peak.columns = profiles->columns(slope);
  return peak;
}

int agreeing(const Windows& windows, double angle) {
  int count = 0;
  for (int i = 0; i < windows.count; ++i)
    count += quarter_distance(windows.list[i].result.degrees(), angle) <= kAgreement;
  return count;
}

// The sharpest of the candidates; where the first already has most windows behind it, the first.
Peak find_peak(Profiles* profiles, const View& view) {
  int candidates[kCandidates];
  const int count = find_candidates(view.windows, candidates);
  Peak best = refine(profiles, view.points, candidates[0]);
  if (2 * agreeing(view.windows, best.angle) >= view.windows.count) return best;
  for (int i = 1; i < count; ++i) {
    const Peak peak = refine(profiles, view.points, candidates[i]);
    if (peak.sharpness() > best.sharpness()) best = peak;
  }
  return best;
}

// Near the diagonals, rows and columns are told apart by their sharpness; further out there is no choice.
double main_direction(const Peak& peak) {
  const double magnitude = std::fabs(peak.angle);
  const bool beyond = magnitude > kDiagonal + kDiagonalReach;
  const bool other = beyond || (magnitude > kDiagonal - kDiagonalReach && peak.columns > peak.rows);
  if (!other) return peak.angle;
  return peak.angle > 0 ? peak.angle - 2 * kDiagonal : peak.angle + 2 * kDiagonal;
}

// True when the points lie like noise: no direction stands out, and away from the raster's own none at all.
bool is_noise(Profiles* profiles, const View& view) {
  const Peak& peak = view.peak;
  if (peak.strength() < kNoStrength) return true;
  if (peak.sharpness() > kNoisePeak) return false;
  double sum = 0;
  for (const int index : kElsewhere) {
    profiles->turn(view.points, index);
    sum += profiles->rows(0) + profiles->columns(0);
  }
  return sum / 8 <= kNoiseElsewhere;
}

int verdict_of(const Peak& peak, const SkewPage& result) {
  const int measured = result.windowsMeasured, agree = result.windowsAgreeing;
  if (agree < kLeastAgreeing || peak.sharpness() < kLeastSharpness || peak.strength() < kLeastStrength)
    return SKEW_PAGE_UNCERTAIN;
  const bool trusted = 2 * agree >= measured || (4 * agree >= measured && peak.sharpness() >= kHighSharpness);
  return trusted ? SKEW_PAGE_TRUSTED : SKEW_PAGE_UNCERTAIN;
}

void judge(View* view) {
  SkewPage& result = view->result;
  result.angle = main_direction(view->peak);
  double squares = 0;
  for (int i = 0; i < view->windows.count; ++i) {
    const double distance = quarter_distance(view->windows.list[i].result.degrees(), result.angle);
    if (distance <= kAgreement) squares += distance * distance;
  }
  result.windowsAgreeing = agreeing(view->windows, result.angle);
  if (result.windowsAgreeing > 0) result.spread = std::sqrt(squares / result.windowsAgreeing);
  result.verdict = verdict_of(view->peak, result);
  const bool trusted = result.verdict == SKEW_PAGE_TRUSTED;
  result.confidence = trusted ? 0.9 : 0.4;
  result.reason = trusted ? SKEW_REASON_NONE : SKEW_REASON_UNCLEAR;
  result.basis = view->peak.columns > view->peak.rows ? SKEW_BASIS_COLUMNS : SKEW_BASIS_ROWS;
  result.lowestAngle = result.highestAngle = result.angle;
}

bool reduce(const uint8_t* pixels, int width, ptrdiff_t stride, Page* page) {
  page->stride = padded_stride(page->size.width);
  page->image = allocate_zeroed<uint8_t>(page->size.height, page->stride);
  return page->image && page->profiles.prepare(page->size.width, page->size.height) &&
         area_average(pixels, width, stride, page->size, page->image.get(), page->stride);
}

// Measures the reduced page with one pair of thresholds; false if there is no memory.
bool look(const Thresholds& thresholds, Page* page, View* view) {
  const int width = page->size.width, height = page->size.height;
  view->result.verdict = SKEW_PAGE_BLANK;
  view->result.reason = SKEW_REASON_NO_CONTENT;
  view->edges = allocate<uint8_t>(height, page->stride);
  if (!view->edges ||
      CannyEdge(page->image.get(), view->edges.get(), thresholds.low, thresholds.high, width, height,
                kHighCapPercent) != 0 ||
      measure_windows(view->edges.get(), width, height, page->stride, &view->windows) != SKEW_OK)
    return false;
  view->result.windowsMeasured = view->windows.count;
  if (view->windows.count == 0) return true;
  view->points = find_page_points(page->image.get(), view->edges.get(), width, height, page->stride);
  if (!view->points.list) return false;
  view->peak = find_peak(&page->profiles, *view);
  if (!is_noise(&page->profiles, *view)) judge(view);
  return true;
}

// Everything but the details; false if there is no memory.
bool measure(const uint8_t* pixels, int width, int height, ptrdiff_t stride, Page* page) {
  View& view = page->view;
  view.result.verdict = SKEW_PAGE_BLANK;
  view.result.reason = SKEW_REASON_NO_CONTENT;
  page->size = reduced_size(width, height);
  if (page->size.width < kSmallestSide || page->size.height < kSmallestSide) return true;
  if (!reduce(pixels, width, stride, page) || !look(kUsual, page, &view)) return false;
  if (view.result.verdict == SKEW_PAGE_TRUSTED) return true;
  View second;
  if (!look(kPale, page, &second)) return false;
  const bool found = view.result.verdict == SKEW_PAGE_BLANK && second.peak.sharpness() > kNoisePeak;
  if (second.result.verdict == SKEW_PAGE_TRUSTED || found) view = static_cast<View&&>(second);
  return true;
}

bool valid(const uint8_t* pixels, int width, int height, ptrdiff_t stride) {
  return pixels != nullptr && width >= 1 && height >= 1 &&
         row_distance(stride) >= static_cast<uint64_t>(width) && is_addressable(stride, height);
}

bool copy_windows(const Windows& windows, double angle, SkewPageDetails* details) {
  Buffer<SkewPageWindow> copy = allocate<SkewPageWindow>(windows.count);
  if (!copy) return false;
  for (int i = 0; i < windows.count; ++i) {
    const ImgROI& box = windows.list[i].box;
    const OneStepResult& found = windows.list[i].result;
    copy[i].left = box.left;
    copy[i].top = box.top;
    copy[i].right = box.right;
    copy[i].bottom = box.bottom;
    copy[i].points = static_cast<int>(found.points);
    copy[i].agrees = quarter_distance(found.degrees(), angle) <= kAgreement;
    copy[i].angle = found.degrees();
  }
  details->windowCount = windows.count;
  details->pWindows = copy.release();
  return true;
}

// The scores of the whole range: turned afresh every degree, five steps of 0.2 degree each.
bool score_range(Page* page, SkewPageDetails* details) {
  constexpr int kPerTurn = 5, kTurns = kQuarterTurn / kPerTurn;
  Buffer<SkewPageScore> scores = allocate<SkewPageScore>(kQuarterTurn);
  if (!scores) return false;
  for (int i = 0; i < kTurns; ++i) {
    const int coarse = i * kPerTurn + kPerTurn / 2 - kQuarterTurn / 2;
    page->profiles.turn(page->view.points, coarse);
    for (int k = 0; k < kPerTurn; ++k) {
      const double offset = (k - kPerTurn / 2) * kIndexDegrees;
      const int slope = slope_of(offset);
      scores[i * kPerTurn + k] = {coarse * kIndexDegrees + offset,
                                  page->profiles.rows(slope) * page->profiles.columns(slope)};
    }
  }
  details->scoreCount = kQuarterTurn;
  details->pScores = scores.release();
  return true;
}

bool hand_out(Page* page, SkewPageDetails* details) {
  const View& view = page->view;
  if (!view.edges) return true;
  if (view.windows.count > 0 &&
      (!copy_windows(view.windows, view.result.angle, details) || !score_range(page, details)))
    return false;
  details->width = page->size.width;
  details->height = page->size.height;
  details->stride = page->stride;
  details->scale = page->size.scale();
  details->pWorking = page->image.release();
  details->pEdges = page->view.edges.release();
  return true;
}

}  // namespace
}  // namespace skew

int skew_measure_page(const uint8_t* pGray, int width, int height, ptrdiff_t stride, SkewPage* pPage) {
  if (!skew::valid(pGray, width, height, stride) || pPage == nullptr) return SKEW_INVALID_ARGUMENT;
  skew::Page page;
  if (!skew::measure(pGray, width, height, stride, &page)) return SKEW_OUT_OF_MEMORY;
  *pPage = page.view.result;
  return SKEW_OK;
}

int skew_measure_page_details(const uint8_t* pGray, int width, int height, ptrdiff_t stride, SkewPage* pPage,
                              SkewPageDetails* pDetails) {
  if (pDetails == nullptr) return SKEW_INVALID_ARGUMENT;
  *pDetails = SkewPageDetails();
  if (!skew::valid(pGray, width, height, stride) || pPage == nullptr) return SKEW_INVALID_ARGUMENT;
  skew::Page page;
  if (!skew::measure(pGray, width, height, stride, &page) || !skew::hand_out(&page, pDetails)) {
    skew_free_page_details(pDetails);
    return SKEW_OUT_OF_MEMORY;
  }
  *pPage = page.view.result;
  return SKEW_OK;
}

void skew_free_page_details(SkewPageDetails* pDetails) {
  if (pDetails == nullptr) return;
  std::free(pDetails->pWorking);
  std::free(pDetails->pEdges);
  std::free(pDetails->pWindows);
  std::free(pDetails->pScores);
  *pDetails = SkewPageDetails();
}
