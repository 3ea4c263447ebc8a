// Repeatable random bytes: the same on every processor and compiler.
#pragma once

#include <cstdint>
#include <vector>

namespace skew::test {

// SplitMix64 (Steele, Lea and Flood, 2014).
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15u);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  // 0 ... bound - 1
  int below(int bound) { return static_cast<int>(next() % static_cast<uint64_t>(bound)); }

  std::vector<uint8_t> bytes(size_t count) {
    std::vector<uint8_t> out(count);
    for (auto& byte : out) byte = static_cast<uint8_t>(next() >> 56);
    return out;
  }

 private:
  uint64_t state_;
};

}  // namespace skew::test
