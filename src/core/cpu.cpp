// Asks CPUID directly: the compilers' own helpers run code when the library is loaded, and this one loads silently.
#include "core/cpu.h"

#if defined(SKEW_WIDER_FORMS)
#include <cpuid.h>
#endif

namespace skew {
namespace {

constexpr uint32_t kOsSavesRegisters = 1U << 27;              // features: XCR0 may be read
constexpr uint32_t kLongVectorState = 0x06;                   // saved_state: the 128- and 256-bit registers
constexpr uint32_t kLongestVectorState = 0xE6;                // and the 512-bit ones with their masks
constexpr uint32_t kAvx2 = 1U << 5;                           // more_features_b
constexpr uint32_t kAvx512 = 1U << 16 | 1U << 30 | 1U << 31;  // more_features_b: F, BW, VL
constexpr uint32_t kAvx512Vbmi = 1U << 1;                     // more_features_c

bool all_of(uint32_t flags, uint32_t wanted) { return (flags & wanted) == wanted; }

}  // namespace

int vector_bytes_of(const ProcessorWords& words) {
  if (!all_of(words.features, kOsSavesRegisters) || !all_of(words.saved_state, kLongVectorState) ||
      !all_of(words.more_features_b, kAvx2))
    return 16;
  const bool longest = all_of(words.saved_state, kLongestVectorState) &&
                       all_of(words.more_features_b, kAvx512) && all_of(words.more_features_c, kAvx512Vbmi);
  return longest ? 64 : 32;
}

#if defined(SKEW_WIDER_FORMS)

namespace {

ProcessorWords ask_processor() {
  ProcessorWords words = {};
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d) != 0) words.features = c;
  if (__get_cpuid_count(7, 0, &a, &b, &c, &d) != 0) {
    words.more_features_b = b;
    words.more_features_c = c;
  }
  if (all_of(words.features, kOsSavesRegisters))
    __asm__("xgetbv" : "=a"(words.saved_state), "=d"(d) : "c"(0));
  return words;
}

}  // namespace

int vector_bytes() {
  static int answer = 0;  // 0 not asked yet; every thread that asks finds the same
  int known = __atomic_load_n(&answer, __ATOMIC_RELAXED);
  if (known == 0) {
    known = vector_bytes_of(ask_processor());
    __atomic_store_n(&answer, known, __ATOMIC_RELAXED);
  }
  return known;
}

#else

int vector_bytes() { return 16; }

#endif

}  // namespace skew
