// Whole degrees on both sides, ten steps of 0.2 degree around the winner, and a last look just below the
// refined winner.
#include "skew/three_step_core.h"

#include <cmath>

#include "core/raster.h"

namespace skew {
namespace {

constexpr int kLastCoarseRow = 39;
constexpr int kLastFineRow = 199;
constexpr int kFinePerCoarse = 5;

// More than any turned coordinate of the box can be, even if the tables round up: the diagonal and 3.
int reach_of(const EdgeBox& box) {
  const double width = box.width, height = box.height;  // the squares of 65536 add up exactly
  return static_cast<int>(std::sqrt(width * width + height * height)) + 3;
}

class Search {
 public:
  Search(const EdgeBox& box, Axis axis, const ProjectionTables& tables)
      : box_(box),
        axis_(axis),
        tables_(tables),
        main_length_(axis == Axis::kRows ? box.height : box.width),
        cross_length_(axis == Axis::kRows ? box.width : box.height),
        reach_(reach_of(box)) {}

  // Counts the points and scores them as they lie. False if there is no memory.
  bool score_level(double* score) {
    const Buffer<uint16_t> rows = allocate<uint16_t>(box_.height), columns = allocate<uint16_t>(box_.width);
    if (!rows || !columns) return false;
    points_.count = count_rows(box_, rows.get());
    *score = sum_of_squares(rows.get(), box_.height);
    if (axis_ == Axis::kRows) return true;
    count_columns(box_, columns.get());
    *score = sum_of_squares(columns.get(), box_.width);
    return true;
  }

  // False if there is no memory.
  bool prepare() {
    if (!strips_pay(box_, points_.count)) {
      points_ = list_edge_points(box_, points_.count, 0xFFFF);
      if (!points_.list) return false;
    }
    products_ = allocate<uint16_t>(uint64_t{1} * main_length_ + cross_length_);
    return products_ && projector_.prepare(box_, points_, axis_, reach_);
  }

  ThreeStepResult run(double level) {
    const Step coarse = best_whole_degree(level);
    if (coarse.row == kLastCoarseRow || coarse.row == -kLastCoarseRow)
      return {kFinePerCoarse * coarse.row, coarse.score};

    Step best = {kFinePerCoarse * coarse.row, level};  // not the coarse score
    if (coarse.row == 0) return {best.row, best.score};
    const Sign side = coarse.row > 0 ? Sign::kDifference : Sign::kSum;
    const int centre = coarse.row > 0 ? best.row : -best.row;
    const int first = centre - kFinePerCoarse;
    refine(side, first, centre + kFinePerCoarse, &best);

    // In doubles, as written: the two ends are not always one row apart. Rows that were tried cannot win
    // again.
    const int row = best.row < 0 ? -best.row : best.row;
    const int low = static_cast<int>((row * 0.2 - 0.2) * 5), high = static_cast<int>((row * 0.2 + 0.2) * 5);
    refine(side, low < 0 ? 0 : low, high < first ? high : first, &best);
    return {best.row, best.score};
  }

 private:
  struct Step {
    int row;  // positive on the side of the differences
    double score;
  };

  // Keeps the first of equal scores.
  static void keep_better(int row, double score, Step* best) {
    if (score > best->score) *best = {row, score};
  }

  Step best_whole_degree(double level) {
    Step best = {0, level};
    for (int row = 1; row <= kLastCoarseRow; ++row) {
      const Scores scores = projector_.score_both(turn(tables_.coarse_cosine, tables_.coarse_sine, row));
      keep_better(row, scores.difference, &best);
      keep_better(-row, scores.sum, &best);
    }
    return best;
  }

  void refine(Sign side, int first, int end, Step* best) {
    for (int row = first; row < end && row <= kLastFineRow; ++row) {
      const double score = projector_.score(turn(tables_.fine_cosine, tables_.fine_sine, row), side);
      keep_better(side == Sign::kDifference ? row : -row, score, best);
    }
  }

  // One row of both tables. Entries that no rounding of a product explains are cut, so that every sum and
  // difference stays within reach.
  AngleProducts turn(const uint16_t* cosines, const uint16_t* sines, int row) {
    uint16_t* cosine = products_.get();
    uint16_t* sine = cosine + main_length_;
    copy_limited(cosines + static_cast<ptrdiff_t>(row) * main_length_, main_length_, cosine);
    copy_limited(sines + static_cast<ptrdiff_t>(row) * cross_length_, cross_length_, sine);
    return {cosine, sine};
  }

  void copy_limited(const uint16_t* from, int count, uint16_t* to) const {
    const int limit = reach_ - 1 < 0xFFFF ? reach_ - 1 : 0xFFFF;
    for (int i = 0; i < count; ++i) to[i] = static_cast<uint16_t>(from[i] < limit ? from[i] : limit);
  }

  const EdgeBox box_;
  const Axis axis_;
  const ProjectionTables tables_;
  const int main_length_, cross_length_, reach_;
  EdgePoints points_;
  Buffer<uint16_t> products_;
  Projector projector_;
};

}  // namespace

int three_step_search(const uint8_t* edge, int width, const ImgROI& roi, Axis axis,
                      const ProjectionTables& tables, ThreeStepResult* result) {
  *result = ThreeStepResult();
  const EdgeBox box = edge_box(edge, padded_stride(width), roi);
  if (box.width == 0) return SKEW_OK;

  Search search(box, axis, tables);
  double level = 0;
  if (!search.score_level(&level)) return SKEW_NO_WORKING_MEMORY;
  if (level < 0.001) return SKEW_OK;  // no points
  if (!search.prepare()) return SKEW_NO_WORKING_MEMORY;
  *result = search.run(level);
  return SKEW_OK;
}

}  // namespace skew
