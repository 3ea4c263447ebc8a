// Rotations: equal to the literal forms, limits and fill values, refused arguments, memory, any angle.
#include "include/skewcorrection/rotate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "reference/rotate.h"
#include "rotate/geometry.h"
#include "tests/support/allocations.h"
#include "tests/support/random.h"

namespace {

using skew::test::FailFrom;
using skew::test::Random;
using Bytes = std::vector<uint8_t>;
using Pixels = std::vector<int32_t>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kAngles[] = {0.2, -0.2, 0.6, -3.4, 12.2, -20, 33.8, 45, -45.2, 61, 65.8, -65.99};

struct Shape {
  int width, height;
};

// Small ones of every kind, widths around vectors and tiles, and heights around tiles.
std::vector<Shape> shapes() {
  std::vector<Shape> all;
  for (int width = 1; width <= 9; ++width)
    for (int height = 1; height <= 5; ++height) all.push_back({width, height});
  for (int width : {1, 2, 15, 16, 17, 31, 33, 64, 127, 128, 129, 150, 257, 430})
    for (int height : {1, 2, 7, 8, 9, 33, 150}) all.push_back({width, height});
  all.push_back({211, 160});
  all.push_back({701, 40});
  all.push_back({40, 701});
  return all;
}

Bytes rotated_gray(const Bytes& source, Shape shape, double angle, char fill, int expected = SKEW_OK) {
  unsigned char* out = nullptr;
  EXPECT_EQ(expected, RotateGrayImage(source.data(), shape.width, shape.height, angle, &out, fill));
  const Bytes result(out, out + (out != nullptr ? source.size() : 0));
  std::free(out);
  return result;
}

// Random pixels with many extreme ones, which a wrong rounding or a missing limit changes.
Bytes contrasty(Random& random, size_t count) {
  Bytes bytes = random.bytes(count);
  for (auto& byte : bytes)
    if (byte & 1) byte = byte & 2 ? 255 : 0;
  return bytes;
}

Pixels as_pixels(const Bytes& bytes) {
  Pixels pixels(bytes.size() / 4);
  for (size_t i = 0; i < pixels.size(); ++i) std::memcpy(&pixels[i], &bytes[4 * i], 4);
  return pixels;
}

// Source and destination end exactly where the images do, so that the sanitizer sees a byte read or written
// beyond; destinations start with other bytes than the fill value.
void expect_literal_results(const Bytes& gray, const Bytes& rgb, const Pixels& argb, Shape shape,
                            double angle) {
  const size_t count = gray.size();
  Bytes gray_expected(count), rgb_expected(3 * count), fixed_expected(count, 99);
  Pixels argb_expected(count);
  skew::reference::rotate_gray(gray.data(), shape.width, shape.height, angle, gray_expected.data(), 99);
  skew::reference::rotate_rgb(rgb.data(), shape.width, shape.height, angle, rgb_expected.data(), 99);
  skew::reference::rotate_argb(argb.data(), shape.width, shape.height, angle, argb_expected.data(),
                               0x12345678);
  skew::reference::rotate_fixed(gray.data(), shape.width, shape.height, angle, fixed_expected.data());
  SCOPED_TRACE(testing::Message() << shape.width << " x " << shape.height << " by " << angle);
  ASSERT_EQ(gray_expected, rotated_gray(gray, shape, angle, 99));
  Bytes rgb_out(3 * count, 7);
  ASSERT_EQ(SKEW_OK, RotateRGBImage(rgb.data(), shape.width, shape.height, angle, rgb_out.data(), 99));
  ASSERT_EQ(rgb_expected, rgb_out);
  Pixels argb_out(count, 7);
  ASSERT_EQ(SKEW_OK, RotateARGBImage_INT_FOR_JNI(argb.data(), shape.width, shape.height, angle,
                                                 argb_out.data(), 0x12345678));
  ASSERT_EQ(argb_expected, argb_out);
  Bytes fixed = gray;
  ASSERT_EQ(0, RotateImage(fixed.data(), shape.width, shape.height, angle, 99 + 256, nullptr, nullptr));
  ASSERT_EQ(fixed_expected, fixed);
}

TEST(Rotate, EqualsTheLiteralFormsForEveryShapeAndAngle) {
  Random random(1);
  for (const Shape shape : shapes()) {
    const size_t count = static_cast<size_t>(shape.width) * static_cast<size_t>(shape.height);
    const Bytes gray = contrasty(random, count), rgb = contrasty(random, 3 * count);
    const Pixels argb = as_pixels(contrasty(random, 4 * count));
    for (const double angle : kAngles)
      ASSERT_NO_FATAL_FAILURE(expect_literal_results(gray, rgb, argb, shape, angle));
  }
}

TEST(Rotate, CopiesExactlyBelowAFifthOfADegree) {
  Random random(2);
  const Shape shape = {13, 7};
  const Bytes gray = random.bytes(91), rgb = random.bytes(273);
  const Pixels argb = as_pixels(random.bytes(364));
  for (const double angle : {0.0, -0.0, 0.1, -0.19, 0.1999}) {
    SCOPED_TRACE(angle);
    EXPECT_EQ(gray, rotated_gray(gray, shape, angle, 1));
    Bytes rgb_out(273);
    EXPECT_EQ(SKEW_OK, RotateRGBImage(rgb.data(), 13, 7, angle, rgb_out.data(), 1));
    EXPECT_EQ(rgb, rgb_out);
    Pixels argb_out(91);
    EXPECT_EQ(SKEW_OK, RotateARGBImage_INT_FOR_JNI(argb.data(), 13, 7, angle, argb_out.data(), 1));
    EXPECT_EQ(argb, argb_out);
    Bytes fixed = gray;
    int xs[4] = {1, 2, 3, 4}, ys[4] = {5, 6, 7, 8};
    EXPECT_EQ(0, RotateImage(fixed.data(), 13, 7, angle, 1, xs, ys));
    EXPECT_EQ(gray, fixed);
    EXPECT_EQ(1, xs[0]);
    EXPECT_EQ(8, ys[3]);
  }
}

TEST(Rotate, RefusesBadArgumentsAndWritesNothing) {
  const struct {
    const char* what;
    bool source, destination;
    int width, height;
    double angle;
  } cases[] = {{"no source", false, true, 4, 4, 5},      {"no destination", true, false, 4, 4, 5},
               {"no width", true, true, 0, 4, 5},        {"negative width", true, true, -4, 4, 5},
               {"no height", true, true, 4, 0, 5},       {"negative height", true, true, 4, -4, 5},
               {"66 degrees", true, true, 4, 4, 66},     {"-66 degrees", true, true, 4, 4, -66},
               {"not a number", true, true, 4, 4, kNaN}, {"infinite", true, true, 4, 4, INFINITY}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Bytes bytes(64, 1);
    const Pixels pixels(16, 1);
    Bytes out(64, 7);
    Pixels pixels_out(16, 7);
    unsigned char* kept = out.data();
    EXPECT_EQ(1, RotateGrayImage(c.source ? bytes.data() : nullptr, c.width, c.height, c.angle,
                                 c.destination ? &kept : nullptr, 0));
    EXPECT_EQ(out.data(), kept);
    EXPECT_EQ(1, RotateRGBImage(c.source ? bytes.data() : nullptr, c.width, c.height, c.angle,
                                c.destination ? out.data() : nullptr, 0));
    EXPECT_EQ(1, RotateARGBImage_INT_FOR_JNI(c.source ? pixels.data() : nullptr, c.width, c.height, c.angle,
                                             c.destination ? pixels_out.data() : nullptr, 0));
    EXPECT_EQ(1, skew_rotate_gray(c.source ? bytes.data() : nullptr, 4, c.width, c.height, c.angle * 4,
                                  SKEW_CANVAS_KEEP, c.destination ? out.data() : nullptr, 4, 0));
    EXPECT_EQ(Bytes(64, 7), out);
    EXPECT_EQ(Pixels(16, 7), pixels_out);
  }
  for (const double angle : {66.0, -66.0, kNaN}) {
    Bytes image(16, 3), out(16, 7);
    int xs[4] = {}, ys[4] = {};
    EXPECT_EQ(1, RotateImage(image.data(), 4, 4, angle, 0, xs, ys));
    EXPECT_EQ(Bytes(16, 3), image);
    EXPECT_EQ(0, xs[0]);
    RotateImageParam param = {image.data(), out.data(), 4, 4, angle, 0, 4};
    EXPECT_EQ(nullptr, RotateImageMT(&param));
    EXPECT_EQ(Bytes(16, 7), out);
  }
}

TEST(Rotate, ReportsFailedAllocations) {
  Bytes image(100, 50);
  unsigned char* out = image.data();
  int xs[4] = {1, 1, 1, 1}, ys[4] = {1, 1, 1, 1};
  const long held = skew::test::blocks_held();
  {
    const FailFrom fail(1);
    EXPECT_EQ(2, RotateGrayImage(image.data(), 10, 10, 5, &out, 0));
    EXPECT_EQ(260, RotateImage(image.data(), 10, 10, 5, 0, xs, ys));
    EXPECT_EQ(260, RotateImage(image.data(), 10, 10, 0.1, 0, xs, ys));
  }
  EXPECT_EQ(nullptr, out);
  EXPECT_EQ(Bytes(100, 50), image);
  EXPECT_EQ(1, xs[0]);
  EXPECT_EQ(260, RotateImage(image.data(), -10, 10, 5, 0, nullptr, nullptr));

  // The colour rotations need no memory, the gray one only its result, RotateImage one working copy.
  Bytes rgb(75), rgb_out(75);
  Pixels argb(25), argb_out(25);
  const FailFrom fail(2);
  skew::test::reset_peak();
  const size_t before = skew::test::bytes_held();
  EXPECT_EQ(0, RotateRGBImage(rgb.data(), 5, 5, 5, rgb_out.data(), 0));
  EXPECT_EQ(0, RotateARGBImage_INT_FOR_JNI(argb.data(), 5, 5, 5, argb_out.data(), 0));
  EXPECT_EQ(before, skew::test::peak_bytes_held());
  EXPECT_EQ(0, RotateImage(image.data(), 10, 10, 5, 0, nullptr, nullptr));
  EXPECT_EQ(before + 100, skew::test::peak_bytes_held());
  EXPECT_EQ(held, skew::test::blocks_held());
}

TEST(RotateImage, MovesPointsWithTheContent) {
  const struct {
    double angle;
    int x, y, moved_x, moved_y;
  } cases[] = {{10, 0, 0, -8, 9}, {10, 100, 0, 90, -8}, {-10, 0, 0, 9, -8}, {-47.3, 50, 50, 50, 50}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.x << ", " << c.y << " by " << c.angle);
    Bytes image(101 * 101);
    int xs[4] = {c.x, c.x, c.x, c.x}, ys[4] = {c.y, c.y, c.y, c.y};
    RotateImage(image.data(), 101, 101, c.angle, 0, xs, nullptr);
    RotateImage(image.data(), 101, 101, c.angle, 0, nullptr, ys);
    EXPECT_EQ(c.x, xs[3]);
    EXPECT_EQ(c.y, ys[3]);
    RotateImage(image.data(), 101, 101, c.angle, 0, xs, ys);
    for (int i : {0, 3}) {
      EXPECT_EQ(c.moved_x, xs[i]);
      EXPECT_EQ(c.moved_y, ys[i]);
    }
  }
}

