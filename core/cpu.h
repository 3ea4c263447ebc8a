// The one question the library asks the processor. Kernels that gain from it are compiled twice on x86-64,
// for SSE2 and for AVX2, and the caller picks a form once per call.
#pragma once

namespace skew {

// True when the processor and the operating system support AVX2. False on everything but x86-64.
// The answer is found on the first call and kept; calls may run concurrently.
bool has_avx2();

}  // namespace skew
