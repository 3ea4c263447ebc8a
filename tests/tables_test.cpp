#include "include/skewcorrection/tables.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tables/angle_index.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Tables, HoldTheRoundedSinesAndCosines) {
  for (int a = 0; a < 330; ++a) {
    const long double radians = a * 3.141592653589793238462643383279503L / 900;
    EXPECT_EQ(SIN[a], std::lround(65536 * std::sin(radians))) << a;
    EXPECT_EQ(COS[a], std::lround(65536 * std::cos(radians))) << a;
  }
  EXPECT_EQ(SIN[329], 59777);
  EXPECT_EQ(COS[1], 65536);  // the cosine of 0.2 degree rounds to one
  EXPECT_EQ(COS[2], 65534);
  EXPECT_EQ(COS[329], 26865);
}

TEST(Tables, HoldTheProductsRoundedDown) {
  for (int r = 0; r < 256; ++r)
    for (int a = 0; a < 256; ++a) {
      ASSERT_EQ(A_tSin_256_226[r * 256 + a], static_cast<int>(std::floor(r * (SIN[a] / 65536.0))))
          << r << " " << a;
      ASSERT_EQ(A_tCos_256_226[r * 256 + a], static_cast<int>(std::floor(r * (COS[a] / 65536.0))))
          << r << " " << a;
    }
  EXPECT_EQ(A_tCos_256_226[255 * 256 + 255], 160);
  EXPECT_EQ(A_tSin_256_226[255 * 256 + 255], 198);
  EXPECT_EQ(A_tSin_256_226[255 * 256 + 1], 0);
}

TEST(AngleIndex, TruncatesTheMagnitudeAndRefusesWhatHasNoEntry) {
  const struct {
    double degrees;
    int index;
  } cases[] = {{0.0, 0},    {-0.0, 0},    {0.1999, 0},     {0.2, 1},         {-0.5, 2},
               {30.0, 150}, {65.99, 329}, {-65.8, 329},    {66.0, -1},       {std::nextafter(66.0, 0.0), 329},
               {-66.0, -1}, {1e300, -1},  {kInfinity, -1}, {-kInfinity, -1}, {kNaN, -1}};
  for (const auto& c : cases) EXPECT_EQ(skew::angle_index(c.degrees), c.index) << c.degrees;
}

TEST(Trig, ReadsTheTablesAndClampsBeyondThem) {
  const struct {
    double degrees, sine, cosine;  // times 65536
  } cases[] = {{0.1999, 0, 65536},   {0.2, 229, 65536},          {-0.2, -229, 65536},
               {-0.4, -458, 65534},  {30.0, 32768, 56756},       {65.99, 59777, 26865},
               {90.0, 59777, 26865}, {-kInfinity, -59777, 26865}};
  for (const auto& c : cases) {
    EXPECT_EQ(SIN_sin(c.degrees), c.sine / 65536) << c.degrees;
    EXPECT_EQ(COS_cos(c.degrees), c.cosine / 65536) << c.degrees;
  }
  EXPECT_FALSE(std::signbit(SIN_sin(-0.0)));
  EXPECT_FALSE(std::signbit(SIN_sin(-0.1)));  // an index of 0 negates an integer zero
  EXPECT_TRUE(std::isnan(SIN_sin(kNaN)) && std::isnan(COS_cos(kNaN)));
}

}  // namespace
