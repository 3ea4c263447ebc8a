// The ways of measuring a page that the tables compare.
#pragma once

#include "accuracy/image.h"
#include "include/skewcorrection/page.h"

struct Pix;

namespace accuracy {

struct Answer {
  double angle = 0;
  bool trusted = false;
  double milliseconds = 0;  // processor time
};

SkewPage measure_page(const Gray& page, double* milliseconds);  // skew_measure_page
Answer measure_driver(const Gray& page);                        // SkewCorrection; it trusts every answer

// Background normalised, Otsu's threshold, sweep over 45 degrees and search; trusted from a confidence of 3 on,
// as Leptonica's manual advises.
Answer measure_leptonica(const Gray& page);

// The caller destroys it.
Pix* to_pix(const Gray& page);

}  // namespace accuracy
