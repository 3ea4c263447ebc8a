#include "include/skewcorrection/level.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

#include "include/skewcorrection/convert.h"
#include "tests/support/pages.h"

namespace skew {
namespace {

using test::draw_page;
using test::PageKind;
using test::TestPage;
using Bytes = std::vector<uint8_t>;

SkewLevelOptions defaults() {
  SkewLevelOptions options;
  skew_level_defaults(&options);
  return options;
}

// ---- the policy ----

struct Wish {
  int align = SKEW_ALIGN_TEXT, force = 0;
  double smallest = 0.05, largest = 45, expected = 0, within = 180;
};

TEST(DecideLevel, FollowsTheTable) {
  constexpr int kTrusted = SKEW_PAGE_TRUSTED, kUncertain = SKEW_PAGE_UNCERTAIN, kBlank = SKEW_PAGE_BLANK;
  constexpr double kNone = 1000;  // no edges of the paper are seen
  const Wish paper = {SKEW_ALIGN_PAPER}, either = {SKEW_ALIGN_AUTO}, forced = {SKEW_ALIGN_TEXT, 1};
  const struct {
    const char* what;
    int verdict;
    double angle, paper;
    Wish wish;
    int action;
    double tilt;
  } cases[] = {
      {"trusted", kTrusted, 3, 5, {}, SKEW_LEVELLED, 3},
      {"uncertain", kUncertain, 3, 5, {}, SKEW_LEFT_UNTRUSTED, 3},
      {"uncertain, forced", kUncertain, 3, 5, forced, SKEW_LEVELLED, 3},
      {"blank", kBlank, 0, 5, {}, SKEW_LEFT_BLANK, 0},
      {"blank, forced", kBlank, 0, 5, forced, SKEW_LEFT_BLANK, 0},
      {"paper wanted", kTrusted, 3, 5, paper, SKEW_LEVELLED, 5},
      {"paper of a blank page", kBlank, 0, 5, paper, SKEW_LEVELLED, 5},
      {"paper not seen", kTrusted, 3, kNone, paper, SKEW_LEFT_NO_PAPER, 0},
      {"paper not seen, forced", kUncertain, 3, kNone, {SKEW_ALIGN_PAPER, 1}, SKEW_LEFT_NO_PAPER, 0},
      {"either, trusted", kTrusted, 3, 5, either, SKEW_LEVELLED, 3},
      {"either, uncertain", kUncertain, 3, 5, either, SKEW_LEVELLED, 5},
      {"either, blank", kBlank, 0, 5, either, SKEW_LEVELLED, 5},
      {"either, forced: a known edge before a guess",
       kUncertain,
       3,
       5,
       {SKEW_ALIGN_AUTO, 1},
       SKEW_LEVELLED,
       5},
      {"either, no paper", kUncertain, 3, kNone, either, SKEW_LEFT_UNTRUSTED, 3},
      {"either, no paper, forced", kUncertain, 3, kNone, {SKEW_ALIGN_AUTO, 1}, SKEW_LEVELLED, 3},
      {"either, no paper, blank", kBlank, 0, kNone, either, SKEW_LEFT_BLANK, 0},
      {"level", kTrusted, 0, 5, {}, SKEW_LEFT_LEVEL, 0},
      {"level within the rotations' precision",
       kTrusted,
       -0.0004,
       5,
       {SKEW_ALIGN_TEXT, 0, 0},
       SKEW_LEFT_LEVEL,
       -0.0004},
      {"just more", kTrusted, -0.0005, 5, {SKEW_ALIGN_TEXT, 0, 0}, SKEW_LEVELLED, -0.0005},
      {"small", kTrusted, -0.0499, 5, {}, SKEW_LEFT_SMALL, -0.0499},
      {"not small", kTrusted, -0.05, 5, {}, SKEW_LEVELLED, -0.05},
      {"large", kTrusted, -45.01, 5, {}, SKEW_LEFT_LARGE, -45.01},
      {"not large", kTrusted, 45, 5, {}, SKEW_LEVELLED, 45},
      {"large paper", kTrusted, 3, -20, {SKEW_ALIGN_PAPER, 0, 0.05, 10}, SKEW_LEFT_LARGE, -20},
      {"small, though forced", kUncertain, 0.01, 5, forced, SKEW_LEFT_SMALL, 0.01},
      {"as expected", kTrusted, -3, 5, {SKEW_ALIGN_TEXT, 0, 0, 45, -2.5, 0.5}, SKEW_LEVELLED, -3},
      {"not as expected", kTrusted, 3, 5, {SKEW_ALIGN_TEXT, 0, 0, 45, -2.5, 1}, SKEW_LEFT_UNEXPECTED, 3},
      {"untrusted as expected", kUncertain, 3, 5, {SKEW_ALIGN_TEXT, 0, 0, 45, 3, 1}, SKEW_LEFT_UNTRUSTED, 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    SkewPage page = {};
    page.verdict = c.verdict;
    page.angle = c.angle;
    page.paperFound = c.paper != kNone;
    page.paperAngle = page.paperFound ? c.paper : 0;
    SkewLevelOptions options = defaults();
    options.align = c.wish.align;
    options.force = c.wish.force;
    options.smallestAngle = c.wish.smallest;
    options.largestAngle = c.wish.largest;
    options.expectedAngle = c.wish.expected;
    options.expectedWithin = c.wish.within;
    options.canvas = SKEW_CANVAS_EXPAND;
    SkewLevel level;
    ASSERT_EQ(SKEW_OK, skew_decide_level(&page, 60, 40, &options, &level));
    const bool turned = c.action == SKEW_LEVELLED;
    EXPECT_EQ(c.action, level.action);
    EXPECT_EQ(c.tilt, level.tilt);
    EXPECT_EQ(turned ? c.tilt : 0, level.angle);
    EXPECT_EQ(c.tilt == c.paper || c.action == SKEW_LEFT_NO_PAPER ? SKEW_ALIGN_PAPER : SKEW_ALIGN_TEXT,
              level.aligned);
    EXPECT_EQ(turned ? SKEW_CANVAS_EXPAND : SKEW_CANVAS_KEEP, level.canvas);
    EXPECT_EQ(turned, level.transform.outWidth > 60) << "nothing moves on a page that is left alone";
    EXPECT_EQ(turned, level.transform.b != 0);
  }
}

TEST(DecideLevel, RefusesWhatIsOutOfRange) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  using Spoil = void (*)(SkewLevelOptions&, SkewPage&, double);
  const struct {
    const char* what;
    Spoil spoil;
  } cases[] = {
      {"smallest below 0", [](auto& o, auto&, double) { o.smallestAngle = -0.1; }},
      {"smallest NaN", [](auto& o, auto&, double n) { o.smallestAngle = n; }},
      {"largest below smallest", [](auto& o, auto&, double) { o.largestAngle = 0.01; }},
      {"largest NaN", [](auto& o, auto&, double n) { o.largestAngle = n; }},
      {"expected NaN", [](auto& o, auto&, double n) { o.expectedAngle = n; }},
      {"within NaN", [](auto& o, auto&, double n) { o.expectedWithin = n; }},
      {"within below 0", [](auto& o, auto&, double) { o.expectedWithin = -1; }},
      {"align", [](auto& o, auto&, double) { o.align = 3; }},
      {"canvas", [](auto& o, auto&, double) { o.canvas = -1; }},
      {"fill mode", [](auto& o, auto&, double) { o.fillMode = 2; }},
      {"upright", [](auto& o, auto&, double) { o.upright = 1; }},
      {"angle NaN", [](auto&, auto& p, double n) { p.angle = n; }},
      {"angle", [](auto&, auto& p, double) { p.angle = -91; }},
      {"paper NaN", [](auto&, auto& p, double n) { p.paperFound = 1, p.paperAngle = n; }},
  };
  const uint8_t pixels[4] = {};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    SkewLevelOptions options = defaults();
    SkewPage page = {};
    c.spoil(options, page, nan);
    SkewLevel level = {};
    level.action = 77;
    EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_decide_level(&page, 2, 2, &options, &level));
    if (page.angle == 0 && page.paperFound == 0) {
      EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_plan_gray(pixels, 2, 2, 2, &options, &level));
    }
    EXPECT_EQ(77, level.action);
  }
}

