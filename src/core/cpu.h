// The one question the library asks the processor. Kernels that gain from wider vectors are compiled again for
// them on x86-64, and the caller picks a form once per call.
#pragma once

namespace skew {

// The length of the longest vectors that a form may use: 64 when the processor and the operating system support
// AVX-512 with its subsets F, BW, VL and VBMI, 32 for AVX2, else 16. Always 16 on everything but x86-64.
// The answer is found on the first call and kept; calls may run concurrently.
int vector_bytes();

}  // namespace skew
