// The measurement from end to end. Lines of writing decide; only where there are none, whatever is straight.
//
// 1. The page is averaged down to a shorter side of some 900 pixels, both directions with the same scale.
// 2. Letters: components of ink of the size of letters (page/letters.h). Paper edges, gutters, rules, desks, frames, dust
//    and pictures are no such components, and so have no say, however long and straight they are.
// 3. Direction: the outlines of the letters, each point moved onto the edge itself, are projected across the lines. Windows
//    of the page say where to look; the sharpest profile of the whole page gives the angle (page/direction.h).
// 4. Tiles: the same, a tile at a time (page/tiles.h). They tell whether the lines of the page are parallel, over what range
//    their direction varies, and how likely the angle is right (page/confidence.h). Where they vary, the angle is the
//    median of the tiles.
// 5. Where dark letters give no sure answer, light ones on a dark ground are tried, then all edges of the page. These
//    decide only where there is hardly any writing, or confirm it; where they contradict it, the page has two
//    directions and is not trusted.
//
// The projection profile for skew is due to Postl (1986) and Baird (1987), who projected points of components; edge
// points, and the shear that saves turning them, as in page/profile.h.
#include <cmath>

#include "core/raster.h"
#include "include/skewcorrection/page.h"
#include "page/area_average.h"
#include "page/confidence.h"
#include "page/view.h"