TEST(RotateImage, FillsCornersAndKeepsUniformAreasNearlyUniform) {
  const struct {
    int value, fill, corner, low, high;
  } cases[] = {{200, 0, 255, 200, 202}, {200, 1, 1, 200, 202}, {255, 0x1FE, 0xFE, 255, 255}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fill);
    Bytes image(101 * 101, static_cast<uint8_t>(c.value));
    ASSERT_EQ(0, RotateImage(image.data(), 101, 101, 10, c.fill, nullptr, nullptr));
    EXPECT_EQ(c.corner, image[0]);
    image.erase(std::remove(image.begin(), image.end(), c.corner), image.end());
    EXPECT_EQ(c.low, *std::min_element(image.begin(), image.end()));
    EXPECT_EQ(c.high, *std::max_element(image.begin(), image.end()));
  }
}

TEST(RotateImageMT, WritesItsBandOnlyAndFourThreadsMakeTheWhole) {
  Random random(3);
  const int width = 203, height = 91;
  const Bytes source = random.bytes(width * height);
  Bytes expected = source, whole(source.size(), 9);
  RotateImage(expected.data(), width, height, -7.4, 9, nullptr, nullptr);
  RotateImageParam bands[4];
  std::vector<std::thread> threads;
  const int cuts[] = {-5, 37, 90, 160, width + 5};
  for (int i = 0; i < 4; ++i) {
    bands[i] = {source.data(), whole.data(), width, height, -7.4, cuts[i], cuts[i + 1]};
    threads.emplace_back(RotateImageMT, &bands[i]);
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(expected, whole);

  Bytes band(source.size(), 9);
  RotateImageMT(&bands[1]);
  bands[1].pDst = band.data();
  RotateImageMT(&bands[1]);
  for (size_t i = 0; i < band.size(); ++i) {
    const int x = static_cast<int>(i % width);
    ASSERT_EQ(x >= 37 && x < 90 ? expected[i] : 9, band[i]) << "column " << x;
  }
  bands[1].endX = bands[1].startX;
  band = source;
  RotateImageMT(&bands[1]);
  EXPECT_EQ(source, band);
}

// The exact sines and cosines, from the C library, lie within a millionth of a unit of rounding at worst.
TEST(RotateByAnyAngle, RoundsSineAndCosine) {
  for (int step = -18000; step <= 18000; step += 7) {
    const double angle = step / 100.0, radians = angle * 3.14159265358979323846 / 180;
    const skew::Turn turn = skew::turn_by(angle);
    ASSERT_NEAR(turn.sine, std::sin(radians) * 65536, 0.500001) << angle;
    ASSERT_NEAR(turn.cosine, std::cos(radians) * 65536, 0.500001) << angle;
  }
  for (const double angle : {90.0, -90.0, 180.0, -180.0}) {
    const skew::Turn turn = skew::turn_by(angle);
    EXPECT_EQ(angle == 90 ? 65536 : angle == -90 ? -65536 : 0, turn.sine) << angle;
    EXPECT_EQ(std::fabs(angle) == 180 ? -65536 : 0, turn.cosine) << angle;
  }
}

TEST(RotateByAnyAngle, AgreesWithTheTableRotationsInsideTheBorder) {
  Random random(4);
  const int width = 83, height = 59;
  const Bytes source = random.bytes(width * height);
  for (const double angle : {0.2, -3.4, 30.0, 65.8}) {
    SCOPED_TRACE(angle);
    const Bytes table = rotated_gray(source, {width, height}, angle, 0);
    Bytes any(source.size());
    ASSERT_EQ(SKEW_OK, skew_rotate_gray(source.data(), width, width, height, angle, SKEW_CANVAS_KEEP,
                                        any.data(), width, 0));
    const double radians = angle * 3.14159265358979323846 / 180;
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const double dx = x - (width - 1) / 2.0, dy = y - (height - 1) / 2.0;
        const double from_x = dx * std::cos(radians) - dy * std::sin(radians) + (width - 1) / 2.0;
        const double from_y = dx * std::sin(radians) + dy * std::cos(radians) + (height - 1) / 2.0;
        if (!(from_x > 0.01 && from_x < width - 1.01 && from_y > 0.01 && from_y < height - 1.01)) continue;
        const size_t i = static_cast<size_t>(y * width + x);
        ASSERT_EQ(table[i], any[i]) << x << ", " << y;
      }
  }
}

