#include "accuracy/methods.h"

#include <leptonica/allheaders.h>

#include <time.h>

#include <cstring>
#include <stdexcept>

#include "include/skewcorrection/skew.h"

namespace accuracy {
namespace {

// Processor time of this thread, so that other work on the machine does not count.
class Stopwatch {
 public:
  double milliseconds() const { return now() - start_; }

 private:
  static double now() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
  }
  double start_ = now();
};

}  // namespace

SkewPage measure_page(const Gray& page, double* milliseconds) {
  const Stopwatch watch;
  SkewPage found;
  if (skew_measure_page(page.pixels.data(), page.width, page.height, page.width, &found) != SKEW_OK)
    throw std::runtime_error("skew_measure_page failed");
  *milliseconds = watch.milliseconds();
  return found;
}

Answer measure_driver(const Gray& page) {
  const int stride = (page.width + 3) & ~3;
  std::vector<uint8_t> padded(static_cast<size_t>(stride) * page.height);
  for (int y = 0; y < page.height; ++y)
    std::memcpy(&padded[static_cast<size_t>(y) * stride], page.row(y), static_cast<size_t>(page.width));
  const Stopwatch watch;
  double angle = 0;
  if (SkewCorrection(padded.data(), page.width, page.height, &angle) != SKEW_OK)
    throw std::runtime_error("SkewCorrection failed");
  return {angle, true, watch.milliseconds()};
}

PIX* to_pix(const Gray& page) {
  PIX* gray = pixCreate(page.width, page.height, 8);
  for (int y = 0; y < page.height; ++y) {
    l_uint32* line = pixGetData(gray) + static_cast<size_t>(y) * pixGetWpl(gray);
    for (int x = 0; x < page.width; ++x) SET_DATA_BYTE(line, x, page.row(y)[x]);
  }
  return gray;
}

Answer measure_leptonica(const Gray& page) {
  PIX* gray = to_pix(page);
  const Stopwatch watch;
  PIX* normal = pixBackgroundNormSimple(gray, nullptr, nullptr);  // refuses pages of one shade, and tiny ones
  PIX* used = normal != nullptr ? normal : gray;
  l_int32 threshold = 128;
  pixSplitDistributionFgBg(used, 0, 1, &threshold, nullptr, nullptr, nullptr);
  PIX* binary = pixThresholdToBinary(used, threshold + 1);
  float angle = 0, confidence = 0;
  // Refuses empty pages; they count as "not sure".
  const bool failed = binary == nullptr ||
                      pixFindSkewSweepAndSearch(binary, &angle, &confidence, 2, 1, 45.0f, 0.5f, 0.01f) != 0;
  const Answer answer = {failed ? 0.0 : -angle, !failed && confidence >= 3.0f, watch.milliseconds()};
  pixDestroy(&binary);
  pixDestroy(&normal);
  pixDestroy(&gray);
  return answer;
}

}  // namespace accuracy
