// Runs every published function on inputs made from seeds and prints one hash of everything it gave. The same
// list must come out on every processor, with every compiler and at every optimisation level.
//   digest               prints the list: hash, function
//   digest FILE [BYTES]  compares it with the list in FILE; exit code 1 and the differing lines if it differs.
//                        BYTES is the length of the longest vectors that may be used
#include <cstdio>
#include <fstream>
#include <map>
#include <string>

#include "tests/calls/seeded_source.h"
#include "tests/support/processor.h"

namespace {

constexpr uint64_t kSeedsPerFunction = 300;

std::string digest(const skew::test::Call& call) {
  skew::test::Outcome total;
  for (uint64_t seed = 1; seed <= kSeedsPerFunction; ++seed) {
    skew::test::SeededSource source(seed);
    call.run(source, total);
  }
  char text[20];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(total.hash()));
  return text;
}

// Function to hash.
std::map<std::string, std::string> read_list(const char* path) {
  std::map<std::string, std::string> list;
  std::ifstream file(path);
  for (std::string hash, name; file >> hash >> name;) list[name] = hash;
  return list;
}

}  // namespace

int main(int count, char** arguments) {
  const bool compare = count >= 2;
  const skew::test::LimitVectors limit(count == 3 ? std::stoi(arguments[2]) : 64);
  auto expected = compare ? read_list(arguments[1]) : std::map<std::string, std::string>{};
  int differing = 0;
  for (const auto& call : skew::test::all_calls()) {
    const std::string hash = digest(call);
    if (!compare) std::printf("%s %s\n", hash.c_str(), call.name);
    if (compare && expected[call.name] != hash) {
      std::printf("%s: %s, expected %s\n", call.name, hash.c_str(), expected[call.name].c_str());
      ++differing;
    }
    expected.erase(call.name);
  }
  for (const auto& [name, hash] : expected) std::printf("%s: in the list, but not called\n", name.c_str());
  differing += static_cast<int>(expected.size());
  return differing != 0;
}