// ---- points ----

// The centre of mass of what is brighter than the ground, as a point.
void expect_dot_at(const Bytes& image, int width, int height, double x, double y) {
  double weight = 0, sum_x = 0, sum_y = 0;
  for (int i = 0; i < width * height; ++i) {
    weight += image[i];
    sum_x += image[i] * (i % width + 0.5);
    sum_y += image[i] * (i / width + 0.5);
  }
  EXPECT_NEAR(x, sum_x / weight, 0.02);
  EXPECT_NEAR(y, sum_y / weight, 0.02);
}

TEST(MapPoints, FollowsTheContentOfEveryRotation) {
  constexpr int kWidth = 61, kHeight = 44;
  Bytes image(kWidth * kHeight);
  for (int y = 30; y < 34; ++y)
    for (int x = 40; x < 45; ++x) image[y * kWidth + x] = 200;  // its middle is the point (42.5, 32)
  for (const double angle : {0.0, 7.3, -31.0, 90.0, -123.4, 180.0}) {
    for (const int canvas : {SKEW_CANVAS_KEEP, SKEW_CANVAS_EXPAND}) {
      SCOPED_TRACE(::testing::Message() << angle << " canvas " << canvas);
      SkewTransform t;
      ASSERT_EQ(SKEW_OK, skew_transform(kWidth, kHeight, angle, canvas, &t));
      Bytes turned(static_cast<size_t>(t.outWidth) * t.outHeight);
      ASSERT_EQ(SKEW_OK, skew_rotate_gray(image.data(), kWidth, kWidth, kHeight, angle, canvas, turned.data(),
                                          t.outWidth, 0));
      double points[] = {42.5, 32, 0, kHeight};
      ASSERT_EQ(SKEW_OK, skew_map_points(&t, SKEW_MAP_TO_RESULT, points, 2));
      if (points[0] > 3 && points[0] < t.outWidth - 3 && points[1] > 3 && points[1] < t.outHeight - 3)
        expect_dot_at(turned, t.outWidth, t.outHeight, points[0], points[1]);
      ASSERT_EQ(SKEW_OK, skew_map_points(&t, SKEW_MAP_TO_SOURCE, points, 2));
      EXPECT_NEAR(42.5, points[0], 0.001);
      EXPECT_NEAR(kHeight, points[3], 0.001);
    }
  }
  SkewTransform steps;
  ASSERT_EQ(SKEW_OK, skew_transform_in_steps(kWidth, kHeight, -12.39, &steps));
  unsigned char* turned = nullptr;
  ASSERT_EQ(SKEW_OK, RotateGrayImage(image.data(), kWidth, kHeight, -12.39, &turned, 0));
  double points[] = {42.5, 32};
  ASSERT_EQ(SKEW_OK, skew_map_points(&steps, SKEW_MAP_TO_RESULT, points, 1));
  expect_dot_at(Bytes(turned, turned + image.size()), kWidth, kHeight, points[0], points[1]);
  std::free(turned);
}

