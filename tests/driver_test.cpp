#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "core/raster.h"
#include "include/skewcorrection/skew.h"
#include "reference/driver.h"
#include "skew/content_box.h"
#include "skew/driver.h"
#include "tests/support/allocations.h"

namespace skew {
namespace {

using Bytes = std::vector<uint8_t>;

// Dark lines on paper that fall to the right by `degrees`, in rows `stride` apart.
Bytes lined_page(int width, int height, ptrdiff_t stride, double degrees) {
  Bytes page(stride * height, 0);
  const double sine = std::sin(degrees * 3.14159265358979 / 180),
               cosine = std::cos(degrees * 3.14159265358979 / 180);
  const double pitch = std::min(width, height) / 16.0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const double across = (y * cosine - x * sine) / pitch, along = (x * cosine + y * sine) / pitch;
      const bool ink = across - std::floor(across) < 0.4 && along - std::floor(along) < 0.6;
      const bool margin = x < width / 8 || x > width - width / 8 || y < height / 8 || y > height - height / 8;
      page[y * stride + x] = ink && !margin ? 30 : 230;
    }
  return page;
}

// An edge map with rectangles of edge pixels, which the content box sees as whole rows and columns.
Bytes map_with(int width, int height, const std::vector<Box>& filled) {
  Bytes map(width * height, 0);
  for (const Box& box : filled)
    for (int y = box.top; y <= box.bottom; ++y)
      for (int x = box.left; x <= box.right; ++x) map[y * width + x] = 255;
  return map;
}

std::vector<int> sides(const Box& box) { return {box.left, box.right, box.top, box.bottom}; }

}  // namespace

TEST(Driver, WorkingSizes) {
  const struct {
    int width, height;
    int64_t working_width, working_height;
  } cases[] = {{32, 32, 32, 32},         {33, 40, 36, 43},       {192, 100, 192, 100},
               {191, 1000, 192, 1005},   {200, 191, 200, 191},   {640, 480, 256, 192},
               {1280, 720, 344, 192},    {720, 1280, 192, 341},  {480, 640, 192, 256},
               {192, 192, 192, 192},     {193, 192, 196, 192},   {1000, 1000, 192, 192},
               {100000, 32, 100000, 32}, {33, 65536, 36, 71493}, {192, 2147483647, 192, 2147483647}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.width << 'x' << c.height);
    EXPECT_EQ(c.working_width, working_size(c.width, c.height).width);
    EXPECT_EQ(c.working_height, working_size(c.width, c.height).height);
  }
}

TEST(Driver, ContentBox) {
  const struct {
    const char* what;
    std::vector<Box> filled;
    std::vector<int> expected;
  } cases[] = {
      {"nothing: the interior", {}, {2, 61, 2, 45}},
      {"a block", {{10, 30, 12, 25}}, {10, 30, 12, 25}},
      {"eight pixels are not content", {{10, 17, 12, 19}}, {2, 61, 2, 45}},
      {"nine are", {{10, 18, 12, 20}}, {10, 18, 12, 20}},
      {"a single row reaches to the limit, and its columns are too short",
       {{10, 40, 12, 12}},
       {2, 61, 12, 45}},
      {"a single column likewise", {{20, 20, 5, 30}}, {20, 61, 2, 45}},
      {"the outermost two rows and columns do not count",
       {{0, 63, 0, 1}, {0, 1, 0, 47}, {62, 63, 0, 47}, {0, 63, 46, 47}},
       {2, 61, 2, 45}},
      {"two blocks span what lies between", {{4, 12, 3, 11}, {50, 58, 30, 38}}, {4, 58, 3, 38}},
      {"content up to the limits", {{2, 61, 2, 45}}, {2, 61, 2, 45}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes counts(64);
    EXPECT_EQ(c.expected, sides(find_content_box(map_with(64, 48, c.filled).data(), 64, 48, counts.data())));
  }
  Bytes counts(64);
  EXPECT_EQ(
      (std::vector<int>{10, 21, 5, 70003}),
      sides(find_content_box(map_with(64, 70010, {{10, 21, 5, 70003}}).data(), 64, 70010, counts.data())))
      << "columns of more than 65535 edge pixels";
}

TEST(Driver, SquareOfTheContent) {
  EXPECT_EQ((std::vector<int>{69, 128, 70, 129}), sides(square_of({50, 149, 70, 129})));
  EXPECT_EQ((std::vector<int>{70, 129, 69, 128}), sides(square_of({70, 129, 50, 149})));
  EXPECT_EQ((std::vector<int>{49, 58, 50, 59}), sides(square_of({50, 59, 50, 59}))) << "a square moves left";
  EXPECT_EQ((std::vector<int>{50, 58, 49, 57}), sides(square_of({50, 58, 50, 59}))) << "odd difference";
}

TEST(Driver, MeasuresPagesOfEveryShape) {
  const struct {
    const char* what;
    int width, height;
    double degrees;
  } cases[] = {{"landscape", 640, 480, 5},
               {"portrait, rising", 480, 640, -7.4},
               {"width not a multiple of four", 701, 507, 11.2},
               {"not reduced", 190, 170, 3},
               {"level", 400, 400, 0},
               {"wider than 16 bits", 66000, 200, -4},
               {"higher than 16 bits", 193, 66001, 8}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    double padded = 99, tight = 99;
    const Bytes page = lined_page(c.width, c.height, padded_stride(c.width), c.degrees);
    ASSERT_EQ(SKEW_OK, SkewCorrection(page.data(), c.width, c.height, &padded));
    EXPECT_NEAR(c.degrees, padded, 0.21);
    EXPECT_FALSE(std::signbit(padded) && padded == 0);
    const Bytes rows = lined_page(c.width, c.height, c.width, c.degrees);
    ASSERT_EQ(SKEW_OK, measure_skew(rows.data(), c.width, c.height, c.width, &tight));
    EXPECT_EQ(padded, tight);
  }
}

// The same patch in a short strip and behind column 65535 of a long one: neither is reduced.
TEST(Driver, ContentFarToTheRightIsMeasuredWhereItLies) {
  const auto measured_with_patch_at = [](int left, int width) {
    Bytes strip(width * 100, 255);
    for (int y = 20; y < 80; ++y)
      for (int x = 0; x < 60; ++x)
        if ((5 * y - x) / 30 % 2 == 0) strip[y * width + left + x] = 0;
    double angle = 99;
    EXPECT_EQ(SKEW_OK, SkewCorrection(strip.data(), width, 100, &angle));
    return angle;
  };
  const double near = measured_with_patch_at(100, 400);
  EXPECT_NEAR(11.3, near, 0.5);
  EXPECT_EQ(near, measured_with_patch_at(80000, 100000));
}

TEST(Driver, RefusesBadArguments) {
  const Bytes page(64 * 64, 128);
  double angle = 99;
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, SkewCorrection(nullptr, 64, 64, &angle));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, SkewCorrection(page.data(), 31, 64, &angle));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, SkewCorrection(page.data(), 64, 31, &angle));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, SkewCorrection(page.data(), 64, 64, nullptr));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, SkewCorrection(page.data(), INT32_MIN, 64, &angle));
  EXPECT_EQ(SKEW_INVALID_ARGUMENT, measure_skew(page.data(), 64, 64, 63, &angle)) << "rows that overlap";
  for (const int other : {32, 33, 191, 192}) {
    SCOPED_TRACE(other);
    EXPECT_EQ(SKEW_INVALID_ARGUMENT, SkewCorrection(page.data(), INT32_MAX, other, &angle));
    EXPECT_EQ(SKEW_INVALID_ARGUMENT, SkewCorrection(page.data(), other, INT32_MAX, &angle));
  }
  EXPECT_EQ(99, angle);
}

