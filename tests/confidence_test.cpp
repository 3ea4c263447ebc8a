#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "include/skewcorrection/analysis.h"
#include "tests/support/random.h"

namespace skew {
namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const ImgROI kRegion = {10, 200, 20, 300, 0, 0, 0, 0, 0};

ImgROI of_height(int height, int left = 50, int right = 60) {
  ImgROI box = {};
  box.left = static_cast<uint16_t>(left), box.right = static_cast<uint16_t>(right);
  box.top = 20, box.bottom = static_cast<uint16_t>(20 + height - 1);
  return box;
}

using Clusters = std::vector<std::pair<int, double>>;

struct Verdict {
  int result, valid;
  Clusters clusters;
  bool operator==(const Verdict& o) const {
    return result == o.result && valid == o.valid && clusters == o.clusters;
  }
};
std::ostream& operator<<(std::ostream& out, const Verdict& v) {
  out << v.result << ", " << v.valid << " valid:";
  for (const auto& c : v.clusters) out << " " << c.first << " x " << c.second;
  return out;
}

Verdict judge(const std::vector<ImgROI>& boxes, const ImgROI& region = kRegion) {
  HeightCluster clusters[30] = {};
  int count = -1, valid = -1;
  Verdict v = {};
  v.result = GetHighConfidenceHeightROI(boxes.data(), static_cast<int>(boxes.size()), region, clusters,
                                        &count, &valid);
  v.valid = valid;
  for (int i = 0; i < count; ++i) v.clusters.emplace_back(clusters[i].count, clusters[i].meanHeight);
  return v;
}

// Heights in order, filled up to 30 records with ones that do not count.
Verdict judge_heights(const std::vector<int>& heights) {
  std::vector<ImgROI> boxes;
  for (const int height : heights) boxes.push_back(of_height(height));
  while (boxes.size() < 30) boxes.push_back(of_height(3));
  return judge(boxes, {0, 65535, 0, 65535, 0, 0, 0, 0, 0});
}

Verdict judge_angles(const std::vector<double>& angles) {
  AngleCluster clusters[30] = {};
  int count = -1, valid = -1;
  Verdict v = {};
  v.result =
      GetHighConfidenceSkewAngle(angles.data(), static_cast<int>(angles.size()), clusters, &count, &valid);
  v.valid = valid;
  for (int i = 0; i < count; ++i) v.clusters.emplace_back(clusters[i].count, clusters[i].meanAngle);
  return v;
}

TEST(HeightConfidence, ClustersAndVerdicts) {
  const struct {
    const char* what;
    std::vector<int> heights;
    Verdict verdict;
  } cases[] = {{"the mean moves with each member", {10, 12, 14, 11}, {12, 4, {{4, 12}}}},
               {"a third, rounded down, is not enough", {10, 14}, {-2, 2, {{1, 10}, {1, 14}}}},
               {"a third is enough", {12, 16, 12, 12}, {13, 4, {{4, 13}}}},
               {"equally near: the earlier one; equal sizes stay in order",
                {24, 12, 18, 12, 100},
                {-2, 5, {{2, 21}, {2, 12}, {1, 100}}}},
               {"three do not make a verdict", {9, 9, 9}, {-2, 3, {{3, 9}}}},
               {"three rows do not count, four do", {1, 2, 3, 4, 4, 4, 4}, {4, 4, {{4, 4}}}},
               {"four of sixteen",
                {300, 300, 300, 300, 10, 10, 10, 20, 20, 20, 40, 40, 40, 80, 80, 80},
                {300, 16, {{4, 300}, {3, 10}, {3, 20}, {3, 40}, {3, 80}}}},
               {"four of seventeen",
                {10, 10, 10, 20, 20, 20, 40, 40, 40, 80, 80, 80, 300, 300, 300, 300, 900},
                {-2, 17, {{4, 300}, {3, 10}, {3, 20}, {3, 40}, {3, 80}, {1, 900}}}},
               {"ten thousand rows apart are never near", {31000, 41000}, {-2, 2, {{1, 31000}, {1, 41000}}}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.verdict, judge_heights(c.heights));
  }
}

TEST(HeightConfidence, CountsOnlyWhatLiesInside) {
  std::vector<ImgROI> boxes(30, of_height(281, 10, 200));  // exactly the region
  EXPECT_EQ((Verdict{281, 30, {{30, 281}}}), judge(boxes));
  boxes[3].left = 9, boxes[7].right = 201, boxes[11].top = 19, boxes[29].bottom = 301;
  EXPECT_EQ((Verdict{281, 26, {{26, 281}}}), judge(boxes));
  for (auto& box : boxes) box.top = 19;
  EXPECT_EQ((Verdict{-2, 0, {}}), judge(boxes));
}

TEST(HeightConfidence, NeedsThirtyRecords) {
  EXPECT_EQ((Verdict{-1, 0, {}}), judge(std::vector<ImgROI>(29, of_height(9))));
  HeightCluster clusters[30];
  int count = 5, valid = 5;
  EXPECT_EQ(-1, GetHighConfidenceHeightROI(nullptr, 50, kRegion, clusters, &count, &valid));
  EXPECT_EQ(0, count);
  EXPECT_EQ(0, valid);
}

TEST(HeightConfidence, EndsAtTheThirtyFirstCluster) {
  std::vector<int> heights;
  for (double height = 4; heights.size() < 30; height = std::floor(height * 4 / 3) + 1)
    heights.push_back(static_cast<int>(height));
  const Verdict full = judge_heights(heights);
  ASSERT_EQ(30u, full.clusters.size());
  heights.push_back(60000);                          // would open another
  for (int i = 0; i < 9; ++i) heights.push_back(4);  // are not looked at
  const Verdict ended = judge_heights(heights);
  EXPECT_EQ(31, ended.valid);
  EXPECT_EQ(full.clusters, ended.clusters);
  EXPECT_EQ(-2, ended.result);
}

TEST(AngleConfidence, ClustersAndVerdicts) {
  const double inf = std::numeric_limits<double>::infinity();
  const struct {
    const char* what;
    std::vector<double> angles;
    Verdict verdict;
  } cases[] = {{"the ends count, more does not",
                {29.0, 29.0, 29.0, 29.0, -29.0, 29.5, -29.01},
                {0, 5, {{4, 29}, {1, -29}}}},
               {"no number", {kNan, 2.0, inf, 2.0, -inf, 2.0, kNan, 2.0}, {0, 4, {{4, 2}}}},
               {"nothing counts", {30, 31, 32, 33, 34}, {-2, 0, {}}},
               {"six tenths are near", {1.0, 1.6, 5, 5, 5}, {-2, 5, {{3, 5}, {2, 1.3}}}},
               {"more is not", {1.0, 1.602, 5, 5, 5}, {-2, 5, {{3, 5}, {1, 1.0}, {1, 1.602}}}},
               {"equally near: the earlier one", {1.0, 2.0, 1.5, 8, 8}, {-2, 5, {{2, 1.25}, {2, 8}, {1, 2}}}},
               {"four of twelve",
                {3, 1, 1, 5, 5, 7, 7, 9, 9, 3, 3, 3},
                {0, 12, {{4, 3}, {2, 1}, {2, 5}, {2, 7}, {2, 9}}}},
               {"four of thirteen",
                {3, 1, 1, 5, 5, 7, 7, 9, 9, 3, 3, 3, 11},
                {-2, 13, {{4, 3}, {2, 1}, {2, 5}, {2, 7}, {2, 9}, {1, 11}}}},
               {"four are too few to look at", {1, 1, 1, 1}, {-1, 0, {}}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.verdict, judge_angles(c.angles));
  }
  const Verdict level = judge_angles(std::vector<double>(5, -0.0));
  ASSERT_EQ(1u, level.clusters.size());
  EXPECT_TRUE(std::signbit(level.clusters[0].second));
  AngleCluster clusters[30];
  int count = 5, valid = 5;
  EXPECT_EQ(-1, GetHighConfidenceSkewAngle(nullptr, 9, clusters, &count, &valid));
  EXPECT_EQ(0, count);
  EXPECT_EQ(0, valid);
}

TEST(AngleConfidence, EndsAtTheThirtyFirstCluster) {
  std::vector<double> angles;
  for (int i = 0; i < 31; ++i) angles.push_back(-29 + 1.5 * i);
  for (int i = 0; i < 9; ++i) angles.push_back(-29);
  const Verdict v = judge_angles(angles);
  EXPECT_EQ(-2, v.result);
  EXPECT_EQ(31, v.valid);
  ASSERT_EQ(30u, v.clusters.size());
  EXPECT_EQ((std::pair<int, double>{1, -29.0}), v.clusters[0]);
}

// Compares bit by bit: +0.0 is not -0.0, and a NaN is itself.
::testing::AssertionResult identical(const std::vector<double>& expected, const std::vector<double>& actual) {
  for (size_t i = 0; i < expected.size(); ++i)
    if (std::memcmp(&expected[i], &actual[i], sizeof(double)) != 0)
      return ::testing::AssertionFailure() << "[" << i << "] " << expected[i] << " is " << actual[i];
  return ::testing::AssertionSuccess();
}

TEST(MedianAngle, TakesTheMiddleAndSorts) {
  const struct {
    std::vector<double> angles, sorted;
    double median;
  } cases[] = {{{3, 1, 2, 4}, {4, 3, 2, 1}, 2.0},
               {{0.5, 0.005}, {0.5, 0.005}, 0.5},
               {{0.01, 0.5}, {0.5, 0.01}, 0.01},
               {{-1, -2}, {-1, -2}, -1.0},
               {{2, 1}, {2, 1}, 1.0},
               {{-7}, {-7}, -7.0},
               {{1, 5, 3}, {5, 3, 1}, 3.0},
               {{0.0, -0.0, 1, -0.0}, {1, 0.0, -0.0, -0.0}, 0.0},
               {{1, 2, kNan, 3, 4}, {2, 1, kNan, 4, 3}, kNan}};
  for (const auto& c : cases) {
    std::vector<double> angles = c.angles;
    const double median = GetMedianSkewAngle(angles.data(), static_cast<int>(angles.size()));
    EXPECT_TRUE(identical(c.sorted, angles));
    EXPECT_TRUE(identical({c.median}, {median}));
  }
  double untouched[] = {1, 2};
  EXPECT_EQ(-1.0, GetMedianSkewAngle(nullptr, 3));
  EXPECT_EQ(-1.0, GetMedianSkewAngle(untouched, 0));
  EXPECT_EQ(-1.0, GetMedianSkewAngle(untouched, INT32_MIN));
  EXPECT_EQ(1.0, untouched[0]);
}

void bubble_sort(std::vector<double>* a) {
  bool swapped = true;
  for (size_t end = a->size(); swapped && end > 1; --end) {
    swapped = false;
    for (size_t i = 0; i + 1 < end; ++i)
      if ((*a)[i] < (*a)[i + 1]) std::swap((*a)[i], (*a)[i + 1]), swapped = true;
  }
}

TEST(MedianAngle, SortsAsNeighboursChangingPlacesDo) {
  test::Random random(12);
  for (int count = 1; count < 400; count += count < 70 ? 1 : 37)
    for (int round = 0; round < 20; ++round) {
      std::vector<double> angles;
      const int values = 1 + random.below(2 * count);
      for (int i = 0; i < count; ++i) {
        const double value = random.below(values) - values / 2;
        angles.push_back(random.below(40) == 0 && round % 2 != 0 ? kNan : random.below(2) ? value : -value);
      }
      std::vector<double> expected = angles;
      bubble_sort(&expected);
      GetMedianSkewAngle(angles.data(), count);
      ASSERT_TRUE(identical(expected, angles)) << count << ", round " << round;
    }
}

}  // namespace
}  // namespace skew
