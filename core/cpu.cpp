// Asks CPUID directly: the compilers' own helpers run code when the library is loaded, and this one loads silently.
#include "core/cpu.h"

#if defined(SKEW_AVX2_FORMS)
#include <cpuid.h>
#endif

namespace skew {

#if defined(SKEW_AVX2_FORMS)

namespace {

constexpr unsigned kOsSavesRegisters = 1U << 27;  // CPUID 1, ECX: XGETBV may be used
constexpr unsigned kVectorStateEnabled = 6;       // XCR0: the system saves the 128- and 256-bit registers
constexpr unsigned kAvx2 = 1U << 5;               // CPUID 7, EBX

bool detect_avx2() {
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & kOsSavesRegisters) == 0) return false;
  unsigned xcr0 = 0, high = 0;
  __asm__("xgetbv" : "=a"(xcr0), "=d"(high) : "c"(0));
  if ((xcr0 & kVectorStateEnabled) != kVectorStateEnabled) return false;
  return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & kAvx2) != 0;
}

}  // namespace

bool has_avx2() {
  static int answer = 0;  // 0 not asked yet, 1 no, 2 yes; every thread that asks finds the same
  int known = __atomic_load_n(&answer, __ATOMIC_RELAXED);
  if (known == 0) {
    known = detect_avx2() ? 2 : 1;
    __atomic_store_n(&answer, known, __ATOMIC_RELAXED);
  }
  return known == 2;
}

#else

bool has_avx2() { return false; }

#endif

}  // namespace skew
