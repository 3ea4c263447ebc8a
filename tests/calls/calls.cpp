#include "tests/calls/lists.h"

namespace skew::test {

const std::vector<Call>& all_calls() {
  static const std::vector<Call> all = [] {
    std::vector<Call> joined;
    for (const auto* list : {&kMeasureCalls, &kImageCalls, &kPageCalls, &kLevelCalls, &kJniCalls})
      joined.insert(joined.end(), list->begin(), list->end());
    return joined;
  }();
  return all;
}

}  // namespace skew::test
