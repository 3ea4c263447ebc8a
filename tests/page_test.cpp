#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "include/skewcorrection/page.h"
#include "include/skewcorrection/rotate.h"
#include "page/area_average.h"
#include "tests/support/allocations.h"
#include "tests/support/pages.h"

namespace skew {
namespace {

using test::draw_page;
using test::PageKind;
using test::TestPage;

SkewPage measure(const TestPage& page) {
  SkewPage found = {};
  EXPECT_EQ(SKEW_OK, skew_measure_page(page.pixels.data(), page.width, page.height, page.width, &found));
  return found;
}

// The small fixed part of the accuracy measurement (docs/accuracy.md). The bounds are about three times what
// is seen, so that a lost tenth of a pixel shows.
TEST(MeasurePage, FindsTheAngleOfEveryKindOfPage) {
  const struct {
    const char* what;
    PageKind kind;
    int width, height;
    double angle, dot;
    int ink, noise;
  } cases[] = {{"lines, level", PageKind::kLines, 700, 900, 0, 1.6, 30, 4},
               {"lines, a hair", PageKind::kLines, 701, 903, 0.07, 1.5, 30, 4},
               {"lines, falling, reduced", PageKind::kLines, 1210, 1601, 7.31, 2.5, 30, 10},
               {"lines, rising, landscape", PageKind::kLines, 1100, 800, -13.77, 1.7, 30, 4},
               {"lines, steep, pale", PageKind::kLines, 800, 1000, 38.45, 1.8, 180, 2},
               {"hardly visible", PageKind::kLines, 800, 1000, 12.02, 1.8, 217, 1},
               {"columns of writing", PageKind::kColumns, 800, 1000, -21.13, 1.6, 30, 4},
               {"table", PageKind::kTable, 800, 1000, 3.99, 1.4, 30, 4},
               {"three lines", PageKind::kThreeLines, 800, 1000, -4.44, 1.5, 30, 4}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const SkewPage found = measure(draw_page(c.kind, c.width, c.height, c.angle, c.dot, c.ink, c.noise));
    EXPECT_NEAR(c.angle, found.angle, c.kind == PageKind::kThreeLines ? 0.06 : 0.03);
    EXPECT_EQ(SKEW_PAGE_TRUSTED, found.verdict);
    EXPECT_GE(found.windowsMeasured, found.windowsAgreeing);
    EXPECT_LE(found.spread, 0.6);
  }
}

TEST(MeasurePage, TellsRowsFromColumnsAtTheDiagonal) {
  for (const double angle : {44.7, 45.3, -44.7, -45.3})
    EXPECT_NEAR(angle, measure(draw_page(PageKind::kLines, 800, 800, angle, 1.6)).angle, 0.05);
  EXPECT_NEAR(-43, measure(draw_page(PageKind::kLines, 800, 800, 47, 1.6)).angle, 0.05) << "folded";
}

TEST(MeasurePage, StraightenedPagesMeasureLevel) {
  for (const double angle : {-11.37, 2.21, 29.5}) {
    const TestPage page = draw_page(PageKind::kLines, 900, 1100, angle, 1.8);
    TestPage level = page;
    ASSERT_EQ(SKEW_OK,
              skew_rotate_gray(page.pixels.data(), page.width, page.width, page.height, measure(page).angle,
                               SKEW_CANVAS_KEEP, level.pixels.data(), level.width, 240));
    EXPECT_NEAR(0, measure(level).angle, 0.03) << angle;
  }
}

TestPage blobs() {
  TestPage page{900, 1000, std::vector<uint8_t>(900 * 1000, 210)};
  test::Random random(3);
  for (int i = 0; i < 260; ++i) {
    const int cx = random.below(900), cy = random.below(1000), r = 4 + random.below(40),
              shade = random.below(256);
    const int squeeze = 1 + random.below(3);
    for (int y = cy - r; y <= cy + r; ++y)
      for (int x = cx - r; x <= cx + r; ++x)
        if (x >= 0 && x < 900 && y >= 0 && y < 1000 &&
            (x - cx) * (x - cx) + squeeze * (y - cy) * (y - cy) <= r * r)
          page.pixels[y * 900 + x] = static_cast<uint8_t>(shade);
  }
  return page;
}

TEST(MeasurePage, SaysWhenThereIsNoAnswer) {
  test::Random random(5);
  TestPage white{800, 1000, std::vector<uint8_t>(800 * 1000, 255)}, faint_noise = white, noise = white,
                                                                    shaded = white;
  TestPage tiny{31, 500, std::vector<uint8_t>(31 * 500, 0)}, thin{1, 1, {0}};
  for (uint8_t& p : faint_noise.pixels) p = static_cast<uint8_t>(200 + random.below(10));
  noise.pixels = random.bytes(noise.pixels.size());
  for (size_t i = 0; i < shaded.pixels.size(); ++i) shaded.pixels[i] = static_cast<uint8_t>(60 + i % 800 / 5);
  // Of three lines, only what a window of 90 x 20 pixels shows.
  TestPage few_words = draw_page(PageKind::kThreeLines, 800, 1000, 2.5, 1.5);
  for (int i = 0; i < 800 * 1000; ++i)
    if (std::abs(i % 800 - 400) > 45 || std::abs(i / 800 - 475) > 10) few_words.pixels[i] = 240;
  const struct {
    const char* what;
    const TestPage& page;
    int verdict;
  } cases[] = {{"white", white, SKEW_PAGE_BLANK},       {"faint noise", faint_noise, SKEW_PAGE_BLANK},
               {"noise", noise, SKEW_PAGE_BLANK},       {"shaded", shaded, SKEW_PAGE_BLANK},
               {"narrow", tiny, SKEW_PAGE_BLANK},       {"one pixel", thin, SKEW_PAGE_BLANK},
               {"blobs", blobs(), SKEW_PAGE_UNCERTAIN}, {"half a line", few_words, SKEW_PAGE_UNCERTAIN}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const SkewPage found = measure(c.page);
    EXPECT_EQ(c.verdict, found.verdict);
    if (c.verdict == SKEW_PAGE_BLANK) {
      EXPECT_EQ(0, found.angle);
    }
  }
}

TEST(MeasurePage, ReadsAnyRowDistanceAndNothingBetweenRows) {
  const TestPage page = draw_page(PageKind::kLines, 801, 603, 5.55, 1.6);
  const SkewPage expected = measure(page);
  for (const ptrdiff_t stride : {801, 804, 1000, -801, -900}) {
    const ptrdiff_t step = stride < 0 ? -stride : stride;
    std::vector<uint8_t> rows = test::Random(9).bytes(static_cast<size_t>(step) * 603);
    uint8_t* first = stride < 0 ? rows.data() + step * 602 : rows.data();
    for (int y = 0; y < 603; ++y)
      std::memcpy(first + y * stride, &page.pixels[static_cast<size_t>(y) * 801], 801);
    SkewPage found = {};
    ASSERT_EQ(SKEW_OK, skew_measure_page(first, 801, 603, stride, &found));
    EXPECT_EQ(expected.angle, found.angle) << stride;
    EXPECT_EQ(expected.windowsMeasured, found.windowsMeasured);
  }
}

TEST(MeasurePage, RefusesBadArguments) {
  const uint8_t pixel = 0;
  SkewPage page = {};
  SkewPageDetails details = {};
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_measure_page(nullptr, 1, 1, 1, &page));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_measure_page(&pixel, 0, 1, 1, &page));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_measure_page(&pixel, 1, -1, 1, &page));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_measure_page(&pixel, 2, 1, 1, &page));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_measure_page(&pixel, 2, 1, -1, &page));
  for (const ptrdiff_t stride : {PTRDIFF_MIN, PTRDIFF_MAX / 39, -(PTRDIFF_MAX / 39)})
    EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_measure_page(&pixel, 40, 40, stride, &page));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_measure_page(&pixel, 1, 1, 1, nullptr));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_measure_page_details(&pixel, 1, 1, 1, &page, nullptr));
  details.windowCount = 5;
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, skew_measure_page_details(nullptr, 1, 1, 1, &page, &details));
  EXPECT_EQ(0, details.windowCount);
  skew_free_page_details(nullptr);
}

