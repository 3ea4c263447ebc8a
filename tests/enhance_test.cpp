#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "include/skewcorrection/enhance.h"
#include "reference/enhance.h"
#include "reference/shrink.h"
#include "tests/support/allocations.h"
#include "tests/support/random.h"

namespace skew {
namespace {

using Bytes = std::vector<uint8_t>;

int padded(int width) { return (width + 3) & ~3; }

// Calls the filter for every size around the vectors and at every start, and compares all bytes, those around the
// image included. Every other image ends where its memory ends.
template <class Fill>
void expect_same(int (*filter)(uint8_t*, int, int), void (*literal)(uint8_t*, int, int), Fill fill) {
  test::Random random(6);
  for (int width = 1; width <= 140; ++width)
    for (const int height : {1, 2, 3, 4, 9}) {
      const size_t start = static_cast<size_t>(random.below(32));
      Bytes original = random.bytes(start + static_cast<size_t>(padded(width)) * height + (height % 2) * 40);
      for (auto& byte : original) byte = fill(byte);
      Bytes expected = original;
      literal(expected.data() + start, width, height);
      Bytes image = original;
      EXPECT_EQ(0, filter(image.data() + start, width, height));
      ASSERT_EQ(expected, image) << width << " x " << height;
    }
}

void expect_260_and_no_change(int (*filter)(uint8_t*, int, int), size_t heap_per_column) {
  const Bytes original = test::Random(2).bytes(12 * 9);
  for (const int height : {1, 9}) {
    Bytes image = original;
    const long before = test::blocks_held();
    const size_t bytes = test::bytes_held();
    test::reset_peak();
    EXPECT_EQ(0, filter(image.data(), 11, height));
    EXPECT_EQ(11 * heap_per_column, test::peak_bytes_held() - bytes);
    const test::FailFrom fail(1);
    image = original;
    EXPECT_EQ(260, filter(image.data(), 11, height));
    EXPECT_EQ(original, image);
    EXPECT_EQ(before, test::blocks_held());
  }
}

TEST(GaussSmooth, SpreadsAnImpulseAndKeepsTheFrame) {
  const struct {
    const char* what;
    int width, height, x, y, centre, right, below, below_right;
  } cases[] = {
      {"inside", 10, 10, 5, 5, 63, 31, 31, 15},         {"padded rows", 9, 9, 4, 4, 63, 31, 31, 15},
      {"beside the frame", 10, 10, 1, 8, 63, 31, 0, 0}, {"one pixel inside", 3, 3, 1, 1, 63, 0, 0, 0},
      {"no interior column", 2, 5, 0, 2, 255, 0, 0, 0}, {"no interior row", 5, 2, 2, 0, 255, 0, 0, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const int stride = padded(c.width), at = c.y * stride + c.x;
    Bytes image(static_cast<size_t>(stride) * c.height);
    image[at] = 255;
    EXPECT_EQ(0, ImgGaussSmooth(image.data(), c.width, c.height));
    EXPECT_EQ(c.centre, image[at]);
    EXPECT_EQ(c.right, image[at + 1]);
    EXPECT_EQ(c.below, image[at + stride]);
    if (c.y + 1 < c.height) {
      EXPECT_EQ(c.below_right, image[at + stride + 1]);
    }
  }
}

TEST(GaussSmooth, RoundsDown) {
  const struct {
    Bytes image;
    int centre;
  } cases[] = {{{3, 3, 1, 0, 1, 3, 2, 2, 1, 0, 2, 0}, 1},  // the weighted sum is 31
               {Bytes(12, 255), 255}};
  for (const auto& c : cases) {
    Bytes image = c.image;
    ImgGaussSmooth(image.data(), 3, 3);
    EXPECT_EQ(c.centre, image[5]);
  }
}

TEST(GaussSmooth, AgreesWithTheLiteralForm) {
  expect_same(ImgGaussSmooth, reference::gauss_smooth, [](uint8_t byte) { return byte; });
  expect_same(ImgGaussSmooth, reference::gauss_smooth,
              [](uint8_t byte) { return static_cast<uint8_t>(byte < 100 ? 0 : 255); });
}

TEST(GaussSmooth, ReportsMissingMemory) { expect_260_and_no_change(ImgGaussSmooth, 4); }

struct Spot {
  int x, y;
};

TEST(Dilation, ClosesGapsOfOnePixel) {
  const struct {
    const char* what;
    int value;
    std::vector<Spot> set, closed;
  } cases[] = {{"beside", 255, {{3, 5}, {5, 5}}, {{4, 5}}},
               {"above one another", 255, {{5, 3}, {5, 5}}, {{4, 4}, {5, 4}, {6, 4}}},
               {"across a corner", 255, {{3, 3}, {5, 5}}, {{4, 4}}},
               {"a corner is no gap", 255, {{3, 4}, {4, 3}}, {}},
               {"two pixels apart", 255, {{3, 5}, {6, 5}}, {}},
               {"one neighbour", 255, {{3, 3}}, {}},
               {"gray, too dark", 249, {{3, 5}, {5, 5}}, {}},
               {"gray, just enough", 250, {{3, 5}, {5, 5}}, {{4, 5}}},
               {"not on the frame", 255, {{0, 3}, {0, 5}, {4, 0}, {6, 0}}, {{1, 4}}},
               {"beside the frame", 255, {{0, 4}, {2, 4}, {7, 0}, {7, 2}}, {{1, 4}, {6, 1}, {7, 1}, {8, 1}}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes image(12 * 9);
    for (const Spot& s : c.set) image[s.y * 12 + s.x] = static_cast<uint8_t>(c.value);
    Bytes expected = image;
    for (const Spot& s : c.closed) expected[s.y * 12 + s.x] = 255;
    EXPECT_EQ(0, dilation(image.data(), 10, 9));
    EXPECT_EQ(expected, image);
  }
}

TEST(Dilation, CountsNeighboursByTheSumOfTheirValues) {
  // Neighbours AL A AR, L centre R, BL B BR.
  const struct {
    const char* what;
    uint8_t pixels[9];
    int centre;
  } cases[] = {{"five white neighbours are too many", {255, 255, 255, 0, 0, 0, 255, 0, 255}, 0},
               {"one less in value", {255, 255, 255, 0, 0, 0, 255, 0, 254}, 255},
               {"five of 100", {100, 0, 100, 100, 0, 0, 100, 0, 100}, 255},
               {"one less", {100, 0, 100, 100, 0, 0, 100, 0, 99}, 0},
               {"A set beside L", {255, 1, 255, 255, 0, 0, 0, 0, 0}, 0},
               {"nothing on the right", {255, 0, 0, 255, 0, 0, 255, 0, 0}, 0},
               {"nothing below", {255, 255, 255, 0, 0, 0, 0, 0, 0}, 0},
               {"foreground stays as it is", {255, 0, 0, 0, 7, 0, 0, 0, 255}, 7}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes image(12);
    for (int i = 0; i < 9; ++i) image[i / 3 * 4 + i % 3] = c.pixels[i];
    EXPECT_EQ(0, dilation(image.data(), 3, 3));
    EXPECT_EQ(c.centre, image[5]);
  }
}

TEST(Dilation, AgreesWithTheLiteralForm) {
  expect_same(dilation, reference::close_gaps,
              [](uint8_t byte) { return static_cast<uint8_t>(byte < 180 ? 0 : 255); });
  expect_same(dilation, reference::close_gaps,
              [](uint8_t byte) { return static_cast<uint8_t>(byte < 120 ? 0 : byte); });
}

TEST(Dilation, ReportsMissingMemory) { expect_260_and_no_change(dilation, 2); }

// Rows of `width` bytes, one more row and one more column than are looked at, filled with `levels` in turn.
struct Gray {
  Gray(int w, int h, const std::vector<int>& levels)
      : width(w), height(h), bytes(static_cast<size_t>(w) * h, 0) {
    size_t i = 0;
    for (int y = 0; y < h - 1; ++y)
      for (int x = 0; x < w - 1; ++x) bytes[y * w + x] = static_cast<uint8_t>(levels[i++ % levels.size()]);
  }
  int stretch() { return GrayStretch_T(bytes.data(), width, height); }

  int width, height;
  Bytes bytes;
};

// Half the pixels at `low`, half at `high`, one pixel of each other level: what the map makes of them.
TEST(GrayStretch, MapsThreePieces) {
  const struct {
    int low, high;
    std::vector<std::pair<int, int>> map;
  } cases[] = {
      {100,
       180,
       {{0, 0}, {99, 67}, {100, 68}, {140, 140}, {179, 210}, {180, 212}, {181, 212}, {254, 254}, {255, 255}}},
      {30, 40, {{0, 0}, {29, 0}, {30, 0}, {35, 36}, {39, 64}, {40, 72}, {255, 255}}},
      {120, 255, {{119, 87}, {120, 88}, {187, 170}, {254, 253}, {255, 255}}},
      {32, 60, {{31, 0}, {32, 0}}},
      {33, 60, {{32, 0}, {33, 1}}},
      {200, 222, {{222, 254}, {223, 254}, {255, 255}}},
      {200, 223, {{223, 255}, {224, 255}}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.low << " ... " << c.high);
    std::vector<int> levels(20000, c.low);
    for (size_t i = 0; i < levels.size(); i += 2) levels[i] = c.high;
    for (int v = 0; v < 256; ++v) levels[v] = v;
    Gray image(201, 101, levels);
    EXPECT_EQ(1, image.stretch());
    for (const auto& [from, to] : c.map) EXPECT_EQ(to, image.bytes[from / 200 * 201 + from % 200]) << from;
  }
}

TEST(GrayStretch, DecidesByTwoPercentOfTheWholeImage) {
  // 101 x 100 pixels: 2 percent are 202.
  const auto image = [](int at_low, int low, int high) {
    std::vector<int> levels(9900, high);
    for (int i = 0; i < at_low; ++i) levels[i] = low;
    return Gray(101, 100, levels);
  };
  const struct {
    const char* what;
    Gray image;
    int changed;
  } cases[] = {{"enough at the low level", image(202, 80, 120), 1},
               {"one less: the band is empty", image(201, 80, 120), 0},
               {"a band of 149", image(300, 50, 199), 1},
               {"a band of 150", image(300, 50, 200), 0},
               {"uniform", image(0, 0, 77), 0},
               {"black", image(0, 0, 0), 0},
               {"black and a little", image(9899, 0, 100), 0},
               {"fewer than 50 pixels", Gray(7, 7, {100, 110}), 0},
               {"50 pixels", Gray(10, 5, {100, 110}), 1},
               {"one row", Gray(100, 1, {100, 110}), 0},
               {"one column", Gray(1, 100, {100, 110}), 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Gray copy = c.image;
    EXPECT_EQ(c.changed, copy.stretch());
    EXPECT_EQ(c.changed == 0, copy.bytes == c.image.bytes);
  }
  EXPECT_EQ(0, GrayStretch_T(nullptr, INT32_MIN, INT32_MAX));
}

TEST(GrayStretch, AgreesWithTheLiteralFormAndLeavesTheLastRowAndColumn) {
  test::Random random(9);
  for (int round = 0; round < 1500; ++round) {
    const int width = 1 + random.below(round < 1200 ? 140 : round < 1480 ? 900 : 20000);
    const int height = 1 + random.below(40);
    const int base = random.below(250), range = 1 + random.below(256 - base), wide = random.below(60);
    const size_t start = static_cast<size_t>(random.below(32));
    Bytes original = random.bytes(start + static_cast<size_t>(width) * height + (round % 2) * 40);
    for (auto& byte : original)
      if (random.below(60) >= wide % 5) byte = static_cast<uint8_t>(base + byte % range);
    Bytes expected = original;
    const int changed = reference::gray_stretch(expected.data() + start, width, height);
    Bytes image = original;
    EXPECT_EQ(changed, GrayStretch_T(image.data() + start, width, height));
    ASSERT_EQ(expected, image) << width << " x " << height << ", " << base << " + " << range;
  }
}

TEST(GrayStretch, IsExactForEveryBand) {
  // Every level once, and the two levels of the band often enough.
  Bytes original(65 * 65);
  for (int low = 0; low < 255; ++low)
    for (int high = low + 1; high < 256 && high <= low + 150; ++high) {
      for (size_t i = 0; i < original.size(); ++i)
        original[i] = static_cast<uint8_t>(i < 256 ? i : i % 2 != 0 ? low : high);
      Bytes expected = original;
      const int changed = reference::gray_stretch(expected.data(), 65, 65);
      Bytes image = original;
      ASSERT_EQ(changed, GrayStretch_T(image.data(), 65, 65)) << low << " ... " << high;
      ASSERT_EQ(expected, image) << low << " ... " << high;
    }
}

struct Cut {
  uint8_t* data;
  int width, height, scaled;
};

Cut cut(const Bytes& source, int width, const ImgROI& roi, int max_width, int max_height) {
  Cut out = {nullptr, -7, -7, -7};
  out.data = ImgExtFit_Track_ROI(source.data(), width, -1, &out.width, &out.height, roi, &out.scaled,
                                 static_cast<int16_t>(max_width), static_cast<int16_t>(max_height));
  return out;
}

ImgROI box(int left, int right, int top, int bottom) {
  return {static_cast<uint16_t>(left),
          static_cast<uint16_t>(right),
          static_cast<uint16_t>(top),
          static_cast<uint16_t>(bottom),
          0,
          0,
          0,
          0,
          0};
}

TEST(ExtentFit, CopiesOrReduces) {
  const Bytes source = test::Random(7).bytes(1004 * 801);  // 1001 pixels wide
  const struct {
    const char* what;
    ImgROI roi;
    int max_width, max_height, scaled, width, height;
  } cases[] = {{"a small region", box(0, 101, 0, 51), 320, 240, 0, 100, 51},
               {"the last three columns are dropped", box(898, 1001, 700, 801), 320, 240, 0, 100, 101},
               {"exactly the budget", box(10, 330, 20, 260), 320, 240, 0, 320, 240},
               {"the dropped columns are free", box(10, 333, 20, 260), 320, 240, 0, 320, 240},
               {"one row above the budget", box(10, 330, 20, 261), 320, 240, 1, 160, 120},
               {"halved exactly to the budget", box(10, 650, 20, 500), 320, 240, 1, 320, 240},
               {"by four", box(0, 1000, 0, 800), 320, 240, 1, 248, 200},
               {"both limits negative", box(10, 650, 20, 500), -320, -240, 1, 320, 240},
               {"a tall region to one row", box(3, 30, 0, 2), 1, 20, 1, 12, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Cut out = cut(source, 1001, c.roi, c.max_width, c.max_height);
    ASSERT_NE(nullptr, out.data);
    EXPECT_EQ(c.scaled, out.scaled);
    EXPECT_EQ(c.width, out.width);
    EXPECT_EQ(c.height, out.height);
    const uint8_t* from = source.data() + c.roi.top * 1004 + c.roi.left;
    Bytes expected(static_cast<size_t>(c.width) * c.height);
    if (c.scaled)
      reference::shrink(from, 1004, c.roi.right - c.roi.left, c.roi.bottom - c.roi.top, expected.data(),
                        c.width, c.width, c.height);
    else
      for (size_t i = 0; i < expected.size(); ++i) expected[i] = from[i / c.width * 1004 + i % c.width];
    EXPECT_EQ(expected, Bytes(out.data, out.data + expected.size()));
    std::free(out.data);
  }
}

TEST(ExtentFit, RefusesWhatHasNoPixelAndNegativeBudgets) {
  const Bytes source(64 * 64, 9);
  const struct {
    const char* what;
    ImgROI roi;
    int max_width, max_height, scaled;
  } cases[] = {{"a negative budget", box(0, 64, 0, 64), -1, 5, 1},
               {"and nothing to copy", box(5, 5, 0, 64), 5, -1, 1},
               {"no budget", box(0, 64, 0, 64), 0, 9, 1},
               {"three columns", box(0, 3, 0, 64), 320, 240, 0},
               {"no rows", box(0, 64, 9, 9), 320, 240, 0},
               {"inverted", box(64, 0, 64, 0), 320, 240, 0},
               {"the largest, inverted", box(65535, 0, 0, 65535), 32767, 32767, 0},
               {"reduced to three columns", box(0, 7, 0, 64), 10, 10, 1},
               {"one row reduced", box(0, 64, 0, 1), 7, 9, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const long before = test::blocks_held();
    const Cut out = cut(source, 64, c.roi, c.max_width, c.max_height);
    EXPECT_EQ(nullptr, out.data);
    EXPECT_EQ(c.scaled, out.scaled);
    EXPECT_EQ(-7, out.width);
    EXPECT_EQ(-7, out.height);
    EXPECT_EQ(before, test::blocks_held());
  }
}

TEST(ExtentFit, LeavesNothingBehindWhenAnAllocationFails) {
  const Bytes source(64 * 64, 9);
  for (const int budget : {100, 10}) {
    Cut out = {};
    for (long number = 1; out.data == nullptr; ++number) {
      ASSERT_LT(number, 5);
      const long before = test::blocks_held();
      {
        const test::FailOnly fail(number);
        out = cut(source, 64, box(0, 64, 0, 64), budget, 50);
      }
      EXPECT_EQ(budget == 10 ? 1 : 0, out.scaled);
      EXPECT_EQ(before + (out.data != nullptr), test::blocks_held());
      EXPECT_EQ(out.data == nullptr, out.width == -7);
    }
    std::free(out.data);
  }
}

}  // namespace
}  // namespace skew