TEST(MapPoints, RefusesWhatHasNoAnswer) {
  SkewTransform t = {};
  double points[] = {3, 4};
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_map_points(&t, SKEW_MAP_TO_SOURCE, points, 1)) << "no inverse";
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_transform(0, 5, 1, SKEW_CANVAS_KEEP, &t));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_transform(5, 5, 181, SKEW_CANVAS_KEEP, &t));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_transform(5, 5, 1, SKEW_CANVAS_KEEP, nullptr));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_transform_in_steps(5, 5, 66, &t));
  EXPECT_EQ(0, t.width);
  ASSERT_EQ(SKEW_OK, skew_transform(5, 5, 1, SKEW_CANVAS_KEEP, &t));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_map_points(&t, 2, points, 1));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_map_points(&t, SKEW_MAP_TO_RESULT, points, -1));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_map_points(&t, SKEW_MAP_TO_RESULT, nullptr, 1));
  EXPECT_EQ(SKEW_OK, skew_map_points(&t, SKEW_MAP_TO_RESULT, nullptr, 0));
  EXPECT_EQ(3, points[0]);
}

// ---- the border's colour ----

TEST(BorderColour, IsTheMedianOfTheFrameAlone) {
  // 150 x 100: a frame of two pixels. Padding, stored bottom up, holds another value.
  constexpr int kWidth = 150, kHeight = 100, kStride = 160;
  Bytes page(kStride * kHeight, 9);
  const auto paint = [&](int left, int top, int right, int bottom, uint8_t value) {
    for (int y = top; y < bottom; ++y)
      for (int x = left; x < right; ++x) page[y * kStride + x] = value;
  };
  paint(0, 0, kWidth, kHeight, 230);
  paint(2, 2, kWidth - 2, kHeight - 2, 240);
  paint(0, 0, kWidth, 2, 50);  // 300 of 984 pixels: dust
  uint32_t fill = 1;
  ASSERT_EQ(SKEW_OK, skew_border_gray(page.data(), kStride, kWidth, kHeight, &fill));
  EXPECT_EQ(0xFFE6E6E6, fill);
  ASSERT_EQ(SKEW_OK, skew_border_gray(&page[kStride * (kHeight - 1)], -kStride, kWidth, kHeight, &fill));
  EXPECT_EQ(0xFFE6E6E6, fill);
  paint(0, kHeight - 2, 100, kHeight, 50);
  ASSERT_EQ(SKEW_OK, skew_border_gray(page.data(), kStride, kWidth, kHeight, &fill));
  EXPECT_EQ(0xFF323232, fill) << "500 of 984";

  const uint8_t rgb[] = {1, 2, 3, 0, 7, 8, 9, 0};  // two pixels: the lower median of each channel
  ASSERT_EQ(SKEW_OK, skew_border_rgb(rgb, 6, 2, 1, &fill));
  EXPECT_EQ(0xFF000203u, fill);
  const uint32_t argb[] = {0x80102030, 0x70112233, 0x90001020};
  ASSERT_EQ(SKEW_OK, skew_border_argb(argb, 12, 3, 1, &fill));
  EXPECT_EQ(0x80102030u, fill);
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_border_argb(argb, 10, 1, 1, &fill)) << "not a multiple of 4";
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_border_rgb(rgb, 5, 2, 1, &fill));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_border_gray(nullptr, 5, 2, 1, &fill));
  EXPECT_EQ(0x80102030u, fill);
}

