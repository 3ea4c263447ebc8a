#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "core/simd.h"
#include "include/skewcorrection/skew.h"
#include "reference/search.h"
#include "skew/one_step_search.h"
#include "tests/support/allocations.h"
#include "tests/support/noise.h"
#include "tests/support/random.h"

namespace skew {
namespace {

// An edge map with a little room around its box, so that the box does not start at the map's corner.
struct Map {
  Map(int width, int height) : stride(width + 7), pixels(static_cast<size_t>(stride) * (height + 4)), roi() {
    roi.left = 3, roi.top = 2;
    roi.right = static_cast<uint16_t>(roi.left + width - 1);
    roi.bottom = static_cast<uint16_t>(roi.top + height - 1);
  }
  void set(int x, int y, uint8_t value = 255) {
    pixels[static_cast<size_t>(roi.top + y) * stride + roi.left + x] = value;
  }
  int width() const { return roi.right - roi.left + 1; }
  int height() const { return roi.bottom - roi.top + 1; }
  double angle() const {
    double degrees = -1;
    EXPECT_EQ(0, SkewAngleDetect_HOR_OneStep(pixels.data(), stride, roi, &degrees));
    return degrees;
  }
  double reference() const { return reference::one_step_search(pixels.data(), stride, roi); }

  int stride;
  std::vector<uint8_t> pixels;
  ImgROI roi;
};

// Lines ten pixels apart that run along the given angle, with gaps.
Map lines(int width, int height, double degrees, uint64_t seed) {
  Map map(width, height);
  test::Random random(seed);
  const double radians = degrees * 3.14159265358979 / 180;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const double across = y * std::cos(radians) - x * std::sin(radians) + 1000;
      if (across - 10 * std::floor(across / 10) < 1 && random.below(4) != 0) map.set(x, y);
    }
  return map;
}

TEST(OneStep, AgreesWithTheLiteralFormOnEveryShapeOfBox) {
  const struct {
    int width, height, chance;
  } cases[] = {{1, 1, 1000},     {1, 256, 600},  {256, 1, 600},   {7, 11, 900},    {8, 8, 1000},
               {15, 17, 500},    {33, 64, 100},  {63, 65, 300},   {129, 40, 200},  {189, 189, 220},
               {189, 189, 1000}, {189, 100, 20}, {255, 256, 120}, {256, 255, 700}, {256, 256, 1000},
               {257, 20, 200},   {20, 300, 200}, {300, 270, 100}, {600, 513, 300}, {1024, 1024, 1000}};
  for (const auto& c : cases)
    for (uint64_t seed = 1; seed <= (c.width < 300 ? 3 : 1); ++seed) {
      SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", seed " << seed);
      const Map map = test::noise<Map>(c.width, c.height, c.chance, seed);
      EXPECT_EQ(map.reference(), map.angle());
    }
}

TEST(OneStep, FindsLinesAtAnyAngleAsTheLiteralFormDoes) {
  for (int index = -222; index <= 222; index += 6) {
    SCOPED_TRACE(index);
    const Map map = lines(150 + index % 40, 189, index * 0.2, 5);
    const double found = map.angle();
    EXPECT_EQ(map.reference(), found);
    EXPECT_NEAR(index * 0.2, found, 0.61);
  }
}

TEST(OneStep, KeepsTheFirstOfEqualScores) {
  Map row(180, 180);
  for (int x = 0; x < 100; ++x) row.set(x, 50);
  EXPECT_EQ(-0.4, row.angle());  // +0.4 scores the same and comes later

  // Points mirrored at the main diagonal score the same at +a and -a.
  const Map tilted = lines(189, 189, 17, 9);
  Map diagonal(189, 189);
  for (int y = 0; y < 189; ++y)
    for (int x = 0; x < 189; ++x)
      if (tilted.pixels[static_cast<size_t>(2 + y) * tilted.stride + 3 + x])
        diagonal.set(x, y), diagonal.set(y, x);
  EXPECT_NEAR(17, diagonal.angle(), 0.81);
  EXPECT_EQ(diagonal.reference(), diagonal.angle());
}

