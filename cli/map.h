// The command map: results of text recognition, moved along with their page.
#pragma once

#include "cli/options.h"

namespace tool {

// Returns the exit code.
int map(const Options& options);

}  // namespace tool