// Quarter turns move whole pixels. Rows lie apart, the source is stored bottom up, gaps keep their bytes.
TEST(RotateByAnyAngle, QuarterTurnsArePermutations) {
  Random random(5);
  const int width = 37, height = 22, gap = 5;
  for (const int bytes : {1, 3, 4}) {
    for (const double angle : {0.0, 90.0, -90.0, 180.0, -180.0, 0.0004}) {
      SCOPED_TRACE(testing::Message() << bytes << " bytes a pixel by " << angle);
      int out_width = 0, out_height = 0;
      ASSERT_EQ(SKEW_OK,
                skew_rotated_size(width, height, angle, SKEW_CANVAS_EXPAND, &out_width, &out_height));
      const bool quarter = std::fabs(angle) == 90;
      ASSERT_EQ(quarter ? height : width, out_width);
      ASSERT_EQ(quarter ? width : height, out_height);

      const int stride = 4 * (width + gap), out_stride = 4 * (out_width + gap);
      const Bytes source = random.bytes(static_cast<size_t>(stride * height));
      Bytes out(static_cast<size_t>(out_stride * out_height), 7), expected = out;
      const uint8_t* top = source.data() + stride * (height - 1);
      const uint8_t fill[3] = {1, 2, 3};
      ASSERT_EQ(SKEW_OK, bytes == 1 ? skew_rotate_gray(top, -stride, width, height, angle, SKEW_CANVAS_EXPAND,
                                                       out.data(), out_stride, 1)
                         : bytes == 3
                             ? skew_rotate_rgb(top, -stride, width, height, angle, SKEW_CANVAS_EXPAND,
                                               out.data(), out_stride, fill)
                             : skew_rotate_argb(reinterpret_cast<const uint32_t*>(top), -stride, width,
                                                height, angle, SKEW_CANVAS_EXPAND,
                                                reinterpret_cast<uint32_t*>(out.data()), out_stride, 1));
      for (int y = 0; y < out_height; ++y)
        for (int x = 0; x < out_width; ++x) {
          // A positive angle turns the content counter-clockwise: the right column becomes the top row.
          const int from_x = quarter                   ? (angle > 0 ? width - 1 - y : y)
                             : std::fabs(angle) == 180 ? width - 1 - x
                                                       : x;
          const int from_y = quarter                   ? (angle > 0 ? x : height - 1 - x)
                             : std::fabs(angle) == 180 ? height - 1 - y
                                                       : y;
          std::memcpy(&expected[static_cast<size_t>(y * out_stride + x * bytes)],
                      top - from_y * stride + from_x * bytes, static_cast<size_t>(bytes));
        }
      ASSERT_EQ(expected, out);
    }
  }
}

