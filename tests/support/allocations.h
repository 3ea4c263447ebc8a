// Makes any allocation of the library fail, and counts what it holds. Works by linker wrapping of malloc and
// its kin, so it sees the allocations of the library and of the tests' own C calls, not those of the C++ runtime.
#pragma once

#include <cstddef>

namespace skew::test {

// While one lives, the allocation with the given number (1 is the next) and all later ones fail.
class FailFrom {
 public:
  explicit FailFrom(long number);
  ~FailFrom();
  FailFrom(const FailFrom&) = delete;
  FailFrom& operator=(const FailFrom&) = delete;
};

// While one lives, only the allocation with the given number fails.
class FailOnly {
 public:
  explicit FailOnly(long number);
  ~FailOnly();
  FailOnly(const FailOnly&) = delete;
  FailOnly& operator=(const FailOnly&) = delete;
};

long allocation_count();   // allocations asked for since the program started, failed ones included
long blocks_held();        // blocks allocated and not freed
size_t bytes_held();       // their bytes, as asked for
size_t peak_bytes_held();  // the largest value of bytes_held() since reset_peak()
void reset_peak();

}  // namespace skew::test
