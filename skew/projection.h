// Turns the edge points of a box and scores how sharply they pile up along one axis: the one measure of all
// angle searches.
//
// A point's two coordinates are called main and cross: the main one is multiplied by the cosine of the angle,
// the cross one by the sine. Rows are the projection whose main coordinate is y, columns the one whose main
// coordinate is x. The product of the main coordinate plus or minus that of the cross coordinate is the line
// on which the point lies: their sum for one sign of the angle, their difference for the other.
#pragma once

#include <cstdint>

#include "core/buffer.h"
#include "skew/edge_points.h"

namespace skew {

// The sum of the squares of the counts. Exact, so that the order of the sum cannot show, for up to
// kExactBins bins.
double sum_of_squares(const uint16_t* counts, int bins);
constexpr int kExactBins = 1 << 21;  // times the largest square, just below 2^32, stays below 2^53

enum class Axis { kRows, kColumns };
enum class Sign { kDifference, kSum };

// One angle: the products of every main coordinate with its cosine and of every cross coordinate with its
// sine.
struct Turn {
  const uint16_t *cosine, *sine;
};

struct Scores {
  double difference, sum;
};

class Projector {
 public:
  // Every difference of products lies in -reach ... reach - 1, every sum in 0 ... 2 * reach - 1. The points
  // stay the caller's and must outlive the projector. False if there is no memory.
  bool prepare(const EdgePoints& points, Axis axis, int reach);

  Scores score_both(const Turn& turn);
  double score(const Turn& turn, Sign sign);

 private:
  void count(const Turn& turn, Sign sign);

  const EdgePoints* points_ = nullptr;
  Axis axis_ = Axis::kRows;
  int reach_ = 0;
  Buffer<uint16_t> bins_;
};

}  // namespace skew
