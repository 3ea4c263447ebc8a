// The one question the library asks the processor. Kernels that gain from longer vectors are compiled again for
// them on x86-64 (core/forms.h).
#pragma once

#include <cstdint>

namespace skew {

// The length of the longest vectors that a form may use: 64 when the processor and the operating system support
// AVX-512 with its subsets F, BW, VL and VBMI, 32 for AVX2, else 16. Always 16 on everything but x86-64.
// The answer is found on the first call and kept; calls may run concurrently.
int vector_bytes();

// What an x86-64 processor says of itself: CPUID leaf 1, ECX; leaf 7, EBX and ECX; and the low half of the register
// XCR0, which tells what the operating system saves. Zero where there is no such leaf or register.
struct ProcessorWords {
  uint32_t features, more_features_b, more_features_c, saved_state;
};

// The same answer from these words.
int vector_bytes_of(const ProcessorWords& words);

}  // namespace skew
