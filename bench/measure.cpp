#include "bench/measure.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>

namespace bench {
namespace {

double milliseconds_of(const std::function<void()>& run) {
  const auto start = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

double Result::times_ours(const std::string& contender) const {
  double ours = 0, other = 0;
  for (const Timing& timing : timings) {
    if (timing.name == "ours") ours = timing.milliseconds;
    if (timing.name == contender) other = timing.milliseconds;
  }
  return ours > 0 ? other / ours : 0;
}

const Timing* Result::best_peer() const {
  const Timing* best = nullptr;
  for (const Timing& timing : timings) {
    if (timing.name == "ours" || timing.name == "plain" || timing.name == "memcpy") continue;
    if (best == nullptr || timing.milliseconds < best->milliseconds) best = &timing;
  }
  return best;
}

Result measure(const Operation& operation, int rounds) {
  std::vector<Contender> contenders = operation.contenders;
  const size_t half = std::max<size_t>(operation.bytes / 2, 1);
  const std::vector<char> from(half, 1);
  std::vector<char> to(half);
  contenders.push_back({"memcpy", [&] { std::memcpy(to.data(), from.data(), half); }});

  std::vector<std::vector<double>> times(contenders.size());
  std::vector<size_t> order(contenders.size());
  std::iota(order.begin(), order.end(), 0);
  for (size_t i : order) contenders[i].run();  // warm up: code, tables, allocator
  for (int round = 0; round < rounds; ++round) {
    for (size_t i : order) times[i].push_back(milliseconds_of(contenders[i].run));
    std::rotate(order.begin(), order.begin() + 1, order.end());
  }

  Result result{operation.name, operation.pixels, {}};
  for (size_t i = 0; i < contenders.size(); ++i)
    result.timings.push_back({contenders[i].name, median(times[i])});
  return result;
}

}  // namespace bench
