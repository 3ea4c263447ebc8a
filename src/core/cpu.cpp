// Asks CPUID directly: the compilers' own helpers run code when the library is loaded, and this one loads silently.
#include "core/cpu.h"

#if defined(SKEW_WIDER_FORMS)
#include <cpuid.h>
#endif

namespace skew {

#if defined(SKEW_WIDER_FORMS)

namespace {

constexpr unsigned kOsSavesRegisters = 1U << 27;  // CPUID 1, ECX: XGETBV may be used
constexpr unsigned kLongVectorState = 0x06;       // XCR0: the system saves the 128- and 256-bit registers
constexpr unsigned kLongestVectorState = 0xE6;    // and the 512-bit ones with their masks
constexpr unsigned kAvx2 = 1U << 5;               // CPUID 7, EBX
constexpr unsigned kAvx512 = 1U << 16 | 1U << 30 | 1U << 31;  // CPUID 7, EBX: F, BW, VL
constexpr unsigned kAvx512Vbmi = 1U << 1;                     // CPUID 7, ECX

bool all_of(unsigned flags, unsigned wanted) { return (flags & wanted) == wanted; }

int detect_vector_bytes() {
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0 || !all_of(c, kOsSavesRegisters)) return 16;
  unsigned xcr0 = 0, high = 0;
  __asm__("xgetbv" : "=a"(xcr0), "=d"(high) : "c"(0));
  if (__get_cpuid_count(7, 0, &a, &b, &c, &d) == 0 || !all_of(xcr0, kLongVectorState) || !all_of(b, kAvx2))
    return 16;
  return all_of(xcr0, kLongestVectorState) && all_of(b, kAvx512) && all_of(c, kAvx512Vbmi) ? 64 : 32;
}

}  // namespace

int vector_bytes() {
  static int answer = 0;  // 0 not asked yet; every thread that asks finds the same
  int known = __atomic_load_n(&answer, __ATOMIC_RELAXED);
  if (known == 0) {
    known = detect_vector_bytes();
    __atomic_store_n(&answer, known, __ATOMIC_RELAXED);
  }
  return known;
}

#else

int vector_bytes() { return 16; }

#endif

}  // namespace skew
