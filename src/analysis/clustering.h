// One pass that gathers values into clusters, each value with the cluster whose mean is nearest at that
// moment.
//
// A Rule says what is gathered:
//   using Value, using Sum              one value; the sum of a cluster's values
//   static Value mean(Sum sum, int32_t count)
//   static bool near_enough(Value distance, Value mean)
#pragma once

#include <cstdint>

namespace skew {

constexpr int kMaxClusters = 30;

template <class Rule>
class Clustering {
 public:
  using Value = typename Rule::Value;

  struct Cluster {
    int32_t count;
    typename Rule::Sum sum;
    Value mean() const { return Rule::mean(sum, count); }
  };

  // Puts the value into the nearest cluster, the earlier one of two equally near, or opens one for it. False
  // when it would need one cluster too many: no further value may then be added.
  bool add(Value value) {
    ++valid_;
    Cluster* cluster = nearest(value);
    if (cluster != nullptr) {
      ++cluster->count;
      cluster->sum += value;
      return true;
    }
    if (size_ == kMaxClusters) return false;
    clusters_[size_++] = {1, value};  // added to 0.0, a value of -0.0 would lose its sign
    return true;
  }

  // Largest first; clusters of equal size keep the order in which they were opened.
  void sort() {
    for (int i = 1; i < size_; ++i) {
      const Cluster moved = clusters_[i];
      int to = i;
      for (; to > 0 && clusters_[to - 1].count < moved.count; --to) clusters_[to] = clusters_[to - 1];
      clusters_[to] = moved;
    }
  }

  // After sorting: whether the largest cluster has 4 members and at least one in `share` of the values.
  bool trusted(int share) const {
    return clusters_[0].count >= 4 && valid_ <= int64_t{share} * clusters_[0].count;
  }

  int size() const { return size_; }
  int valid() const { return valid_; }  // values added, the one that found no cluster included
  const Cluster& operator[](int i) const { return clusters_[i]; }

 private:
  Cluster* nearest(Value value) {
    Cluster* chosen = nullptr;
    Value best = 10000;  // from this distance on nothing is near
    for (int i = 0; i < size_; ++i) {
      const Value mean = clusters_[i].mean();
      const Value distance = mean < value ? value - mean : mean - value;
      if (!Rule::near_enough(distance, mean) || !(distance < best)) continue;
      best = distance;
      chosen = &clusters_[i];
    }
    return chosen;
  }

  Cluster clusters_[kMaxClusters] = {};
  int size_ = 0, valid_ = 0;
};

}  // namespace skew
