// Runs a fuzz target without a fuzzer: on every file of the directories named, and on inputs from seeds.
//   replay COUNT DIRECTORY...      COUNT generated inputs, then the files
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/support/random.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int count, char** arguments) {
  const int generated = count > 1 ? std::atoi(arguments[1]) : 0;
  for (int seed = 1; seed <= generated; ++seed) {
    skew::test::Random random(static_cast<uint64_t>(seed));
    const auto input = random.bytes(static_cast<size_t>(random.below(400)));
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  int files = 0;
  for (int i = 2; i < count; ++i) {
    if (!std::filesystem::is_directory(arguments[i])) continue;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> input{std::istreambuf_iterator<char>(file), {}};
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
      ++files;
    }
  }
  std::printf("%d generated inputs and %d files\n", generated, files);
  return 0;
}
