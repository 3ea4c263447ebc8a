// Times several ways of doing one thing, side by side. Machines are noisy, so every round runs each of them
// once, in a new order, and the medians are compared.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

// One way of doing it: the library ("ours"), its literal form ("plain"), or a peer.
struct Contender {
  std::string name;
  std::function<void()> run;
};

struct Operation {
  std::string name;
  double pixels;  // what "per pixel" means for it
  size_t bytes;   // bytes it must at least read and write: memcpy moves as many
  std::vector<Contender> contenders;
};

struct Timing {
  std::string name;
  double milliseconds;  // median
};

struct Result {
  std::string operation;
  double pixels;
  std::vector<Timing> timings;  // in the order of the contenders, "memcpy" last

  // How many times longer the named contender takes than ours; 0 when it did not take part.
  double times_ours(const std::string& contender) const;
  // The fastest contender that is neither ours, plain nor memcpy; null when there is none.
  const Timing* best_peer() const;
};

Result measure(const Operation& operation, int rounds);

}  // namespace bench
