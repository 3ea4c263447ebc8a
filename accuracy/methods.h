// The ways of measuring a page that the table compares.
#pragma once

#include "accuracy/image.h"

namespace accuracy {

struct Answer {
  double angle = 0;
  bool trusted = false;
  bool blank = false;  // only the page measurement can say so
  double milliseconds = 0;
};

Answer measure_page(const Gray& page);       // skew_measure_page
Answer measure_driver(const Gray& page);     // SkewCorrection; it trusts every answer
Answer measure_leptonica(const Gray& page);  // adaptive binarisation, sweep and search over 45 degrees

struct Method {
  const char* name;
  Answer (*measure)(const Gray&);
};
constexpr Method kMethods[] = {
    {"page", measure_page}, {"driver", measure_driver}, {"leptonica", measure_leptonica}};

}  // namespace accuracy
