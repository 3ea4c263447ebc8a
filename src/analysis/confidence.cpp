// The two verdicts: what most components are high, what most measurements say. They share the clustering and
// differ in what counts, what is near, how a mean is rounded and which share of the values is demanded.
#include <cstddef>

#include "analysis/clustering.h"
#include "core/raster.h"
#include "include/skewcorrection/analysis.h"

// The records are part of the published interface.
static_assert(sizeof(HeightCluster) == 8 && offsetof(HeightCluster, count) == 0 &&
              offsetof(HeightCluster, meanHeight) == 4);
static_assert(offsetof(AngleCluster, count) == 0 &&
              offsetof(AngleCluster, meanAngle) == alignof(AngleCluster) &&
              sizeof(AngleCluster) == alignof(AngleCluster) + 8);  // a double may be aligned to 4 bytes

namespace skew {
namespace {

constexpr int kTooFew = -1;
constexpr int kNotTrusted = -2;

constexpr int kLeastComponents = 30;
constexpr int kLeastHeight = 4;  // anything lower is a speck or a rule
constexpr int kHeightShare = 4;  // a quarter of the components

constexpr int kLeastAngles = 5;
constexpr double kLargestAngle = 29.0;
constexpr int kAngleShare = 3;  // a third of the angles

struct HeightRule {
  using Value = int;
  using Sum = int64_t;
  static int mean(int64_t sum, int32_t count) { return static_cast<int>((sum + count / 2) / count); }
  static bool near_enough(int distance, int mean) { return distance <= mean / 3; }
};

struct AngleRule {
  using Value = double;
  using Sum = double;
  static double mean(double sum, int32_t count) { return sum / count; }
  static bool near_enough(double distance, double) { return distance - 0.6 < 0.001; }
};

bool is_inside(const ImgROI& box, const ImgROI& region) {
  return box.left >= region.left && box.right <= region.right && box.top >= region.top &&
         box.bottom <= region.bottom;
}

}  // namespace
}  // namespace skew

int GetHighConfidenceHeightROI(const ImgROI* pComponents, int componentCount, ImgROI roi,
                               HeightCluster* pClusters, int* pClusterCount, int* pValidCount) {
  *pClusterCount = 0;
  *pValidCount = 0;
  if (pComponents == nullptr || componentCount < skew::kLeastComponents) return skew::kTooFew;

  skew::Clustering<skew::HeightRule> heights;
  for (int i = 0; i < componentCount; ++i) {
    const int height = skew::inclusive_height(pComponents[i]);
    if (!skew::is_inside(pComponents[i], roi) || height < skew::kLeastHeight) continue;
    if (!heights.add(height)) break;
  }
  heights.sort();
  for (int i = 0; i < heights.size(); ++i) pClusters[i] = {heights[i].count, heights[i].mean()};
  *pClusterCount = heights.size();
  *pValidCount = heights.valid();
  return heights.trusted(skew::kHeightShare) ? heights[0].mean() : skew::kNotTrusted;
}

int GetHighConfidenceSkewAngle(const double* pAngles, int angleCount, AngleCluster* pClusters,
                               int* pClusterCount, int* pValidCount) {
  *pClusterCount = 0;
  *pValidCount = 0;
  if (pAngles == nullptr || angleCount < skew::kLeastAngles) return skew::kTooFew;

  skew::Clustering<skew::AngleRule> angles;
  for (int i = 0; i < angleCount; ++i) {
    const bool counts = pAngles[i] >= -skew::kLargestAngle && pAngles[i] <= skew::kLargestAngle;  // not NaN
    if (counts && !angles.add(pAngles[i])) break;
  }
  angles.sort();
  for (int i = 0; i < angles.size(); ++i) pClusters[i] = {angles[i].count, angles[i].mean()};
  *pClusterCount = angles.size();
  *pValidCount = angles.valid();
  return angles.trusted(skew::kAngleShare) ? 0 : skew::kNotTrusted;
}