namespace skew {
namespace {

constexpr int kSmallestSide = 32;
// Gradients of an edge: the usual ones, and those for pale and soft pages.
struct Thresholds {
  int low, high;
};
constexpr Thresholds kUsual = {60, 120}, kPale = {30, 60};

constexpr double kTrusted = 0.8;        // confidence
constexpr double kSure = 0.85;          // confidence at which nothing else needs to be looked at ...
constexpr int kManyTiles = 12;          // ... and tiles
constexpr double kSame = 0.3;           // degrees between two views that say the same
constexpr double kTwoDirections = 0.5;  // confidence at most, where views contradict each other
constexpr double kRaster = 0.2;         // the same where the direction may be that of the pixels
constexpr double kParallel =
    0.25;  // degrees of scatter; up to here the whole page's profile is the better angle
constexpr double kFansOut = 0.6;    // of the scatter is left when lines that fan out evenly are accounted for
constexpr double kAgreement = 1.0;  // degrees between a window and the page
constexpr double kNoStrength = 1000;  // sharpness above that of noise, times the points: a speck of dust
constexpr double kNoiseSharpness = 3;
constexpr double kPixelAngle = 0.3;  // degrees

struct Page {
  ReducedSize size;
  WorkingImage image;
  View view;  // the one that counts
  SkewPage result = {};
};

double quarter_wrapped(double angle) {
  return angle > 45.5 ? angle - 90 : angle < -45.5 ? angle + 90 : angle;
}

double angle_of(const View& view) {
  return view.field.tiles > 0 && view.field.scatter > kParallel ? quarter_wrapped(view.field.angle)
                                                                : view.direction.angle;
}

bool is_strong(const View& view) { return view.confidence >= kSure && view.field.tiles >= kManyTiles; }

bool reduce(const uint8_t* pixels, int width, ptrdiff_t stride, Page* page) {
  WorkingImage& image = page->image;
  image.width = page->size.width;
  image.height = page->size.height;
  image.stride = padded_stride(image.width);
  image.pixels = allocate_zeroed<uint8_t>(image.height, image.stride);
  return image.pixels && area_average(pixels, width, stride, page->size, image.pixels.get(), image.stride);
}

// Letters of either ink; the better answer. False if there is no memory.
bool find_writing(const Page& page, View* writing, bool* raster) {
  if (!look_at_writing(page.image, Ink::kDark, writing)) return false;
  if (writing->seen()) writing->confidence = confidence_in_writing(*writing);
  if (!is_strong(*writing)) {
    View light;
    if (!look_at_writing(page.image, Ink::kLight, &light)) return false;
    if (light.seen()) light.confidence = confidence_in_writing(light);
    if (light.confidence > writing->confidence && light.field.weight > writing->field.weight)
      *writing = static_cast<View&&>(light);
  }
  *raster = writing->seen() && follows_raster(*writing, page.size.scale());
  return true;
}

bool find_structure(const Page& page, View* structure) {
  if (!look_at_structure(page.image, kUsual.low, kUsual.high, structure)) return false;
  if (structure->seen()) structure->confidence = confidence_in_structure(*structure);
  if (structure->confidence >= kTrusted) return true;
  View pale;
  if (!look_at_structure(page.image, kPale.low, kPale.high, &pale)) return false;
  if (pale.seen()) pale.confidence = confidence_in_structure(pale);
  if (pale.confidence > structure->confidence) *structure = static_cast<View&&>(pale);
  return true;
}

// Nothing stands out, or only the pixels' own rows and diagonals.
bool is_noise(const View& view) {
  const Direction& d = view.direction;
  if (!view.seen() || (d.sharpness - 1) * d.points < kNoStrength) return true;
  const double magnitude = std::fabs(d.angle);
  return d.sharpness < kNoiseSharpness &&
         (view.field.tiles == 0 || magnitude < kPixelAngle || magnitude > 45 - kPixelAngle);
}

// Two answers that say the same are surer than either; two that do not are surer than neither.
double joined(double a, double b) { return 1 - (1 - a) * (1 - b / 2); }

int basis_of_lines(const View& view) {
  return view.direction.in_columns ? SKEW_BASIS_COLUMNS : SKEW_BASIS_ROWS;
}

void take(View* view, int basis, double confidence, Page* page) {
  page->result.basis = basis;
  page->result.confidence = confidence;
  page->result.angle = angle_of(*view);
  page->view = static_cast<View&&>(*view);
}

// Where writing alone gives no sure answer.
bool weigh_structure(View* writing, bool raster, Page* page) {
  View structure;
  if (!find_structure(*page, &structure)) return false;
  const bool structure_raster = structure.seen() && follows_raster(structure, page->size.scale());
  if (structure_raster)
    structure.confidence = structure.confidence < kRaster ? structure.confidence : kRaster;
  if (is_noise(*writing) && is_noise(structure)) return true;
  SkewPage& result = page->result;
  const bool same = writing->seen() && structure.seen() &&
                    quarter_distance(angle_of(*writing), angle_of(structure)) <= kSame;
  const double pw = writing->confidence, ps = structure.confidence;
  if (same && !raster) {
    const bool by_writing = pw >= ps;
    take(by_writing ? writing : &structure, by_writing ? basis_of_lines(*writing) : SKEW_BASIS_STRUCTURE,
         joined(pw > ps ? pw : ps, pw > ps ? ps : pw), page);
  } else if (pw >= ps) {
    take(writing, basis_of_lines(*writing), pw, page);
    if (ps > 1 - kTrusted && structure.field.tiles > writing->field.tiles &&
        structure.direction.crossing > 3) {
      result.confidence = pw < kTwoDirections ? pw : kTwoDirections;
      result.reason = SKEW_REASON_TWO_DIRECTIONS;
    }
  } else {
    take(&structure, SKEW_BASIS_STRUCTURE, ps, page);
    if (pw > 1 - kTrusted) {
      result.confidence = ps < kTwoDirections ? ps : kTwoDirections;
      result.reason = SKEW_REASON_TWO_DIRECTIONS;
    }
  }
  if (raster || structure_raster) result.reason = SKEW_REASON_RASTER;
  return true;
}

int reason_of(const Page& page) {
  const SkewPage& result = page.result;
  const LineField& field = page.view.field;
  if (result.reason != SKEW_REASON_NONE) return result.reason;
  if (field.scatter > kParallel && field.residual < kFansOut * field.scatter) return SKEW_REASON_NOT_PARALLEL;
  if (field.scatter > kParallel)
    return field.agreeing < 0.5 ? SKEW_REASON_NOT_PARALLEL : SKEW_REASON_TWO_DIRECTIONS;
  if (result.basis == SKEW_BASIS_STRUCTURE) return SKEW_REASON_ONLY_STRUCTURE;
  return field.tiles < kManyTiles ? SKEW_REASON_LITTLE_TEXT : SKEW_REASON_UNCLEAR;
}

void describe(Page* page) {
  SkewPage& result = page->result;
  const View& view = page->view;
  result.verdict = result.confidence >= kTrusted ? SKEW_PAGE_TRUSTED : SKEW_PAGE_UNCERTAIN;
  result.reason = result.verdict == SKEW_PAGE_TRUSTED ? SKEW_REASON_NONE : reason_of(*page);
  result.lowestAngle = result.highestAngle = result.angle;
  if (view.field.tiles > 0 && view.field.scatter > kParallel) {
    result.lowestAngle = view.field.lowest < result.angle ? view.field.lowest : result.angle;
    result.highestAngle = view.field.highest > result.angle ? view.field.highest : result.angle;
  }
  double squares = 0;
  for (int i = 0; i < view.tiles.count; ++i) {
    const Tile& tile = view.tiles.list[i];
    if (tile.weight() <= 0) continue;
    ++result.windowsMeasured;
    const double distance = quarter_distance(tile.angle, result.angle);
    if (distance > kAgreement) continue;
    ++result.windowsAgreeing;
    squares += distance * distance;
  }
  if (result.windowsAgreeing > 0) result.spread = std::sqrt(squares / result.windowsAgreeing);
}

// Everything but the details; false if there is no memory.
bool measure(const uint8_t* pixels, int width, int height, ptrdiff_t stride, Page* page) {
  SkewPage& result = page->result;
  page->size = reduced_size(width, height);
  View writing;
  bool raster = false;
  if (page->size.width >= kSmallestSide && page->size.height >= kSmallestSide) {
    if (!reduce(pixels, width, stride, page) || !find_writing(*page, &writing, &raster)) return false;
    if (raster) writing.confidence = writing.confidence < kRaster ? writing.confidence : kRaster;
    if (is_strong(writing) || (writing.field.tiles >= kManyTiles && !raster))
      take(&writing, basis_of_lines(writing), writing.confidence, page);
    else if (!weigh_structure(&writing, raster, page))
      return false;
  }
  if (result.basis != SKEW_BASIS_NONE) {
    describe(page);
    return true;
  }
  result.verdict = SKEW_PAGE_BLANK;
  result.reason = SKEW_REASON_NO_CONTENT;
  return true;
}

bool valid(const uint8_t* pixels, int width, int height, ptrdiff_t stride) {
  return pixels != nullptr && width >= 1 && height >= 1 &&
         row_distance(stride) >= static_cast<uint64_t>(width) && is_addressable(stride, height);
}

bool copy_windows(const Page& page, SkewPageDetails* details) {
  const View& view = page.view;
  Buffer<SkewPageWindow> copy = allocate<SkewPageWindow>(view.tiles.count);
  if (!copy) return false;
  const auto pixels = [&](int units, int half, int limit) {
    const int at = static_cast<int>(units * view.pixels_per_unit) + half;
    return at < 0 ? 0 : at >= limit ? limit - 1 : at;
  };
  int count = 0;
  for (int i = 0; i < view.tiles.count; ++i) {
    const Tile& tile = view.tiles.list[i];
    if (tile.weight() <= 0) continue;
    SkewPageWindow& window = copy[count++];
    const int width = page.image.width, height = page.image.height, half = view.tiles.side / 2;
    window.left = pixels(tile.x - half, width / 2, width);
    window.right = pixels(tile.x + half, width / 2, width);
    window.top = pixels(tile.y - half, height / 2, height);
    window.bottom = pixels(tile.y + half, height / 2, height);
    window.points = tile.points;
    window.agrees = quarter_distance(tile.angle, page.result.angle) <= kAgreement;
    window.angle = tile.angle;
  }
  details->windowCount = count;
  if (count > 0) details->pWindows = copy.release();
  return true;
}

// The scores of the whole range: turned afresh every degree, five steps of 0.2 degree each.
bool score_range(const View& view, SkewPageDetails* details) {
  constexpr int kPerTurn = 5, kMiddle = kPerTurn / 2, kTurns = kQuarterTurn / kPerTurn;
  constexpr double kIndexDegrees = 0.2;
  Buffer<SkewPageScore> scores = allocate<SkewPageScore>(kQuarterTurn);
  Profiles profiles;
  if (!scores || !profiles.prepare(view.points)) return false;
  for (int i = 0; i < kTurns; ++i) {
    const int coarse = i * kPerTurn + kMiddle - kQuarterTurn / 2;
    profiles.turn(view.points, coarse);
    for (int k = 0; k < kPerTurn; ++k) {
      const double offset = (k - kMiddle) * kIndexDegrees;
      const double rows = profiles.rows(slope_of(offset)), columns = profiles.columns(slope_of(offset));
      scores[i * kPerTurn + k] = {coarse * kIndexDegrees + offset, rows > columns ? rows : columns};
    }
  }
  details->scoreCount = kQuarterTurn;
  details->pScores = scores.release();
  return true;
}

bool hand_out(Page* page, SkewPageDetails* details) {
  const View& view = page->view;
  if (!page->image.pixels) return true;
  if (!page->view.edges) page->view.edges = allocate_zeroed<uint8_t>(page->image.height, page->image.stride);
  if (!page->view.edges || (view.seen() && (!copy_windows(*page, details) || !score_range(view, details))))
    return false;
  details->width = page->image.width;
  details->height = page->image.height;
  details->stride = page->image.stride;
  details->scale = page->size.scale();
  details->pWorking = page->image.pixels.release();
  details->pEdges = page->view.edges.release();
  return true;
}

}  // namespace
}  // namespace skew

int skew_measure_page(const uint8_t* pGray, int width, int height, ptrdiff_t stride, SkewPage* pPage) {
  if (!skew::valid(pGray, width, height, stride) || pPage == nullptr) return SKEW_INVALID_ARGUMENT;
  skew::Page page;
  if (!skew::measure(pGray, width, height, stride, &page)) return SKEW_OUT_OF_MEMORY;
  *pPage = page.result;
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
  *pPage = page.result;
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
