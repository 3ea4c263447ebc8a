#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "core/raster.h"
#include "include/skewcorrection/skew.h"
#include "reference/canny.h"
#include "tests/support/allocations.h"
#include "tests/support/random.h"

namespace skew {
namespace {

using Bytes = std::vector<uint8_t>;

struct Setting {
  int low, high, cap;
};

constexpr Setting kPage = {60, 120, 90};  // what the driver uses

Bytes edge_map(const Bytes& source, int width, int height, const Setting& setting) {
  Bytes out(padded_stride(width) * height + 8, 77);  // every byte must be written, none behind the raster
  EXPECT_EQ(0, CannyEdge(source.data(), out.data(), setting.low, setting.high, width, height, setting.cap));
  EXPECT_EQ(Bytes(8, 77), Bytes(out.end() - 8, out.end()));
  out.resize(out.size() - 8);
  return out;
}

void expect_plain(const Bytes& source, int width, int height, const Setting& setting) {
  Bytes expected(padded_stride(width) * height);
  reference::canny(source.data(), expected.data(), setting.low, setting.high, width, height, setting.cap);
  if (edge_map(source, width, height, setting) == expected) return;
  ADD_FAILURE() << width << 'x' << height << " thresholds " << setting.low << ' ' << setting.high << ' '
                << setting.cap;
}

// A raster whose gap bytes hold noise, drawn column by column, row by row.
template <class Pixel>
Bytes drawn(int width, int height, Pixel pixel) {
  const ptrdiff_t stride = padded_stride(width);
  Bytes raster = test::Random(5).bytes(stride * height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) raster[y * stride + x] = static_cast<uint8_t>(pixel(x, y));
  return raster;
}

// Soft stripes along a slanted direction with steps of many strengths: long edges, weak and strong in turn.
Bytes stripes(int width, int height, int contrast) {
  return drawn(width, height, [=](int x, int y) {
    const int phase = (3 * x + 2 * y) / 7 % 16;
    return 128 + (phase < 8 ? phase : 16 - phase) * contrast / 8 * ((x / 29 + y / 31) % 3) / 2;
  });
}

int count_edges(const Bytes& map) {
  int count = 0;
  for (const uint8_t byte : map) count += byte == 255;
  return count;
}

}  // namespace

TEST(CannyEdge, VerticalStepIsOneColumnWide) {
  const Bytes map = edge_map(drawn(10, 10, [](int x, int) { return x < 5 ? 0 : 255; }), 10, 10, kPage);
  EXPECT_EQ(map, drawn(12, 10, [](int x, int) { return x == 4 ? 255 : 0; }));
}

// One step of 30 gray levels has the magnitude 120 along it; the thresholds are compared strictly.
TEST(CannyEdge, ThresholdsAndTheCap) {
  const struct {
    const char* what;
    int step;
    Setting setting;
    bool edge;
  } cases[] = {
      {"above both", 60, kPage, true},
      {"equal to the high threshold is weak", 60, {60, 240, 900}, false},
      {"just above it is strong", 60, {60, 239, 900}, true},
      {"equal to the low threshold is nothing", 60, {240, 240, 0}, false},
      {"just above the low threshold, any cap makes it strong", 60, {239, 5000, 0}, true},
      {"the maximum counts as 128 at least: 100 stays below 115", 25, kPage, false},
      {"116 exceeds 115", 29, kPage, true},
      {"exchanged thresholds", 29, {120, 60, 90}, true},
      {"a negative cap", 29, {60, 120, INT_MIN}, true},
      {"a cap that does not fit 32 bits when multiplied", 60, {60, 239, INT_MAX}, true},
      {"a high threshold that does not", 60, {60, INT_MAX, 90}, true},
      {"nothing is above the largest low threshold", 255, {INT_MAX, INT_MAX, 0}, false},
      {"no low threshold", 60, {INT_MIN, 239, 900}, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Bytes source =
        drawn(9, 9, [&](int x, int) { return x < 4 ? 10 * (c.step > 245 ? 0 : 1) : 10 + c.step; });
    EXPECT_EQ(c.edge ? 9 : 0, count_edges(edge_map(source, 9, 9, c.setting)));
  }
}

TEST(CannyEdge, EqualsThePlainFormForEveryWidth) {
  test::Random random(3);
  const Setting settings[] = {kPage, {0, 400, 50}, {-5, 100, 100}, {300, 900, 90}, {700, 200, 300}};
  for (int width = 2; width <= 200; ++width)
    for (const int height : {2, 3, 4, 9}) {
      const Bytes noise = random.bytes(padded_stride(width) * height);
      for (const Setting& setting : settings) expect_plain(noise, width, height, setting);
      expect_plain(stripes(width, height, 120), width, height, kPage);
      expect_plain(stripes(width, height, 40), width, height, {30, 60, 60});
    }
  for (int height = 2; height <= 40; ++height) {
    expect_plain(random.bytes(padded_stride(3) * height), 3, height, kPage);
    expect_plain(random.bytes(padded_stride(67) * height), 67, height, {200, 1200, 100});
  }
}

TEST(CannyEdge, EqualsThePlainFormOnPagesOfManyContrasts) {
  test::Random random(4);
  const auto soft =
      drawn(300, 200, [&](int x, int y) { return (x * x / 50 + y * y / 70 + random.below(9)) % 256; });
  const auto blocks = drawn(300, 200, [](int x, int y) { return (x / 3 * 7 + y / 5 * 11) % 13 * 19; });
  for (int contrast = 4; contrast < 128; contrast += 6)
    for (const int cap : {0, 30, 90, 150}) {
      expect_plain(stripes(300, 200, contrast), 300, 200, {contrast, 3 * contrast, cap});
      expect_plain(soft, 300, 200, {contrast, 12 * contrast, cap});
      expect_plain(blocks, 300, 200, {2 * contrast, 14 * contrast, cap});
    }
}

// A weak ribbon that winds up and down through the whole raster, strong at its right end only: hysteresis has
// to follow its outline through all words and back.
TEST(CannyEdge, FollowsAWindingLine) {
  const int width = 331, height = 90;
  const auto on_ribbon = [=](int x, int y) {
    if (y < 4 || y > height - 5 || x < 9 || x > width - 10) return false;
    const int bar = x / 9;
    return bar % 2 == 0 || (bar % 4 == 1 ? y < 14 : y > height - 15);
  };
  const auto ribbon = [&](int at_the_end) {
    return drawn(width, height, [&](int x, int y) {
      return !on_ribbon(x, y) ? 40 : x > width - 20 && y < 14 ? at_the_end : 66;
    });
  };
  const Setting setting = {60, 400, 900};
  EXPECT_EQ(0, count_edges(edge_map(ribbon(66), width, height, setting)));
  EXPECT_LT(3000, count_edges(edge_map(ribbon(240), width, height, setting)));
  expect_plain(ribbon(240), width, height, setting);
}

// The figures of the manual.
TEST(CannyEdge, TakesNoMoreMemoryThanStated) {
  const Bytes source(256 * 192, 128);
  Bytes out(256 * 192);
  test::reset_peak();
  const size_t before = test::bytes_held();
  EXPECT_EQ(0, CannyEdge(source.data(), out.data(), 60, 120, 256, 192, 90));
  EXPECT_LE(test::peak_bytes_held() - before, 256u * 192 * 5 / 16 + 256 * 10 + 400);
}

TEST(CannyEdge, RefusesWithoutWriting) {
  const Bytes source(64, 200);
  Bytes out(64, 77);
  EXPECT_EQ(-1, CannyEdge(nullptr, out.data(), 60, 120, 8, 8, 90));
  EXPECT_EQ(-1, CannyEdge(source.data(), nullptr, 60, 120, 8, 8, 90));
  EXPECT_EQ(-1, CannyEdge(source.data(), out.data(), 60, 120, 1, 8, 90));
  EXPECT_EQ(-1, CannyEdge(source.data(), out.data(), 60, 120, 8, 1, 90));
  EXPECT_EQ(-1, CannyEdge(source.data(), out.data(), 60, 120, 65536, 32768, 90)) << "2^31 bytes";
  EXPECT_EQ(-1, CannyEdge(source.data(), out.data(), 60, 120, INT_MAX, INT_MAX, 90));
  int result = -1;
  for (int number = 1; result != 0 && number < 9; ++number) {
    EXPECT_EQ(Bytes(64, 77), out);
    const test::FailOnly one(number);
    result = CannyEdge(source.data(), out.data(), 60, 120, 8, 8, 90);
    EXPECT_EQ(0, test::blocks_held());
  }
  EXPECT_EQ(Bytes(64, 0), out);
}

}  // namespace skew
