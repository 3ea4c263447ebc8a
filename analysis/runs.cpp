#include "analysis/runs.h"

namespace skew {

int find_runs(const uint8_t* row, int width, uint8_t value, Run* runs) {
  int count = 0;
  for (int x = 0; x < width; ++x) {
    if (row[x] != value) continue;
    const int left = x;
    while (x + 1 < width && row[x + 1] == value) ++x;
    runs[count++] = {static_cast<uint16_t>(left), static_cast<uint16_t>(x), 0};
  }
  return count;
}

}  // namespace skew
