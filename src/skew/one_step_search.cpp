// Scores whole degrees on both sides, then the steps of 0.2 degree around the best.
#include "skew/one_step_search.h"

#include "include/skewcorrection/skew.h"
#include "include/skewcorrection/tables.h"
#include "skew/edge_points.h"
#include "skew/projection.h"

namespace skew {
namespace {

constexpr int kCoordinates = 256;  // coordinates count modulo this
constexpr int kLargestIndex = 225;
constexpr int kCoarseStep = 5;

// The products of every coordinate with the cosine and the sine of one angle: a column of A_tCos_256_226 and
// one of A_tSin_256_226, worked out anew, because their entries lie a kilobyte apart.
struct Products {
  explicit Products(int index) {
    for (int i = 0; i < kCoordinates; ++i) {
      cosine[i] = static_cast<uint16_t>((i * COS[index]) >> 16);
      sine[i] = static_cast<uint16_t>((i * SIN[index]) >> 16);
    }
  }
  AngleProducts turn() const { return {cosine, sine}; }

  uint16_t cosine[kCoordinates], sine[kCoordinates];
};

class Search {
 public:
  bool prepare(const EdgeBox& box, const EdgePoints& points) {
    return rows_.prepare(box, points, Axis::kRows, kCoordinates) &&
           columns_.prepare(box, points, Axis::kColumns, kCoordinates);
  }

  void run(OneStepResult* best) {
    for (int index = kCoarseStep; index <= kLargestIndex; index += kCoarseStep) try_both_signs(index, best);
    const int coarse = best->angle_index;
    for (int index = coarse - kCoarseStep + 1; index < coarse + kCoarseStep; ++index) {
      const bool tried = index == coarse && coarse != 0;  // zero was scored without wrapping
      if (!tried && index >= -kLargestIndex && index <= kLargestIndex) try_one(index, best);
    }
  }

 private:
  // Keeps the first of equal scores.
  static void keep_better(int index, double score, OneStepResult* best) {
    if (score <= best->score) return;
    best->score = score;
    best->angle_index = index;
  }

  // Rows of a positive angle are differences, y cos - x sin; its columns are sums, x cos + y sin.
  void try_both_signs(int index, OneStepResult* best) {
    const Products products(index);
    const Scores rows = rows_.score_both(products.turn()), columns = columns_.score_both(products.turn());
    keep_better(index, rows.difference * columns.sum, best);
    keep_better(-index, rows.sum * columns.difference, best);
  }

  void try_one(int index, OneStepResult* best) {
    const Products products(index < 0 ? -index : index);
    const Sign of_rows = index < 0 ? Sign::kSum : Sign::kDifference;
    const Sign of_columns = index < 0 ? Sign::kDifference : Sign::kSum;
    keep_better(index, rows_.score(products.turn(), of_rows) * columns_.score(products.turn(), of_columns),
                best);
  }

  Projector rows_, columns_;
};

// Counts the points and scores them as they lie; here coordinates do not wrap around. False if there is no
// memory.
bool score_level(const EdgeBox& box, OneStepResult* result) {
  const Buffer<uint16_t> rows = allocate<uint16_t>(box.height), columns = allocate<uint16_t>(box.width);
  if (!rows || !columns) return false;
  result->points = count_rows(box, rows.get());
  if (result->points < kOneStepPoints) return true;
  count_columns(box, columns.get());
  result->level_score = sum_of_squares(rows.get(), box.height) * sum_of_squares(columns.get(), box.width);
  result->score = result->level_score;
  return true;
}

}  // namespace

int one_step_search(const uint8_t* edge, ptrdiff_t stride, const ImgROI& roi, OneStepResult* result) {
  *result = OneStepResult();
  const EdgeBox box = edge_box(edge, stride, roi);
  OneStepResult best;
  if (!score_level(box, &best)) return SKEW_NO_WORKING_MEMORY;
  if (best.points >= kOneStepPoints) {
    EdgePoints points;
    points.count = best.points;
    if (box.width > kCoordinates || box.height > kCoordinates || !strips_pay(box, best.points)) {
      points = list_edge_points(box, best.points, kCoordinates - 1);
      if (!points.list) return SKEW_NO_WORKING_MEMORY;
    }
    Search search;
    if (!search.prepare(box, points)) return SKEW_NO_WORKING_MEMORY;
    search.run(&best);
  }
  *result = best;
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
