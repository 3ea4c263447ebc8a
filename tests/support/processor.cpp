#include "tests/support/processor.h"

namespace skew::test {
namespace {

bool hidden = false;

}  // namespace

HideAvx2::HideAvx2(bool hide) { hidden = hide; }
HideAvx2::~HideAvx2() { hidden = false; }

extern "C" {

// The linker's names for skew::has_avx2().
bool __real__ZN4skew8has_avx2Ev();
bool __wrap__ZN4skew8has_avx2Ev() { return !hidden && __real__ZN4skew8has_avx2Ev(); }
}

}  // namespace skew::test
