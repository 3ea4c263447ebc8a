// All inputs, several pages at once.
#pragma once

#include "cli/options.h"

namespace tool {

// Returns the exit code: 0 when every page was dealt with, 1 when one failed. Throws Failure.
int run(const Options& options);

}  // namespace tool
