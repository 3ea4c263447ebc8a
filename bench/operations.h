// The operations that are compared, by concern. Each call builds its own inputs at the given page size and
// keeps them alive in the contenders.
#pragma once

#include <vector>

#include "bench/measure.h"

namespace bench {

std::vector<Operation> pipeline_operations(int width, int height);    // driver, whole Java call
std::vector<Operation> search_operations(int width, int height);      // edge map, reduction, angle searches
std::vector<Operation> rotation_operations(int width, int height);    // the four rotations, three angles
std::vector<Operation> conversion_operations(int width, int height);  // pixel formats
std::vector<Operation> analysis_operations(int width, int height);    // components, filters

}  // namespace bench
