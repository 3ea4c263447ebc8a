// The gray working copy of the Java method that is running. One exists in a process, and none between calls.
#pragma once

#include <cstdint>

namespace skew {

// Null, or the working copy, which the library owns. Set by the two exported copy functions only.
extern uint8_t* g_globalBuffer;

// Frees the working copy, if there is one.
void free_working_copy();

}  // namespace skew
