#include <gtest/gtest.h>
#include <pthread.h>

#include <cmath>
#include <vector>

#include "core/simd.h"
#include "include/skewcorrection/skew.h"
#include "reference/search.h"
#include "reference/three_step.h"
#include "tests/support/allocations.h"
#include "tests/support/noise.h"
#include "tests/support/random.h"

namespace skew {
namespace {

enum class Rounding { kDown, kNearest, kUp };
enum class Text { kHorizontal, kVertical };

// Rows of products of 0 ... length - 1 with the sine or cosine of every step.
std::vector<uint16_t> table(int rows, double degrees_per_row, int length, bool sine, Rounding rounding) {
  std::vector<uint16_t> out;
  for (int k = 0; k < rows; ++k)
    for (int i = 0; i < length; ++i) {
      const double radians = k * degrees_per_row * 3.14159265358979323846 / 180;
      const double product = i * (sine ? std::sin(radians) : std::cos(radians));
      out.push_back(static_cast<uint16_t>(rounding == Rounding::kDown      ? std::floor(product)
                                          : rounding == Rounding::kNearest ? std::round(product)
                                                                           : std::ceil(product)));
    }
  return out;
}

// The tables of one direction for a box, as a caller builds them.
struct Tables {
  Tables(int width, int height, Text text, Rounding rounding = Rounding::kDown) {
    const int along = text == Text::kHorizontal ? width : height,
              across = text == Text::kHorizontal ? height : width;
    coarse_sin = table(40, 1, along, true, rounding), coarse_cos = table(40, 1, across, false, rounding);
    fine_sin = table(200, 0.2, along, true, rounding), fine_cos = table(200, 0.2, across, false, rounding);
  }
  std::vector<uint16_t> coarse_sin, coarse_cos, fine_sin, fine_cos;
};

struct Map {
  Map(int w, int h)
      : width(w + 5), stride((width + 3) & ~3), pixels(static_cast<size_t>(stride) * (h + 3)), roi() {
    roi.left = 4, roi.top = 1;
    roi.right = static_cast<uint16_t>(roi.left + w - 1), roi.bottom = static_cast<uint16_t>(roi.top + h - 1);
  }
  void set(int x, int y, int value = 255) {
    pixels[static_cast<size_t>(roi.top + y) * stride + roi.left + x] = static_cast<uint8_t>(value);
  }
  int w() const { return roi.right - roi.left + 1; }
  int h() const { return roi.bottom - roi.top + 1; }

  int width, stride;
  std::vector<uint8_t> pixels;
  ImgROI roi;
};

// Text lines, or the columns that stand upright on them, turned by an angle.
Map lines(int width, int height, double degrees, Text text, uint64_t seed) {
  Map map(width, height);
  test::Random random(seed);
  const double cosine = std::cos(degrees * 3.14159265358979 / 180),
               sine = std::sin(degrees * 3.14159265358979 / 180);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const double across =
          (text == Text::kHorizontal ? y * cosine - x * sine : x * cosine + y * sine) + 2000;
      if (across - 9 * std::floor(across / 9) < 1 && random.below(3) != 0) map.set(x, y);
    }
  return map;
}

struct Found {
  int status;
  double angle, score, copy;
};

Found find(const Map& map, const Tables& t, Text text) {
  Found out = {-1, -1, -1, -1};
  const auto search =
      text == Text::kHorizontal ? SkewAngleDetect_ThreeSteps_F : SkewAngleDetect_Vert_ThreeSteps_F;
  out.status = search(map.pixels.data(), map.width, map.roi, &out.angle, t.coarse_sin.data(),
                      t.coarse_cos.data(), t.fine_sin.data(), t.fine_cos.data(), &out.score, &out.copy);
  return out;
}

// Searches both ways and compares with the literal form.
Found check(const Map& map, const Tables& t, Text text) {
  const auto literal =
      text == Text::kHorizontal ? reference::three_steps_horizontal : reference::three_steps_vertical;
  const reference::ThreeSteps expected = literal(map.pixels.data(), map.width, map.roi, t.coarse_sin.data(),
                                                 t.coarse_cos.data(), t.fine_sin.data(), t.fine_cos.data());
  const Found found = find(map, t, text);
  EXPECT_EQ(0, found.status);
  EXPECT_EQ(expected.angle, found.angle);
  EXPECT_EQ(std::signbit(expected.angle), std::signbit(found.angle));
  EXPECT_EQ(expected.score, found.score);
  EXPECT_EQ(found.angle, found.copy);
  return found;
}

TEST(ThreeSteps, AgreesWithTheLiteralFormOnEveryShapeOfBoxAndRounding) {
  const struct {
    int width, height, chance;
  } cases[] = {{1, 1, 1000}, {1, 300, 500},  {300, 1, 500},  {17, 15, 700},    {64, 33, 300},
               {70, 90, 0},  {200, 300, 90}, {300, 200, 30}, {259, 260, 1000}, {401, 97, 250}};
  for (const auto& c : cases)
    for (const Text text : {Text::kHorizontal, Text::kVertical})
      for (const Rounding rounding : {Rounding::kDown, Rounding::kNearest, Rounding::kUp}) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << ", rounding "
                                        << static_cast<int>(rounding) << ", text " << static_cast<int>(text));
        check(test::noise<Map>(c.width, c.height, c.chance, 1), Tables(c.width, c.height, text, rounding),
              text);
      }
}

