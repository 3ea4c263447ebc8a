// Arguments from a seed: the same on every processor.
#pragma once

#include "tests/calls/calls.h"
#include "tests/support/random.h"

namespace skew::test {

class SeededSource : public Source {
 public:
  explicit SeededSource(uint64_t seed, bool small = false) : random_(seed), small_(small) {}
  uint32_t next() override { return static_cast<uint32_t>(random_.next() >> 32); }
  void fill(uint8_t* bytes, size_t size) override {
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(random_.next() >> 56);
  }
  bool small() const override { return small_; }

 private:
  Random random_;
  bool small_;
};

}  // namespace skew::test