// ---- pages ----

struct Free {
  void operator()(void* block) const { std::free(block); }
};
template <class T>
using Owned = std::unique_ptr<T, Free>;

TEST(Level, GivesOneAnswerInEveryLayout) {
  const TestPage page = draw_page(PageKind::kLines, 701, 603, 4.3, 1.7);
  const int width = page.width, height = page.height, stride = width + 3;
  // One page in each layout, with other bytes between the rows; the colours have the page's luma.
  Bytes gray(stride * height, 7), rgb(3 * stride * height, 7);
  std::vector<uint32_t> argb(stride * height, 7);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const uint8_t v = page.pixels[y * width + x], red = v < 200 ? v + 40 : v, green = v, blue = v;
      const int at = y * stride + x;
      gray[at] = static_cast<uint8_t>(GetYfromRGB(red, green, blue));
      rgb[3 * at] = red, rgb[3 * at + 1] = green, rgb[3 * at + 2] = blue;
      argb[at] = 0x55000000u | red << 16 | green << 8 | blue;
    }
  SkewLevelOptions options = defaults();
  options.canvas = SKEW_CANVAS_EXPAND;
  for (const bool given : {false, true}) {
    options.fillMode = given ? SKEW_FILL_GIVEN : SKEW_FILL_BORDER;
    options.fill = 0x80FF0000;
    SkewLevel levels[3];
    unsigned char *gray_level = nullptr, *rgb_level = nullptr;
    uint32_t* argb_level = nullptr;
    ASSERT_EQ(SKEW_OK,
              skew_level_gray(gray.data(), stride, width, height, &options, &gray_level, &levels[0]));
    const Owned<unsigned char> gray_owner(gray_level);
    ASSERT_EQ(SKEW_OK,
              skew_level_rgb(rgb.data(), 3 * stride, width, height, &options, &rgb_level, &levels[1]));
    const Owned<unsigned char> rgb_owner(rgb_level);
    ASSERT_EQ(SKEW_OK,
              skew_level_argb(argb.data(), 4 * stride, width, height, &options, &argb_level, &levels[2]));
    const Owned<uint32_t> argb_owner(argb_level);
    const uint32_t fills[2][3] = {{0xFFF0F0F0, 0xFFF0F0F0, 0x55F0F0F0}, {0xFF4C4C4C, 0xFFFF0000, 0x80FF0000}};
    for (int i = 0; i < 3; ++i) {
      ASSERT_EQ(SKEW_LEVELLED, levels[i].action);
      EXPECT_NEAR(4.3, levels[i].angle, 0.03);
      EXPECT_EQ(levels[0].angle, levels[i].angle);
      EXPECT_EQ(fills[given][i], levels[i].fill);
    }
    const SkewTransform& t = levels[0].transform;
    EXPECT_GT(t.outWidth, width);
    SkewLevel again;
    ASSERT_EQ(SKEW_OK, skew_plan_gray(gray_level, t.outWidth, t.outWidth, t.outHeight, nullptr, &again));
    EXPECT_NEAR(0, again.tilt, 0.05);
    // The corner came into view; the middle pixel is the page's, in every layout.
    const size_t middle = static_cast<size_t>(t.outHeight / 2) * t.outWidth + t.outWidth / 2;
    for (const size_t at : {size_t{0}, middle}) {
      const uint32_t pixel = argb_level[at];
      if (at == 0) {
        EXPECT_EQ(levels[2].fill, pixel);
        EXPECT_EQ(levels[0].fill & 255, gray_level[at]);
      }
      for (int channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(static_cast<int>(pixel >> (16 - 8 * channel) & 255), rgb_level[3 * at + channel], 1);
    }
  }
}

