// Scores whole degrees on both sides, then the steps of 0.2 degree around the best. For one angle only one
// column of each product table is used; gathered into short arrays it stays in the first cache level.
#include "skew/one_step_search.h"

#include "core/raster.h"
#include "include/skewcorrection/skew.h"
#include "include/skewcorrection/tables.h"
#include "skew/edge_points.h"
#include "skew/projection.h"

namespace skew {
namespace {

constexpr int kCoordinates = 256;  // coordinates count modulo this
constexpr int kLargestIndex = 225;
constexpr int kCoarseStep = 5;
constexpr int kReach = 363;  // 256 times the square root of 2, rounded up: no turned coordinate gets further
constexpr int kBins = 2 * kReach;

// The products of every coordinate with the cosine and the sine of one angle.
struct Products {
  int16_t cosine[kCoordinates], sine[kCoordinates];
};

Products products_of(int index) {
  Products products;
  for (int i = 0; i < kCoordinates; ++i) {
    products.cosine[i] = static_cast<int16_t>(A_tCos_256_226[i * 256 + index]);
    products.sine[i] = static_cast<int16_t>(A_tSin_256_226[i * 256 + index]);
  }
  return products;
}

// The row and column projections of the points, turned by one angle.
struct Projections {
  uint16_t rows[kBins], columns[kBins];
  double score() const { return sum_of_squares(rows, kBins) * sum_of_squares(columns, kBins); }
};

double score_of(const EdgePoints& points, int index) {
  const Products products = products_of(index < 0 ? -index : index);
  const int sign = index < 0 ? -1 : 1;
  Projections projections = {};
  for (size_t i = 0; i < points.count; ++i) {
    const int x = points.list[i].x % kCoordinates, y = points.list[i].y % kCoordinates;
    ++projections.rows[products.cosine[y] - sign * products.sine[x] + kReach];
    ++projections.columns[products.cosine[x] + sign * products.sine[y] + kReach];
  }
  return projections.score();
}

// Keeps the first of equal scores.
void try_angle(const EdgePoints& points, int index, OneStepResult* best) {
  const double score = score_of(points, index);
  if (score > best->score) {
    best->score = score;
    best->angle_index = index;
  }
}

// The score of the points as they lie; here coordinates do not wrap around. counts are zeros, one for each
// row and column of the box.
double level_score(const EdgePoints& points, const ImgROI& roi, uint16_t* counts) {
  const int width = inclusive_width(roi), height = inclusive_height(roi);
  for (size_t i = 0; i < points.count; ++i) {
    ++counts[points.list[i].y];
    ++counts[height + points.list[i].x];
  }
  return sum_of_squares(counts, height) * sum_of_squares(counts + height, width);
}

void search(const EdgePoints& points, OneStepResult* best) {
  for (int index = kCoarseStep; index <= kLargestIndex; index += kCoarseStep) {
    try_angle(points, index, best);
    try_angle(points, -index, best);
  }
  const int coarse = best->angle_index;
  for (int index = coarse - kCoarseStep + 1; index < coarse + kCoarseStep; ++index)
    if (index >= -kLargestIndex && index <= kLargestIndex) try_angle(points, index, best);
}

}  // namespace

int one_step_search(const uint8_t* edge, ptrdiff_t stride, const ImgROI& roi, OneStepResult* result) {
  *result = OneStepResult();
  if (!is_box(roi)) return SKEW_OK;
  const EdgePoints points = find_edge_points(edge, stride, roi);
  const Buffer<uint16_t> counts = allocate_zeroed<uint16_t>(inclusive_width(roi) + inclusive_height(roi));
  if (!points.list || !counts) return SKEW_NO_WORKING_MEMORY;
  result->points = points.count;
  if (points.count < kOneStepPoints) return SKEW_OK;
  result->score = result->level_score = level_score(points, roi, counts.get());
  search(points, result);
  return SKEW_OK;
}

}  // namespace skew

int SkewAngleDetect_HOR_OneStep(const uint8_t* pEdge, int stride, ImgROI roi, double* pAngle) {
  *pAngle = 0.0;
  skew::OneStepResult result;
  const int status = skew::one_step_search(pEdge, stride, roi, &result);
  if (status == SKEW_OK) *pAngle = result.degrees();
  return status;
}
