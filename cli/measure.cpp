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
  return {found.angle, verdict, found};
}

// The driver's answers end at 45 degrees: one from the very end is as likely to lie beyond it.
Measurement measure_fast(const std::vector<uint8_t>& gray, int width, int height) {
  Measurement m;
  if (width < 32 || height < 32) {
    m.verdict = Verdict::kBlank;
    m.found.verdict = SKEW_PAGE_BLANK;
    return m;
  }
  check(SkewCorrection(gray.data(), width, height, &m.angle));
  m.found.angle = m.angle;
  if (std::fabs(m.angle) > 44.9) {
    m.verdict = Verdict::kUncertain;
    m.found.verdict = SKEW_PAGE_UNCERTAIN;
  }
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

const char* reason_word(const Measurement& measurement) {
  switch (measurement.found.reason) {
    case SKEW_REASON_NO_CONTENT:
      return "no content";
    case SKEW_REASON_LITTLE_TEXT:
      return "little text";
    case SKEW_REASON_TWO_DIRECTIONS:
      return "two directions";
    case SKEW_REASON_NOT_PARALLEL:
      return "lines not parallel";
    case SKEW_REASON_ONLY_STRUCTURE:
      return "no text";
    case SKEW_REASON_RASTER:
      return "raster of the image";
    case SKEW_REASON_UNCLEAR:
      return "parts disagree";
    default:
      return "";
  }
}

const char* basis_word(const Measurement& measurement) {
  switch (measurement.found.basis) {
    case SKEW_BASIS_ROWS:
      return "rows";
    case SKEW_BASIS_COLUMNS:
      return "columns";
    case SKEW_BASIS_STRUCTURE:
      return "structure";
    default:
      return "none";
  }
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