TEST(MeasurePage, HandsOutWhatItLookedAt) {
  const TestPage page = draw_page(PageKind::kLines, 1601, 1203, -8.25, 2.4);
  const SkewPage expected = measure(page);
  const long held = test::blocks_held();
  SkewPage found = {};
  SkewPageDetails details;
  ASSERT_EQ(SKEW_OK, skew_measure_page_details(page.pixels.data(), 1601, 1203, 1601, &found, &details));
  EXPECT_EQ(expected.angle, found.angle);
  EXPECT_EQ(kReducedSide, details.height);
  EXPECT_EQ((details.width + 3) & ~3, details.stride);
  EXPECT_NEAR(1203.0 / kReducedSide, details.scale, 2e-4);
  ASSERT_EQ(found.windowsMeasured, details.windowCount);
  int agreeing = 0;
  for (int i = 0; i < details.windowCount; ++i) {
    const SkewPageWindow& window = details.pWindows[i];
    EXPECT_GE(window.points, 100);
    EXPECT_TRUE(0 <= window.left && window.left < window.right && window.right < details.width);
    EXPECT_TRUE(0 <= window.top && window.top < window.bottom && window.bottom < details.height);
    EXPECT_EQ(std::fabs(window.angle - found.angle) <= 1, window.agrees == 1);
    agreeing += window.agrees;
  }
  EXPECT_EQ(found.windowsAgreeing, agreeing);
  ASSERT_EQ(450, details.scoreCount);
  int best = 0;
  for (int i = 0; i < 450; ++i) {
    EXPECT_NEAR(-45 + i * 0.2, details.pScores[i].angle, 1e-9);
    if (details.pScores[i].score > details.pScores[best].score) best = i;
  }
  EXPECT_NEAR(found.angle, details.pScores[best].angle, 0.2);
  skew_free_page_details(&details);
  skew_free_page_details(&details);
  EXPECT_EQ(held, test::blocks_held());
}