TEST(RotateByAnyAngle, ExpandsToShowTheWholeSource) {
  const struct {
    double angle;
    int canvas, width, height;
  } cases[] = {{30, SKEW_CANVAS_KEEP, 400, 300},
               {30, SKEW_CANVAS_EXPAND, 497, 460},
               {-30, SKEW_CANVAS_EXPAND, 497, 460},
               {150, SKEW_CANVAS_EXPAND, 497, 460},
               {0.0002, SKEW_CANVAS_EXPAND, 400, 300}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.angle);
    int width = 0, height = 0;
    ASSERT_EQ(SKEW_OK, skew_rotated_size(400, 300, c.angle, c.canvas, &width, &height));
    EXPECT_EQ(c.width, width);
    EXPECT_EQ(c.height, height);
  }
  int width = 1, height = 2;
  EXPECT_EQ(2, skew_rotated_size(INT32_MAX, INT32_MAX, 45, SKEW_CANVAS_EXPAND, &width, &height));
  EXPECT_EQ(1, skew_rotated_size(4, 4, 180.01, SKEW_CANVAS_EXPAND, &width, &height));
  EXPECT_EQ(1, skew_rotated_size(4, 4, kNaN, SKEW_CANVAS_EXPAND, &width, &height));
  EXPECT_EQ(1, skew_rotated_size(4, 4, 1, 2, &width, &height));
  EXPECT_EQ(1, width);
  EXPECT_EQ(2, height);

  // A uniform source on the expanded canvas keeps its area, to a pixel along the edges, and its very value.
  const Bytes source(120 * 80, 200);
  for (const double angle : {0.01, 17.3, -101.7}) {
    SCOPED_TRACE(angle);
    ASSERT_EQ(SKEW_OK, skew_rotated_size(120, 80, angle, SKEW_CANVAS_EXPAND, &width, &height));
    Bytes out(static_cast<size_t>(width * height));
    ASSERT_EQ(SKEW_OK,
              skew_rotate_gray(source.data(), 120, 120, 80, angle, SKEW_CANVAS_EXPAND, out.data(), width, 9));
    const auto covered = std::count(out.begin(), out.end(), 200);
    EXPECT_EQ(static_cast<long>(out.size()), covered + std::count(out.begin(), out.end(), 9));
    EXPECT_NEAR(static_cast<double>(covered), 120 * 80, 40);
  }
}

