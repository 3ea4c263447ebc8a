#include "cli/measure.h"

#include <cmath>
#include <cstring>

#include "cli/failure.h"
#include "skewcorrection/convert.h"
#include "skewcorrection/skew.h"

namespace tool {

namespace {

size_t padded(int width) { return (static_cast<size_t>(width) + 3) & ~size_t{3}; }

// The driver's answers end at 45 degrees: one from the very end is as likely to lie beyond it.
Measurement measure_fast(const std::vector<uint8_t>& gray, int width, int height) {
  Measurement m;
  if (width < 32 || height < 32) {
    m.verdict = Verdict::kBlank;
    return m;
  }
  const int code = SkewCorrection(gray.data(), width, height, &m.angle);
  if (code != SKEW_OK) throw Failure("cannot be measured (result " + std::to_string(code) + ")");
  if (std::fabs(m.angle) > 44.9) m.verdict = Verdict::kUncertain;
  return m;
}

}  // namespace

const char* verdict_word(Verdict verdict) {
  switch (verdict) {
    case Verdict::kTrusted:
      return "trusted";
    case Verdict::kUncertain:
      return "uncertain";
    case Verdict::kBlank:
      return "blank";
    case Verdict::kUnchecked:
      break;
  }
  return "unchecked";
}

std::vector<uint8_t> padded_gray(const Raster& page) {
  const size_t stride = padded(page.width);
  std::vector<uint8_t> gray(stride * page.height, 255);
  for (int y = 0; y < page.height; ++y) {
    if (page.channels == 1)
      std::memcpy(&gray[stride * y], page.row(y), page.width);
    else
      image_rgb2gray(page.row(y), page.width, 1, &gray[stride * y]);
  }
  return gray;
}

Measurement measure(const Raster& page, bool /*fast*/) {
  return measure_fast(padded_gray(page), page.width, page.height);
}

}  // namespace tool
