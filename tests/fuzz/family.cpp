// One family of functions under hostile input. The first number chooses the function; its arguments are drawn
// from the numbers at the front of the input, the contents of its images from the bytes at the back.
#include <cstddef>

#include "tests/calls/calls.h"

namespace {

class FuzzedSource : public skew::test::Source {
 public:
  FuzzedSource(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  // Two bytes are enough for every range drawn; the end of the input gives zeros.
  uint32_t next() override {
    uint32_t value = 0;
    for (int i = 0; i < 2; ++i) value = value << 8 | (front_ < size_ ? data_[front_++] : 0U);
    return value * 0x10001U;
  }

  // From the back to the front, and again from the back when the image is larger than the input.
  void fill(uint8_t* bytes, size_t size) override {
    for (size_t i = 0; i < size; ++i) bytes[i] = size_ == 0 ? 0 : data_[size_ - 1 - back_++ % size_];
  }

 private:
  const uint8_t* data_;
  size_t size_, front_ = 0, back_ = 0;
};

const std::vector<skew::test::Call>& family() {
  static const auto* chosen = [] {
    auto* calls = new std::vector<skew::test::Call>;
    for (const auto& call : skew::test::all_calls())
      if (call.family == skew::test::Family::SKEW_FUZZ_FAMILY) calls->push_back(call);
    return calls;
  }();
  return *chosen;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedSource source(data, size);
  skew::test::Outcome outcome;
  const auto& calls = family();
  calls[static_cast<size_t>(source.between(0, static_cast<int>(calls.size()) - 1))].run(source, outcome);
  return 0;
}
