// Every form of a set of kernels that this processor can run.
#pragma once

#include <vector>

#include "core/forms.h"

namespace skew::test {

template <class Set>
struct VectorForm {
  int bytes;  // of the vectors
  const Set* kernels;
};

// With the shortest vectors first, each form once.
template <class Set>
std::vector<VectorForm<Set>> vector_forms() {
  std::vector<VectorForm<Set>> forms;
  for (int bytes = 16; bytes <= vector_bytes(); bytes *= 2) {
    const Set* form = &Forms<Set>::of(bytes);
    if (forms.empty() || forms.back().kernels != form) forms.push_back({bytes, form});
  }
  return forms;
}

}  // namespace skew::test
