// The command undo: levelled PDF files as they were.
#pragma once

#include "cli/options.h"

namespace tool {

// Returns the exit code.
int undo(const Options& options);

}  // namespace tool
