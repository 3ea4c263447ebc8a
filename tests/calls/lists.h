// The lists that all_calls() joins, one per source file.
#pragma once

#include "tests/calls/calls.h"

namespace skew::test {

extern const std::vector<Call> kMeasureCalls, kImageCalls, kPageCalls, kLevelCalls, kJniCalls;

}  // namespace skew::test
