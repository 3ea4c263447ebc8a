// The policy: whether a page that has been measured is turned, and by what.
#include <cmath>

#include "include/skewcorrection/level.h"
#include "level/image.h"

namespace skew {
namespace {

constexpr double kLargestMagnitude = 90;  // of a measured angle

bool in_range(double value, double least, double most) { return value >= least && value <= most; }

bool valid_angles(const SkewPage& page) {
  return in_range(page.angle, -kLargestMagnitude, kLargestMagnitude) &&
         (page.paperFound == 0 || in_range(page.paperAngle, -kLargestMagnitude, kLargestMagnitude));
}

// The direction to level by, in aligned and tilt; or why there is none.
int choose_direction(const SkewPage& page, const SkewLevelOptions& options, SkewLevel* level) {
  const bool trusted = page.verdict == SKEW_PAGE_TRUSTED;
  const bool by_paper = options.align == SKEW_ALIGN_PAPER ||
                        (options.align == SKEW_ALIGN_AUTO && !trusted && page.paperFound != 0);
  level->aligned = by_paper ? SKEW_ALIGN_PAPER : SKEW_ALIGN_TEXT;
  if (by_paper && page.paperFound == 0) return SKEW_LEFT_NO_PAPER;
  level->tilt = by_paper ? page.paperAngle : page.angle;
  if (by_paper || trusted) return SKEW_LEVELLED;
  if (page.verdict == SKEW_PAGE_BLANK) return SKEW_LEFT_BLANK;
  return options.force != 0 ? SKEW_LEVELLED : SKEW_LEFT_UNTRUSTED;
}

int check_limits(double tilt, const SkewLevelOptions& options) {
  const Turn turn = turn_by(tilt);
  const double magnitude = std::fabs(tilt);
  if (turn.sine == 0 && turn.cosine == 65536) return SKEW_LEFT_LEVEL;
  if (magnitude < options.smallestAngle) return SKEW_LEFT_SMALL;
  if (magnitude > options.largestAngle) return SKEW_LEFT_LARGE;
  if (std::fabs(tilt - options.expectedAngle) > options.expectedWithin) return SKEW_LEFT_UNEXPECTED;
  return SKEW_LEVELLED;
}

}  // namespace

bool valid_options(const SkewLevelOptions& options) {
  return options.smallestAngle >= 0 && options.largestAngle >= options.smallestAngle &&
         in_range(options.expectedAngle, -180, 180) && options.expectedWithin >= 0 &&
         in_range(options.align, SKEW_ALIGN_TEXT, SKEW_ALIGN_AUTO) &&
         in_range(options.canvas, SKEW_CANVAS_KEEP, SKEW_CANVAS_EXPAND) &&
         in_range(options.fillMode, SKEW_FILL_BORDER, SKEW_FILL_GIVEN) && options.upright == 0;
}

}  // namespace skew

void skew_level_defaults(SkewLevelOptions* pOptions) {
  if (pOptions == nullptr) return;
  *pOptions = {0.05, 45, 0, 180, SKEW_ALIGN_TEXT, 0, SKEW_CANVAS_KEEP, SKEW_FILL_BORDER, 0xFFFFFFFF, 0};
}

int skew_decide_level(const SkewPage* pPage, int width, int height, const SkewLevelOptions* pOptions,
                      SkewLevel* pLevel) {
  SkewLevelOptions options;
  skew_level_defaults(&options);
  if (pOptions != nullptr) options = *pOptions;
  if (pPage == nullptr || pLevel == nullptr || !skew::valid_options(options) || !skew::valid_angles(*pPage))
    return SKEW_INVALID_ARGUMENT;

  SkewLevel level = {};
  level.page = *pPage;
  level.fill = options.fillMode == SKEW_FILL_GIVEN ? options.fill : 0xFFFFFFFF;
  level.action = skew::choose_direction(*pPage, options, &level);
  if (level.action == SKEW_LEVELLED) level.action = skew::check_limits(level.tilt, options);
  if (level.action == SKEW_LEVELLED) {
    level.angle = level.tilt;
    level.canvas = options.canvas;
  }
  const int code = skew_transform(width, height, level.angle, level.canvas, &level.transform);
  if (code == SKEW_OK) *pLevel = level;
  return code;
}
