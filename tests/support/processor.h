// Lets a test run the forms for processors with shorter vectors on one that has longer ones. Works by linker
// wrapping of vector_bytes(), so it reaches every part of the library.
#pragma once

namespace skew::test {

// While one lives, the library finds no vectors longer than so many bytes.
class LimitVectors {
 public:
  explicit LimitVectors(int bytes);
  ~LimitVectors();
  LimitVectors(const LimitVectors&) = delete;
  LimitVectors& operator=(const LimitVectors&) = delete;
};

}  // namespace skew::test
