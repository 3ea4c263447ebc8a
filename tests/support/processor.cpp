#include "tests/support/processor.h"

#include <algorithm>

namespace skew::test {
namespace {

constexpr int kNoLimit = 64;
int limit = kNoLimit;

}  // namespace

LimitVectors::LimitVectors(int bytes) { limit = bytes; }
LimitVectors::~LimitVectors() { limit = kNoLimit; }

extern "C" {

// The linker's names for skew::vector_bytes().
int __real__ZN4skew12vector_bytesEv();
int __wrap__ZN4skew12vector_bytesEv() { return std::min(limit, __real__ZN4skew12vector_bytesEv()); }
}

}  // namespace skew::test
