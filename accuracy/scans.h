// Real scanned pages. Their own skew is unknown, so each is turned by known angles and every method is asked
// how far its answers follow the turning, and what it takes the page's own skew to be.
#pragma once

#include <string>

#include "accuracy/image.h"

namespace accuracy {

// The median of the outermost pixels: what the page lies on.
uint8_t border_median(const Gray& page);

// Turns by Lanczos interpolation over six pixels each way; what lies outside is the median of the border.
// A page of two values stays one of two values.
Gray turn(const Gray& page, double degrees);

// Measures the named files (a list, one name a line) found in the folder and prints a table.
void measure_scans(const std::string& folder, const std::string& list);

}  // namespace accuracy