TEST(OneStep, NeedsSixtyFourPoints) {
  for (const int count : {63, 64}) {
    Map map(100, 100);
    for (int i = 0; i < count; ++i) map.set(i, i / 2);
    OneStepResult result;
    EXPECT_EQ(0, one_step_search(map.pixels.data(), map.stride, map.roi, &result));
    EXPECT_EQ(static_cast<size_t>(count), result.points);
    if (count == 63) {
      EXPECT_EQ(0.0, map.angle());
      EXPECT_EQ(0.0, result.score);
    } else {
      EXPECT_NEAR(26.5, map.angle(), 1);
      EXPECT_GT(result.score, result.level_score);
    }
  }
}

TEST(OneStep, CountsCoordinatesModulo256) {
  // A falling line that goes on at the left when it passes column 255.
  Map wide(300, 300), wrapped(256, 256);
  for (int i = 0; i < 200; ++i) wide.set(i, i / 4), wrapped.set(i, i / 4);
  for (int i = 0; i < 44; ++i) wide.set(256 + i, 256 + i / 3), wrapped.set(i, i / 3);
  EXPECT_EQ(wrapped.angle(), wide.angle());
  EXPECT_EQ(wide.reference(), wide.angle());
}

TEST(OneStep, ReadsNothingWhenTheBoxIsEmpty) {
  for (const ImgROI roi : {ImgROI{1, 0, 0, 5, 0, 0, 0, 0, 0}, ImgROI{0, 5, 7, 6, 0, 0, 0, 0, 0},
                           ImgROI{65535, 0, 65535, 0, 0, 0, 0, 0, 0}}) {
    double angle = -1;
    EXPECT_EQ(0, SkewAngleDetect_HOR_OneStep(nullptr, 100, roi, &angle));
    EXPECT_EQ(0.0, angle);
  }
}

TEST(OneStep, ReportsEveryFailedAllocation) {
  for (const int side : {189, 300}) {
    const Map map = test::noise<Map>(side, side, 200, 1);
    int status = -1;
    for (long number = 1; status != 0; ++number) {
      ASSERT_LT(number, 10);
      const long before = test::blocks_held();
      double angle = -1;
      {
        const test::FailFrom fail(number);
        status = SkewAngleDetect_HOR_OneStep(map.pixels.data(), map.stride, map.roi, &angle);
      }
      EXPECT_EQ(before, test::blocks_held());
      if (status != 0) {
        EXPECT_EQ(260, status);
        EXPECT_EQ(0.0, angle);
      }
    }
  }
}

TEST(OneStep, UsesNoMoreHeapThanItSays) {
  const struct {
    int width, height, chance;
  } cases[] = {{8, 9, 1000},   {1, 256, 600},    {189, 189, 220},
               {189, 189, 10}, {256, 256, 1000}, {300, 270, 100}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", " << c.chance);
    const Map map = test::noise<Map>(c.width, c.height, c.chance, 1);
    OneStepResult result;
    const size_t before = test::bytes_held();
    test::reset_peak();
    EXPECT_EQ(0, one_step_search(map.pixels.data(), map.stride, map.roi, &result));
    const size_t pixels = size_t{2} * (c.width + 32) * (c.height + 32);
    const size_t points = 4 * result.points + size_t{2} * (c.width + c.height);
    const bool listed = !SKEW_SIMD || c.width > 256 || c.height > 256;
    EXPECT_LE(test::peak_bytes_held() - before, (listed ? points : pixels) + 6 * 1024);
  }
}

TEST(GetVariance, SumsSquares) {
  const uint16_t counts[] = {3, 0, 4, 65535};
  EXPECT_EQ(25.0, GetVariance(counts, 3));
  EXPECT_EQ(25.0 + 65535.0 * 65535.0, GetVariance(counts, 4));
  EXPECT_EQ(0.0, GetVariance(counts, 0));
  EXPECT_EQ(0.0, GetVariance(nullptr, -3));
  const std::vector<uint16_t> many((1 << 21) + 3, 65535);  // the sum passes 2^53
  EXPECT_EQ(reference::get_variance(many.data(), static_cast<int>(many.size())),
            GetVariance(many.data(), static_cast<int>(many.size())));
}

}  // namespace
}  // namespace skew
