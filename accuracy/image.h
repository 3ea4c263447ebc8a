// What the truth set is made of: a gray picture, and numbers that come out alike on every machine.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace accuracy {

// 8-bit gray, rows width bytes apart.
struct Gray {
  int width = 0, height = 0;
  std::vector<uint8_t> pixels;

  Gray() = default;
  Gray(int w, int h, uint8_t value = 255)
      : width(w), height(h), pixels(static_cast<size_t>(w) * static_cast<size_t>(h), value) {}
  uint8_t* row(int y) { return &pixels[static_cast<size_t>(y) * static_cast<size_t>(width)]; }
  const uint8_t* row(int y) const { return &pixels[static_cast<size_t>(y) * static_cast<size_t>(width)]; }
};

// The standard library's distributions differ between implementations; these do not.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 0x2545F4914F6CDD1Du) {}
  uint64_t next() {
    uint64_t z = state_ += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  double uniform() { return static_cast<double>(next() >> 11) * 0x1p-53; }
  double uniform(double low, double high) { return low + (high - low) * uniform(); }
  int below(int n) { return static_cast<int>(next() % static_cast<uint64_t>(n)); }
  bool chance(double p) { return uniform() < p; }
  double normal() {  // Irwin and Hall: twelve uniform numbers, close enough to a bell for sensor noise
    double sum = -6;
    for (int i = 0; i < 12; ++i) sum += uniform();
    return sum;
  }

 private:
  uint64_t state_;
};

}  // namespace accuracy