TEST(Level, LeavesAPageAloneAndSaysSo) {
  const Bytes white(100 * 90, 250);
  unsigned char untouched, *out = &untouched;
  SkewLevel level;
  ASSERT_EQ(SKEW_OK, skew_level_gray(white.data(), 100, 100, 90, nullptr, &out, &level));
  EXPECT_EQ(nullptr, out);
  EXPECT_EQ(SKEW_LEFT_BLANK, level.action);
  EXPECT_EQ(SKEW_REASON_NO_CONTENT, level.page.reason);
  EXPECT_EQ(0xFFFAFAFA, level.fill);
  double corner[] = {100, 90};
  ASSERT_EQ(SKEW_OK, skew_map_points(&level.transform, SKEW_MAP_TO_RESULT, corner, 1));
  EXPECT_EQ(100, corner[0]);
  EXPECT_EQ(90, corner[1]);

  level.action = 77;
  out = &untouched;
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_level_gray(white.data(), 99, 100, 90, nullptr, &out, &level));
  EXPECT_EQ(nullptr, out);
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_level_gray(white.data(), 100, 100, 90, nullptr, nullptr, &level));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_level_gray(white.data(), 100, 100, 90, nullptr, &out, nullptr));
  EXPECT_EQ(77, level.action);
}

}  // namespace
}  // namespace skew
