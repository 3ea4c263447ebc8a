// Functions documented as free to run at the same time do, from several threads on different data, and give what
// they give alone. The thread sanitizer's build turns any state they share into a failure.
#include <gtest/gtest.h>

#include <thread>

#include "tests/calls/seeded_source.h"

namespace skew::test {
namespace {

uint64_t outcome(const Call& call, uint64_t seed) {
  SeededSource source(seed, true);
  Outcome out;
  call.run(source, out);
  return out.hash();
}

TEST(Concurrency, EachFunctionGivesTheSameOnFourThreadsAsAlone) {
  constexpr uint64_t kThreads = 4, kSeeds = 6;
  for (const Call& call : all_calls()) {
    if (!call.concurrent) continue;
    std::vector<uint64_t> together(kThreads * kSeeds);
    std::vector<std::thread> threads;
    for (uint64_t thread = 0; thread < kThreads; ++thread)
      threads.emplace_back([&, thread] {
        for (uint64_t i = thread; i < together.size(); i += kThreads) together[i] = outcome(call, i + 1);
      });
    for (auto& thread : threads) thread.join();
    for (uint64_t i = 0; i < together.size(); ++i)
      EXPECT_EQ(together[i], outcome(call, i + 1)) << call.name << " seed " << i + 1;
  }
}

}  // namespace
}  // namespace skew::test
