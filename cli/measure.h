// From a page's pixels to its angle.
#pragma once

#include <memory>
#include <vector>

#include "files/raster.h"
#include "skewcorrection/page.h"

namespace tool {

enum class Verdict { kTrusted, kUncertain, kBlank, kUnchecked };

// What skewcorrection/page.h tells of a page, and the verdict on it.
struct Measurement {
  double angle = 0.0;  // degrees, positive where lines fall to the right
  Verdict verdict = Verdict::kUnchecked;
  SkewPage found{};  // where unchecked only angle and verdict, which says trusted
};

const char* verdict_word(Verdict verdict);

// Why an angle is not trusted, empty where it is.
const char* reason_word(const Measurement& measurement);

// What the angle follows: rows, columns, structure, none.
const char* basis_word(const Measurement& measurement);

// Measures a page; fast asks for the angle of the driver alone, in steps of 0.2 degree and without a verdict.
Measurement measure(const files::Raster& page, bool fast);

// What a measurement looked at, freed with its handle.
struct FreeDetails {
  void operator()(SkewPageDetails* details) const {
    skew_free_page_details(details);
    delete details;
  }
};
using Details = std::unique_ptr<SkewPageDetails, FreeDetails>;

// The same as measure(page, false), with what it looked at.
Measurement measure(const files::Raster& page, Details& details);

// The page in gray, rows padded to a multiple of 4 bytes.
std::vector<uint8_t> padded_gray(const files::Raster& page);

}  // namespace tool
