#include <gtest/gtest.h>

#include <vector>

#include "core/raster.h"
#include "core/sample2x2.h"
#include "include/skewcorrection/skew.h"
#include "reference/shrink.h"
#include "tests/support/allocations.h"
#include "tests/support/random.h"

namespace skew {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kGap = 0xA5;  // what the destination holds before the call

Bytes shrink(const Bytes& source, int width, const ImgROI& box, int out_width, int out_height,
             int height = 0) {
  Bytes out(padded_stride(out_width) * out_height, kGap);
  EXPECT_EQ(SKEW_OK,
            ImgShrink_TrackNew(source.data(), width, height, box, out.data(), out_width, out_height));
  return out;
}

ImgROI box_of(int left, int top, int width, int height) {
  ImgROI box = {};
  box.left = static_cast<uint16_t>(left);
  box.top = static_cast<uint16_t>(top);
  box.right = static_cast<uint16_t>(left + width - 1);
  box.bottom = static_cast<uint16_t>(top + height - 1);
  return box;
}

// Every column holds its own number, every row adds nothing: the result shows which columns were sampled.
Bytes column_numbers(int width, int height) {
  Bytes source(padded_stride(width) * height);
  for (size_t i = 0; i < source.size(); ++i) source[i] = static_cast<uint8_t>(i % padded_stride(width));
  return source;
}

}  // namespace

TEST(ImgShrink, WorkedExamples) {
  const uint8_t g = kGap;
  const struct {
    const char* what;
    int width;
    Bytes source;
    ImgROI box;
    int out_width, out_height;
    Bytes expected;
  } cases[] = {
      {"same size is no copy: block means, pair means at the ends, one column to the left in the last",
       3,
       {10, 20, 41, g, 30, 40, 60, g, 50, 71, 81, g},
       box_of(0, 0, 3, 3),
       3,
       3,
       {25, 40, 30, g, 47, 63, 55, g, 60, 76, 71, g}},
      {"five columns to three: the last takes the second's source column",
       5,
       {0, 10, 20, 30, 40, g, g, g},
       box_of(0, 0, 5, 1),
       3,
       1,
       {5, 15, 10, g}},
      {"enlarged: repeated, not interpolated", 2, {10, 30, g, g}, box_of(0, 0, 2, 1), 4, 1, {20, 20, 10, 30}},
      {"a region inside the raster never reads outside it",
       4,
       {255, 255, 255, 255, 255, 8, 255, 255, 255, 4, 255, 255, 255, 255, 255, 255},
       box_of(1, 1, 1, 2),
       2,
       2,
       {6, 6, g, g, 4, 4, g, g}},
      {"one destination column", 4, {10, 20, 30, 40}, box_of(1, 0, 3, 1), 1, 1, {20, g, g, g}},
      {"an inverted region changes nothing", 4, {1, 2, 3, 4}, box_of(2, 0, 0, 1), 1, 1, {g, g, g, g}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.expected, shrink(c.source, c.width, c.box, c.out_width, c.out_height));
  }
}

TEST(ImgShrink, LastColumnRepeatsTheSourceOfTheOneBefore) {
  const Bytes source = column_numbers(1000, 2);
  const Bytes out = shrink(source, 1000, box_of(0, 0, 1000, 2), 192, 1, -7);
  EXPECT_EQ(989 % 256, out[191]);
  EXPECT_EQ(989 % 256, out[190]);  // mean of 989 and 990, rounded down
  EXPECT_EQ(984 % 256, out[189]);
}

TEST(ImgShrink, EqualsThePlainFormForEveryShape) {
  test::Random random(22);
  const auto check = [&](int width, int height, int out_width, int out_height) {
    SCOPED_TRACE(testing::Message() << width << 'x' << height << " to " << out_width << 'x' << out_height);
    const int left = random.below(5), top = random.below(3), full = left + width + random.below(5);
    const ptrdiff_t stride = padded_stride(full);
    // The source ends with the region's last pixel, so that reading past it shows.
    const Bytes source = random.bytes((top + height - 1) * stride + left + width);
    const ptrdiff_t out_stride = padded_stride(out_width);
    Bytes expected(out_stride * out_height, kGap);
    reference::shrink(&source[top * stride + left], stride, width, height, expected.data(), out_stride,
                      out_width, out_height);
    EXPECT_EQ(expected, shrink(source, full, box_of(left, top, width, height), out_width, out_height));
  };
  for (int width = 1; width <= 80; ++width)
    for (const int height : {1, 2, 5}) {
      check(width, height, width, height);
      check(2 * width, 2 * height, width, height);
      check(2 * width + 1, height, width, height + 1);
      check(width, height, 1 + random.below(90), 1 + random.below(6));
    }
  check(640, 480, 256, 192);
  check(1000, 70, 61, 35);
}

TEST(ImgShrink, WithoutMemoryTheDestinationStays) {
  const Bytes source(64, 9);
  Bytes out(16, kGap);
  {
    const test::FailFrom none(1);
    EXPECT_EQ(SKEW_NO_WORKING_MEMORY,
              ImgShrink_TrackNew(source.data(), 8, 8, box_of(0, 0, 8, 8), out.data(), 4, 4));
  }
  EXPECT_EQ(Bytes(16, kGap), out);
  EXPECT_EQ(0, test::blocks_held());
}

}  // namespace skew