TEST(ThreeSteps, FindsLinesAndColumnsOfEitherSign) {
  for (const Text text : {Text::kHorizontal, Text::kVertical}) {
    const Tables tables(330, 280, text);
    for (double degrees = -39; degrees < 39.1; degrees += 2.6) {
      SCOPED_TRACE(degrees);
      const Found found = check(lines(330, 280, degrees, text, 4), tables, text);
      EXPECT_NEAR(degrees, found.angle, 0.41);
    }
  }
}

TEST(ThreeSteps, ReturnsAnEndOfTheRangeUnrefined) {
  for (const Text text : {Text::kHorizontal, Text::kVertical})
    for (const double degrees : {-40.0, 40.0}) {
      const Found found = check(lines(200, 200, degrees, text, 4), Tables(200, 200, text), text);
      EXPECT_EQ(degrees > 0 ? 39.0 : -39.0, found.angle);
    }
}

TEST(ThreeSteps, PrefersPlusForRowsAndMinusForColumnsAtEqualScores) {
  // Tables that put both points into one bin at every angle, for either sign.
  Map map(2, 2);
  map.set(0, 1), map.set(1, 0);
  Tables tables(2, 2, Text::kHorizontal);
  tables.coarse_sin.assign(80, 0), tables.coarse_cos.assign(80, 0);
  tables.fine_sin.assign(400, 0), tables.fine_cos.assign(400, 0);
  EXPECT_EQ(0.0, check(map, tables, Text::kHorizontal).angle);
  EXPECT_EQ(4.0, check(map, tables, Text::kHorizontal).score);
  tables.fine_cos.assign(400, 1);
  tables.fine_sin[0] = 3;  // row 0 no longer puts both points together
  EXPECT_EQ(0.2, check(map, tables, Text::kHorizontal).angle);
  EXPECT_EQ(-0.2, check(map, tables, Text::kVertical).angle);
}

// Step three looks below the range of step two only from its first rows, and there the ends of its range show
// how the doubles were rounded.
TEST(ThreeSteps, LooksJustBelowTheRefinedWinner) {
  for (const Text text : {Text::kHorizontal, Text::kVertical})
    for (int coarse = 1; coarse <= 38; ++coarse)
      for (const int offset : {-5, -4}) {
        SCOPED_TRACE(testing::Message() << coarse << " degrees, winner at row " << offset);
        Map map(3, 3);
        map.set(0, 1), map.set(1, 0), map.set(2, 2);
        Tables tables(3, 3, text);
        // Rows far apart everywhere; together in the coarse winner; two together in the fine winner; all
        // together in the three rows below it.
        tables.coarse_sin.assign(120, 0), tables.fine_sin.assign(600, 0);
        tables.coarse_cos.assign(120, 0), tables.fine_cos.assign(600, 0);
        for (int row = 0; row < 40; ++row)
          for (int i = 0; i < 3; ++i)
            tables.coarse_cos[row * 3 + i] = static_cast<uint16_t>(row == coarse ? 0 : i);
        for (int row = 0; row < 200; ++row)
          for (int i = 0; i < 3; ++i) {
            const int winner = 5 * coarse + offset;
            const bool below = row < winner && row >= winner - 2;
            tables.fine_cos[row * 3 + i] = static_cast<uint16_t>(below ? 0 : row == winner ? i / 2 : i);
          }
        check(map, tables, text);
      }
}

