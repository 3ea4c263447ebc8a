// Turns the edge points of a box and scores how sharply they pile up along one axis: the one measure of all
// angle searches.
#pragma once

#include <cstdint>

#include "core/buffer.h"
#include "skew/edge_points.h"
#include "skew/strips.h"

namespace skew {

// The sum of the squares of the counts. Exact, so that the order of the sum cannot show, for up to
// kExactBins bins.
double sum_of_squares(const uint16_t* counts, int bins);
constexpr int kExactBins = 1 << 21;  // times the largest square, just below 2^32, stays below 2^53

enum class Sign { kDifference, kSum };

struct Scores {
  double difference, sum;
};

// True when counting in strips (strips.h) is faster than visiting the points one by one.
bool strips_pay(const EdgeBox& box, size_t points);

class Projector {
 public:
  // Visits the points if they come as a list, and otherwise keeps the box in strips. Every product will be
  // below reach, and so is every coordinate. The points must outlive the projector. False if there is no
  // memory.
  bool prepare(const EdgeBox& box, const EdgePoints& points, Axis axis, int reach);

  Scores score_both(const AngleProducts& turn) const;
  double score(const AngleProducts& turn, Sign sign) const;

 private:
  void count(const AngleProducts& turn, uint16_t* differences, uint16_t* sums) const;
  double score_bins(const Buffer<uint16_t>& bins, int count) const;

  const EdgePoints* points_ = nullptr;
  Axis axis_ = Axis::kRows;
  int main_length_ = 0, cross_length_ = 0;
  Buffer<uint8_t> strips_;  // null with a list
  Buffer<uint16_t> differences_, sums_;
};

}  // namespace skew
