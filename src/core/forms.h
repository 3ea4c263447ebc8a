// How a hot loop comes in several forms, and how its caller gets the right one.
//
// A kernel is a loop that is worth compiling for longer vectors than every processor has. Kernels that belong
// together are the members of a struct of function pointers, their set. One source defines them: in an unnamed
// namespace the plain loop and, under SKEW_SIMD, the vector loop whose tail the plain one is; at the end the set.
//
//   filter_rows.h      struct FilterRows {
//                        // One row, columns begin to end.
//                        void (*smooth)(const SmoothStep& step, int begin, int end);
//                      };
//                      SKEW_DECLARE_FORMS(FilterRows)
//   filter_rows.cpp    SKEW_FORM(FilterRows) = {smooth};
//   CMakeLists.txt     skew_kernel_sources(filter_rows.cpp)
//   a caller           kernels<FilterRows>().smooth(step, 1, width - 1);
//
// The build compiles the source once for what every processor has and, on x86-64, again for AVX2 (32 bytes) and, if
// CMake is told AVX512 and the header SKEW_DECLARE_FORMS_TO_64, for AVX-512 (64 bytes). kernels<>() picks by
// vector_bytes(): once per call of a kernel, so a kernel does a row or more.
//
// A kernel source may include only core/simd.h, headers without functions and headers whose functions are static or
// stand in namespace SKEW_LANES; otherwise a function compiled for AVX2 could take the place of its namesake that
// must run everywhere. A test looks through the objects for such functions. Another runs every form on every size
// and start against the plain form: tests/kernels_test.cpp, where a new kernel gets its lines.
#pragma once

#include "core/cpu.h"
#include "core/simd.h"

namespace skew {

// The forms of a set, specialised by SKEW_DECLARE_FORMS.
//   of(bytes)  the one with the longest vectors of at most so many bytes
//   plain()    the loops without vectors, which only the tests build
template <class Set>
struct Forms;

template <class Set>
const Set& kernels() {
  return Forms<Set>::of(vector_bytes());
}

}  // namespace skew

// Defines the form of a set that is being compiled, in namespace skew.
#define SKEW_FORM(Set) const Set SKEW_FORM_NAME(Set, SKEW_LANES)
#define SKEW_FORM_NAME(Set, lanes) SKEW_JOIN(Set, lanes)
#define SKEW_JOIN(Set, lanes) Set##_##lanes

// Declares the forms of a set, in namespace skew.
#if defined(SKEW_WIDER_FORMS)
#define SKEW_DECLARE_FORMS(Set) SKEW_DECLARE_CHOICE(Set, bytes >= 32 ? Set##_lanes32 : Set##_lanes16)
#define SKEW_DECLARE_FORMS_TO_64(Set) \
  SKEW_DECLARE_CHOICE(Set, bytes >= 64 ? Set##_lanes64 : bytes >= 32 ? Set##_lanes32 : Set##_lanes16)
#else
#define SKEW_DECLARE_FORMS(Set) SKEW_DECLARE_CHOICE(Set, ((void)bytes, Set##_lanes16))
#define SKEW_DECLARE_FORMS_TO_64(Set) SKEW_DECLARE_FORMS(Set)
#endif
#define SKEW_DECLARE_CHOICE(Set, choice)                                     \
  extern const Set Set##_plain, Set##_lanes16, Set##_lanes32, Set##_lanes64; \
  template <>                                                                \
  struct Forms<Set> {                                                        \
    static const Set& of(int bytes) { return choice; }                       \
    static const Set& plain() { return Set##_plain; }                        \
  };