TEST(ThreeSteps, AnswersForBoxesWithNothingInThem) {
  const Found empty = find(Map(20, 20), Tables(20, 20, Text::kHorizontal), Text::kHorizontal);
  EXPECT_TRUE(empty.status == 0 && empty.angle == 0 && empty.score == 0 && empty.copy == 0);

  for (const ImgROI roi : {ImgROI{1, 0, 0, 5, 0, 0, 0, 0, 0}, ImgROI{0, 5, 7, 6, 0, 0, 0, 0, 0}}) {
    double angle = -1, score = -1, copy = -1;
    EXPECT_EQ(0, SkewAngleDetect_ThreeSteps_F(nullptr, 9, roi, &angle, nullptr, nullptr, nullptr, nullptr,
                                              &score, &copy));
    EXPECT_TRUE(angle == 0 && score == 0 && copy == 0);
  }
}

// Tables that no caller should pass: only that nothing is touched out of bounds, which the sanitizers watch.
TEST(ThreeSteps, SurvivesHostileTables) {
  const Map map = test::noise<Map>(61, 47, 400, 6);
  for (const Text text : {Text::kHorizontal, Text::kVertical}) {
    Tables tables(61, 47, text);
    test::Random random(8);
    for (auto* values : {&tables.coarse_sin, &tables.coarse_cos, &tables.fine_sin, &tables.fine_cos})
      for (auto& value : *values) value = static_cast<uint16_t>(random.next());
    EXPECT_EQ(0, find(map, tables, text).status);
    for (auto* values : {&tables.coarse_sin, &tables.coarse_cos, &tables.fine_sin, &tables.fine_cos})
      for (auto& value : *values) value = 65535;
    EXPECT_EQ(0, find(map, tables, text).status);
  }
}

TEST(ThreeSteps, ReportsEveryFailedAllocation) {
  for (const int chance : {5, 300}) {
    const Map map = test::noise<Map>(120, 90, chance, 1);
    const Tables tables(120, 90, Text::kVertical);
    Found found = {-1, -1, -1, -1};
    for (long number = 1; found.status != 0; ++number) {
      ASSERT_LT(number, 10);
      const long before = test::blocks_held();
      {
        const test::FailFrom fail(number);
        found = find(map, tables, Text::kVertical);
      }
      EXPECT_EQ(before, test::blocks_held());
      if (found.status == 0) continue;
      EXPECT_EQ(260, found.status);
      EXPECT_TRUE(found.angle == 0.0 && found.score == -1 && found.copy == -1);
    }
  }
}

TEST(ThreeSteps, UseNoMoreHeapThanTheySay) {
  for (const int chance : {5, 300, 1000}) {
    const Map map = test::noise<Map>(220, 90, chance, 1);
    const Tables tables(220, 90, Text::kVertical);
    size_t points = 0;
    for (int y = 0; y < 90; ++y)
      for (int x = 0; x < 220; ++x)
        points += map.pixels[static_cast<size_t>(map.roi.top + y) * map.stride + map.roi.left + x] != 0;
    const size_t before = test::bytes_held();
    test::reset_peak();
    EXPECT_EQ(0, find(map, tables, Text::kVertical).status);
    const size_t box = SKEW_SIMD ? (220 + 32) * (90 + 32) : 4 * points;
    EXPECT_LE(test::peak_bytes_held() - before, box + 10 * (220 + 90) + 1024);
  }
}