// The figures of the manual: a page reduced to 256 x 192, and a strip that is not reduced.
TEST(Driver, TakesNoMoreMemoryThanStated) {
  for (const int width : {1024, 4096, 60000}) {
    SCOPED_TRACE(width);
    const int height = width > 50000 ? 40 : width / 4 * 3;
    const Bytes page = lined_page(width, height, width, 4);
    const size_t reduced_width = width > 50000 ? width : 256,
                 working = reduced_width * (width > 50000 ? 40 : 192);
    double angle = 99;
    test::reset_peak();
    const size_t before = test::bytes_held();
    EXPECT_EQ(SKEW_OK, SkewCorrection(page.data(), width, height, &angle));
    EXPECT_LE(test::peak_bytes_held() - before, working * 12 / 5 + reduced_width * 10 + 110000);
  }
}

TEST(Driver, EveryAllocationMayFail) {
  const Bytes page = lined_page(320, 240, 320, 2);
  const std::vector<int> order = {SKEW_OUT_OF_MEMORY, SKEW_EDGE_DETECTION_FAILED, SKEW_OUT_OF_MEMORY,
                                  SKEW_ANGLE_SEARCH_FAILED};
  std::vector<int> seen;
  for (int number = 1; number < 40; ++number) {
    double angle = 99;
    const test::FailOnly one(number);
    const int result = SkewCorrection(page.data(), 320, 240, &angle);
    EXPECT_EQ(0, test::blocks_held());
    if (result == SKEW_OK) break;
    EXPECT_EQ(99, angle);
    if (seen.empty() || seen.back() != result) seen.push_back(result);
  }
  EXPECT_EQ(order, seen) << "reduction and map, edge detection, counts, search";
}

TEST(Driver, AgreesWithItsLiteralForm) {
  const struct {
    int width, height, padding;
    double degrees;
  } cases[] = {{32, 32, 0, 3},    {57, 41, 3, -12},   {190, 400, 2, 30},   {191, 1000, 1, 0.7},
               {333, 250, 0, -7}, {640, 480, 0, 4.4}, {801, 1111, 5, -41}, {1500, 200, 4, 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.width << 'x' << c.height);
    const ptrdiff_t stride = c.width + c.padding;
    const Bytes page = lined_page(c.width, c.height, stride, c.degrees);
    double angle = 99;
    ASSERT_EQ(SKEW_OK, measure_skew(page.data(), c.width, c.height, stride, &angle));
    EXPECT_EQ(reference::skew_of(page.data(), c.width, c.height, stride), angle);
  }
}

}  // namespace skew