TEST(RotateByAnyAngle, RefusesStridesThatAreTooShortOrTooLong) {
  const Bytes source(4 * 10 * 10);
  Bytes out(source.size(), 7);
  const uint8_t fill[3] = {};
  EXPECT_EQ(1, skew_rotate_gray(source.data(), 9, 10, 10, 1, SKEW_CANVAS_KEEP, out.data(), 10, 0));
  EXPECT_EQ(1, skew_rotate_gray(source.data(), 10, 10, 10, 1, SKEW_CANVAS_EXPAND, out.data(), 10, 0));
  EXPECT_EQ(1, skew_rotate_rgb(source.data(), -29, 10, 10, 1, SKEW_CANVAS_KEEP, out.data(), 30, fill));
  EXPECT_EQ(1, skew_rotate_rgb(source.data(), 30, 10, 10, 1, SKEW_CANVAS_KEEP, out.data(), 30, nullptr));
  const Pixels pixels(100);
  EXPECT_EQ(1, skew_rotate_argb(reinterpret_cast<const uint32_t*>(pixels.data()), 41, 9, 9, 1,
                                SKEW_CANVAS_KEEP, reinterpret_cast<uint32_t*>(out.data()), 40, 0));
  for (const ptrdiff_t stride : {PTRDIFF_MIN, PTRDIFF_MAX / 9, -(PTRDIFF_MAX / 9)}) {
    EXPECT_EQ(2, skew_rotate_gray(source.data(), stride, 10, 10, 1, SKEW_CANVAS_KEEP, out.data(), 10, 0));
    EXPECT_EQ(2, skew_rotate_gray(source.data(), 10, 10, 10, 1, SKEW_CANVAS_KEEP, out.data(), stride, 0));
  }
  EXPECT_EQ(Bytes(source.size(), 7), out);
}

}  // namespace
