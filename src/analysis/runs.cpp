// A row becomes one bit a pixel; a bit that differs from the one before it begins a run or ends one. Long
// stretches without change are skipped 64 pixels at a time.
#include "analysis/runs.h"

#include <cstring>

#include "core/simd.h"

namespace skew {
namespace {

constexpr int kWordBits = 64;
constexpr int kWords = kWidestRunRow / kWordBits + 1;  // the bit past the row ends a last run

// Sets the bits of the first pixels, as many as whole vectors hold; returns how many those are. The processor
// is a little-endian one. Wider vectors gain nothing here: most of the time goes into the runs.
int find_matches(const uint8_t* row, int width, uint8_t value, uint64_t* words) {
  int x = 0;
#if SKEW_SIMD
  const U8 wanted = U8{} + value;
  for (; width - x >= kLanes8; x += kLanes8) {
    const uint32_t bits = mask_bits((U8)(load<U8>(row + x) == wanted));
    std::memcpy(reinterpret_cast<uint8_t*>(words) + x / 8, &bits, kLanes8 / 8);
  }
#else
  (void)row, (void)width, (void)value, (void)words;
#endif
  return x;
}

}  // namespace

int find_runs(const uint8_t* row, int width, uint8_t value, Run* runs) {
  uint64_t words[kWords] = {};
  int x = find_matches(row, width, value, words);
  for (; x < width; ++x) words[x / kWordBits] |= uint64_t{row[x] == value} << x % kWordBits;

  Run* run = runs;
  bool inside = false;
  uint64_t last = 0;
  for (int w = 0; w <= width / kWordBits; ++w) {
    uint64_t changes = words[w] ^ (words[w] << 1 | last);
    last = words[w] >> (kWordBits - 1);
    for (; changes != 0; changes &= changes - 1) {
      const int at = w * kWordBits + __builtin_ctzll(changes);
      if (inside)
        (run++)->right = static_cast<uint16_t>(at - 1);
      else
        run->left = static_cast<uint16_t>(at);
      inside = !inside;
    }
  }
  return static_cast<int>(run - runs);
}

}  // namespace skew
