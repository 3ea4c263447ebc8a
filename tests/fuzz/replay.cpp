// Runs a fuzz target without a fuzzer: on inputs from seeds of random numbers, and on kept ones.
//   replay COUNT KEPT...      COUNT generated inputs, then the kept: folders with a file for each, or files with a
//                             line of hexadecimal digits for each
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/random.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

using Input = std::vector<uint8_t>;

void run(const Input& input) { LLVMFuzzerTestOneInput(input.data(), input.size()); }

int run_files(const char* folder) {
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::ifstream file(entry.path(), std::ios::binary);
    run(Input(std::istreambuf_iterator<char>(file), {}));
    ++files;
  }
  return files;
}

int run_lines(const char* path) {
  int lines = 0;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line); ++lines) {
    Input input;
    for (size_t i = 0; i + 1 < line.size(); i += 2)
      input.push_back(static_cast<uint8_t>(std::stoi(line.substr(i, 2), nullptr, 16)));
    run(input);
  }
  return lines;
}

}  // namespace

int main(int count, char** arguments) {
  const int generated = count > 1 ? std::atoi(arguments[1]) : 0;
  for (int seed = 1; seed <= generated; ++seed) {
    skew::test::Random random(static_cast<uint64_t>(seed));
    run(random.bytes(static_cast<size_t>(random.below(400))));
  }
  int kept = 0;
  for (int i = 2; i < count; ++i)
    kept += std::filesystem::is_directory(arguments[i]) ? run_files(arguments[i]) : run_lines(arguments[i]);
  std::printf("%d generated inputs and %d kept\n", generated, kept);
  return kept == 0;
}
