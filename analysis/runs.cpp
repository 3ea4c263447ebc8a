// A row becomes one bit a pixel; a bit that differs from the one before it begins a run or ends one. Long
// stretches without change are skipped 64 pixels at a time.
#include "analysis/runs.h"

#include "analysis/scan_rows.h"
#include "core/cpu.h"

namespace skew {
namespace {

constexpr int kWordBits = 64;
constexpr int kWords =
    kWidestRunRow / kWordBits + 1;  // with at least one bit past the row, which ends a last run

int match_fast(const uint8_t* row, int width, uint8_t value, uint8_t* bits) {
#if defined(SKEW_AVX2_FORMS)
  if (has_avx2()) return lanes32::match_vectors(row, width, value, bits);
#endif
#if SKEW_SIMD
  return match_vectors(row, width, value, bits);
#else
  (void)row, (void)width, (void)value, (void)bits;
  return 0;
#endif
}

}  // namespace

int find_runs(const uint8_t* row, int width, uint8_t value, Run* runs) {
  uint64_t words[kWords] = {};
  int x = match_fast(row, width, value, reinterpret_cast<uint8_t*>(words));
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