TEST(MeasurePage, UsesNoMoreHeapThanItSays) {
  TestPage page{800, 1000, test::Random(8).bytes(800 * 1000)};  // noise, the most points there can be
  const size_t held = test::bytes_held();
  test::reset_peak();
  measure(page);
  EXPECT_LE(test::peak_bytes_held() - held, 800 * 1000 * 14u);
}

TEST(MeasurePage, SurvivesEveryFailedAllocation) {
  const TestPage page = draw_page(PageKind::kLines, 300, 260, 4, 1.2);
  const long held = test::blocks_held();
  int status = SKEW_OUT_OF_MEMORY, number = 0;
  while (status != SKEW_OK && number < 1000) {
    ++number;
    SkewPage found = {};
    found.angle = 77;
    SkewPageDetails details;
    {
      const test::FailOnly fail(number);
      status = skew_measure_page_details(page.pixels.data(), page.width, page.height, page.width, &found,
                                         &details);
    }
    if (status == SKEW_OK) {
      skew_free_page_details(&details);
    } else {
      EXPECT_EQ(SKEW_OUT_OF_MEMORY, status);
      EXPECT_EQ(77, found.angle);
      EXPECT_TRUE(details.pWorking == nullptr && details.pWindows == nullptr && details.scoreCount == 0);
    }
    EXPECT_EQ(held, test::blocks_held()) << number;
  }
  EXPECT_GT(number, 10);
}

// The mean over the part of the source that a working pixel covers, in doubles and pixel by pixel.
double covered_mean(const std::vector<uint8_t>& pixels, int width, double left, double top, double step) {
  double sum = 0;
  for (int y = static_cast<int>(top); y < top + step; ++y)
    for (int x = static_cast<int>(left); x < left + step; ++x) {
      const double w = std::fmin(x + 1, left + step) - std::fmax(x, left);
      const double h = std::fmin(y + 1, top + step) - std::fmax(y, top);
      if (w > 0 && h > 0 && x < width) sum += w * h * pixels[static_cast<size_t>(y) * width + x];
    }
  return sum / (step * step);
}

TEST(AreaAverage, IsTheMeanOfWhatAPixelCovers) {
  const struct {
    int width, height;
  } cases[] = {{897, 930}, {1000, 1537}, {2311, 907}, {3000, 1600}, {1900, 1050}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.width << 'x' << c.height);
    const ReducedSize size = reduced_size(c.width, c.height);
    const double step = size.scale();
    ASSERT_EQ(kReducedSide, size.width < size.height ? size.width : size.height);
    const std::vector<uint8_t> source = test::Random(c.width).bytes(static_cast<size_t>(c.width) * c.height);
    std::vector<uint8_t> out(static_cast<size_t>(size.width) * size.height);
    ASSERT_TRUE(area_average(source.data(), c.width, c.width, size, out.data(), size.width));
    test::Random random(1);
    for (int i = 0; i < 2000; ++i) {
      const int x = random.below(size.width), y = random.below(size.height);
      ASSERT_NEAR(covered_mean(source, c.width, x * step, y * step, step),
                  out[static_cast<size_t>(y) * size.width + x], 2.1)
          << x << ' ' << y;
    }
  }
}

TEST(AreaAverage, KeepsSidesWithinTheirLimits) {
  const struct {
    int width, height, reduced_width, reduced_height;
  } cases[] = {{100, 50, 100, 50},      {896, 1000, 896, 1000}, {1792, 1792, 896, 896},
               {4000, 3000, 1194, 896}, {100000, 50, 4095, 2},  {2147483647, 1, 4095, 0}};
  for (const auto& c : cases) {
    const ReducedSize size = reduced_size(c.width, c.height);
    EXPECT_EQ(c.reduced_width, size.width);
    EXPECT_EQ(c.reduced_height, size.height);
  }
  const ReducedSize square = reduced_size(40000, 90000);
  EXPECT_LE(static_cast<int64_t>(square.width) * square.height, kReducedPixels);
}

}  // namespace
}  // namespace skew
