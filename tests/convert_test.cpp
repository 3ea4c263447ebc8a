#include "include/skewcorrection/convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "convert/luma.h"
#include "convert/working_copy.h"
#include "reference/convert.h"
#include "tests/support/allocations.h"
#include "tests/support/random.h"

namespace skew {
namespace {

constexpr int kGuard = 64;  // bytes before and after every output, which must keep their value
constexpr uint8_t kUntouched = 0xA5;

enum Kind { kArgbToGray, kRgbToGray, kArgbToRgb };
constexpr Kind kKinds[] = {kArgbToGray, kRgbToGray, kArgbToRgb};
constexpr int source_bytes(Kind kind) { return kind == kRgbToGray ? 3 : 4; }
constexpr int result_bytes(Kind kind) { return kind == kArgbToRgb ? 3 : 1; }

// The exported form if fast, else the reference.
void convert(Kind kind, bool fast, const uint8_t* source, int count, uint8_t* out) {
  const auto* argb = reinterpret_cast<const int32_t*>(source);
  switch (kind) {
    case kArgbToGray:
      if (!fast) return reference::argb_to_gray(argb, out, count, 1);
      ASSERT_EQ(SKEW_OK, ConvertImageDataToGray_and_CopyToGlobalBuffer(argb, count, 1));
      std::copy_n(g_globalBuffer, count, out);
      return free_working_copy();
    case kRgbToGray:
      return fast ? image_rgb2gray(source, count, 1, out) : reference::rgb_to_gray(source, out, count, 1);
    case kArgbToRgb:
      return fast ? ConvertImageData_INTtoBYTE(argb, out, count, 1)
                  : reference::argb_to_rgb(argb, out, count, 1);
  }
}

}  // namespace

TEST(Luma, WeighsAndRoundsDown) {
  const struct {
    unsigned char r, g, b;
    int y;
  } cases[] = {{255, 0, 0, 76}, {0, 255, 0, 149}, {0, 0, 255, 29}, {1, 1, 1, 1},
               {0, 0, 9, 1},    {0, 0, 8, 0},     {0, 0, 0, 0},    {255, 255, 255, 255}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.y, GetYfromRGB(c.r, c.g, c.b)) << int{c.r} << ' ' << int{c.g} << ' ' << int{c.b};
    const unsigned char rgb[3] = {c.r, c.g, c.b};
    unsigned char gray[2] = {kUntouched, kUntouched};
    ImageConvert_RGB888toGray(rgb, gray, 1, 1);
    EXPECT_EQ(c.y, gray[0]);
    const int argb = static_cast<int>(0x80000000U | static_cast<unsigned>(c.r << 16 | c.g << 8 | c.b));
    ASSERT_EQ(SKEW_OK, ConvertImageDataToGray_and_CopyToGlobalBuffer(&argb, 1, 1));
    EXPECT_EQ(c.y, g_globalBuffer[0]) << "alpha must have no effect";
    unsigned char back[3];
    ConvertImageData_INTtoBYTE(&argb, back, 1, 1);
    EXPECT_EQ(0, std::memcmp(rgb, back, 3));
    free_working_copy();
  }
}

// The vector forms are compared with the plain ones in kernels_test.cpp.
TEST(PixelFormat, EqualsTheLiteralFormAndTouchesNothingElse) {
  test::Random random(12);
  for (const Kind kind : kKinds)
    for (int count = 0; count <= 71; ++count) {
      SCOPED_TRACE(testing::Message() << "kind " << kind << " count " << count);
      const auto source = random.bytes(static_cast<size_t>(count * source_bytes(kind)));
      const size_t size = static_cast<size_t>(count * result_bytes(kind));
      std::vector<uint8_t> expected(size + 2 * kGuard, kUntouched), actual = expected;
      convert(kind, false, source.data(), count, &expected[kGuard]);
      convert(kind, true, source.data(), count, &actual[kGuard]);
      ASSERT_EQ(expected, actual);
    }
}

TEST(PixelFormat, ConvertsInPlace) {
  test::Random random(13);
  for (const Kind kind : {kRgbToGray, kArgbToRgb}) {
    const int count = 203;
    auto pixels = random.bytes(static_cast<size_t>(count * source_bytes(kind)));
    std::vector<uint8_t> expected(pixels);
    convert(kind, false, pixels.data(), count, expected.data());
    convert(kind, true, pixels.data(), count, pixels.data());
    EXPECT_EQ(expected, pixels) << kind;
  }
}

TEST(PixelFormat, NoPixelsMeansNothingIsTouched) {
  const int sizes[][2] = {{0, 5}, {5, 0}, {-1, 5}, {5, -1}, {INT32_MIN, 1}, {INT32_MAX, INT32_MIN}};
  for (const auto& size : sizes) {
    ImageConvert_RGB888toGray(nullptr, nullptr, size[0], size[1]);
    image_rgb2gray(nullptr, size[0], size[1], nullptr);
    ConvertImageData_INTtoBYTE(nullptr, nullptr, size[0], size[1]);
  }
}

TEST(WorkingCopy, IsReplacedNeverReusedAndNullAfterAFailure) {
  test::Random random(14);
  const auto gray = random.bytes(12 * 7);
  const std::vector<int> argb(12 * 7, 0x00FFFFFF);
  const bool kinds[] = {false, true};
  for (const bool from_argb : kinds) {
    SCOPED_TRACE(from_argb);
    const auto copy = [&](int width, int height) {
      return from_argb ? ConvertImageDataToGray_and_CopyToGlobalBuffer(argb.data(), width, height)
                       : CopyToGlobalBuffer(gray.data(), width, height);
    };
    ASSERT_EQ(SKEW_OK, copy(12, 7));
    EXPECT_EQ(84U, test::bytes_held());
    test::reset_peak();
    ASSERT_EQ(SKEW_OK, copy(11, 7));
    EXPECT_EQ(77U, test::bytes_held()) << "exactly width * height bytes";
    EXPECT_EQ(84U, test::peak_bytes_held()) << "the old copy must go before the new one is made";
    const std::vector<uint8_t> expected =
        from_argb ? std::vector<uint8_t>(77, 255) : std::vector<uint8_t>(gray.begin(), gray.begin() + 77);
    EXPECT_EQ(expected, std::vector<uint8_t>(g_globalBuffer, g_globalBuffer + 77));
    {
      const test::FailFrom fail(1);
      EXPECT_EQ(SKEW_OUT_OF_MEMORY, copy(12, 7));
    }
    EXPECT_EQ(nullptr, g_globalBuffer);
    EXPECT_EQ(0, test::blocks_held());
    EXPECT_EQ(SKEW_OUT_OF_MEMORY, copy(-1, 7));
    EXPECT_EQ(nullptr, g_globalBuffer);
    EXPECT_EQ(SKEW_OK, copy(0, 7));
    EXPECT_NE(nullptr, g_globalBuffer);
    free_working_copy();
    EXPECT_EQ(0, test::blocks_held());
  }
}

}  // namespace skew
