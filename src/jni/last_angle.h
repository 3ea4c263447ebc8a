// The one thing the library remembers between calls.
#pragma once

namespace skew {

// The angle of the last successful estimate, degrees; 0.0 before the first one. Written by the four image
// methods, never reset, not locked.
extern double g_lastSkewAngle;

}  // namespace skew
