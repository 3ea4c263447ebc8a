// Lets a test run the forms for processors without AVX2 on one that has it. Works by linker wrapping of
// has_avx2(), so it reaches every part of the library.
#pragma once

namespace skew::test {

// While one lives that was made with `hide` set, the library finds no AVX2.
class HideAvx2 {
 public:
  explicit HideAvx2(bool hide);
  ~HideAvx2();
  HideAvx2(const HideAvx2&) = delete;
  HideAvx2& operator=(const HideAvx2&) = delete;
};

}  // namespace skew::test
