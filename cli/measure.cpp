#include "cli/measure.h"

#include <cmath>
#include <cstring>
#include <new>
#include <string>

#include "files/failure.h"
#include "skewcorrection/convert.h"
#include "skewcorrection/skew.h"

namespace tool {

namespace {

size_t padded(int width) { return (static_cast<size_t>(width) + 3) & ~size_t{3}; }

void check(int code) {
  if (code == SKEW_OUT_OF_MEMORY) throw std::bad_alloc();
  if (code != SKEW_OK) throw files::Failure("cannot be measured (result " + std::to_string(code) + ")");
}

Measurement from_library(const SkewPage& found) {
  const Verdict verdict = found.verdict == SKEW_PAGE_TRUSTED ? Verdict::kTrusted
                          : found.verdict == SKEW_PAGE_BLANK ? Verdict::kBlank
                                                             : Verdict::kUncertain;
  return {found.angle, verdict, found.windowsMeasured, found.windowsAgreeing, found.spread};
}

// The driver's answers end at 45 degrees: one from the very end is as likely to lie beyond it.
Measurement measure_fast(const std::vector<uint8_t>& gray, int width, int height) {
  Measurement m;
  if (width < 32 || height < 32) {
    m.verdict = Verdict::kBlank;
    return m;
  }
  check(SkewCorrection(gray.data(), width, height, &m.angle));
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

std::vector<uint8_t> padded_gray(const files::Raster& page) {
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

Measurement measure(const files::Raster& page, bool fast) {
  const std::vector<uint8_t> gray = padded_gray(page);
  if (fast) return measure_fast(gray, page.width, page.height);
  SkewPage found{};
  check(skew_measure_page(gray.data(), page.width, page.height, padded(page.width), &found));
  return from_library(found);
}

Measurement measure(const files::Raster& page, Details& details) {
  const std::vector<uint8_t> gray = padded_gray(page);
  SkewPage found{};
  details.reset(new SkewPageDetails{});
  check(skew_measure_page_details(gray.data(), page.width, page.height, padded(page.width), &found,
                                  details.get()));
  return from_library(found);
}

}  // namespace tool