TEST(ThreadShapes, WorkersScoreWhatTheSearchFinds) {
  const Map map = lines(150, 110, 7, Text::kHorizontal, 2);
  const Tables tables(150, 110, Text::kHorizontal);
  std::vector<uint16_t> points;
  for (int y = 0; y < map.h(); ++y)
    for (int x = 0; x < map.w(); ++x)
      if (map.pixels[static_cast<size_t>(map.roi.top + y) * map.stride + map.roi.left + x])
        points.push_back(static_cast<uint16_t>(y)), points.push_back(static_cast<uint16_t>(x));

  const Found found = find(map, tables, Text::kHorizontal);
  std::vector<uint16_t> bins(2 * 189, 7);  // half the length: the diagonal, 186, and 3
  double score = -1;
  VarianceParam param = {points.data(),
                         static_cast<int32_t>(points.size()),
                         150,
                         110,
                         bins.data(),
                         378,
                         tables.fine_sin.data(),
                         tables.fine_cos.data(),
                         1,
                         static_cast<int32_t>(std::lround(found.angle * 5)),
                         &score};
  EXPECT_EQ(nullptr, GetVarianceMT(&param));
  EXPECT_EQ(found.score, score);

  param.mode = 2;
  GetVariance_sp(&param);
  EXPECT_LT(score, found.score);
  EXPECT_GT(score, 0);
  param.valueCount = 0;
  GetVariance_sp(&param);
  EXPECT_EQ(0.0, score);
  EXPECT_EQ(std::vector<uint16_t>(2 * 189, 0), bins);
}

TEST(ThreadShapes, BlockRunsTheDirectionItNames) {
  const Map map = lines(140, 140, -11, Text::kVertical, 2);
  const Tables hor(140, 140, Text::kHorizontal), vert(140, 140, Text::kVertical);
  for (const int direction : {0, 1, 2, 3}) {
    SCOPED_TRACE(direction);
    double angle = 99, hor_score = 99, hor_angle = 99, vert_score = 99, vert_angle = 99;
    SkewDetectParam param = {map.pixels.data(),
                             map.width,
                             map.roi,
                             &angle,
                             direction,
                             hor.coarse_sin.data(),
                             hor.coarse_cos.data(),
                             hor.fine_sin.data(),
                             hor.fine_cos.data(),
                             &hor_score,
                             &hor_angle,
                             vert.coarse_sin.data(),
                             vert.coarse_cos.data(),
                             vert.fine_sin.data(),
                             vert.fine_cos.data(),
                             &vert_score,
                             &vert_angle};
    EXPECT_EQ(nullptr, SkewAngleDetectJpnMT(&param));
    const Found expected_hor = find(map, hor, Text::kHorizontal),
                expected_vert = find(map, vert, Text::kVertical);
    EXPECT_EQ(direction == 1 ? expected_hor.angle : direction == 2 ? expected_vert.angle : 99, angle);
    EXPECT_EQ(direction == 1 ? expected_hor.score : 99, hor_score);
    EXPECT_EQ(direction == 1 ? expected_hor.angle : 99, hor_angle);
    EXPECT_EQ(direction == 2 ? expected_vert.score : 99, vert_score);
    EXPECT_EQ(direction == 2 ? expected_vert.angle : 99, vert_angle);
  }
}

void* count_up(void* counter) {
  __atomic_fetch_add(static_cast<int*>(counter), 1, __ATOMIC_SEQ_CST);
  return counter;
}

TEST(ThreadShapes, JoinsTheThreadsThatWereStarted) {
  pthread_t threads[3] = {};
  int32_t status[3] = {0, 5, 0};
  int counter = 0;
  for (const int i : {0, 2}) status[i] = pthread_create(&threads[i], nullptr, count_up, &counter);
  EXPECT_EQ(0, multi_pthread_join(3, status, threads));
  EXPECT_EQ(2, counter);

  EXPECT_EQ(1, multi_pthread_join(0, status, threads));
  EXPECT_EQ(1, multi_pthread_join(-1, nullptr, nullptr));
  const pthread_t self = pthread_self();  // joining oneself fails with EDEADLK
  const std::vector<pthread_t> selves(65537, self);
  const std::vector<int32_t> started(65537, 0);
  EXPECT_EQ(65537, multi_pthread_join(65537, started.data(), selves.data()));
}

}  // namespace
}  // namespace skew
