// Where results go, and the rule that no result takes the place of a source or of another result.
#pragma once

#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "files/inputs.h"

namespace files {

// At most one of the three is set.
struct Target {
  std::string file;    // of a single input, "-" is standard output
  std::string folder;  // for many
  bool in_place = false;

  bool given() const { return in_place || !file.empty() || !folder.empty(); }
};

// The path of an input's result. extension is the one to write, without dot; in place the name stays.
std::string output_path(const Input& input, const Target& target, const std::string& extension);

// Whether bytes can only be written into this path: standard output ("-"), a device, a pipe, or a name that
// leads into /proc.
bool is_stream(const std::string& path);

// The results of one run. Thread safe.
class Claims {
 public:
  explicit Claims(const std::vector<Input>& inputs) : inputs_(inputs) {}

  // Throws Failure if the path is a source of the run (unless it is replaced in place), the result of
  // another page, or a folder.
  void claim(const std::string& path, bool in_place);

 private:
  using Identity = std::pair<unsigned long long, unsigned long long>;  // device and file

  bool is_source(const Identity& file);

  const std::vector<Input>& inputs_;
  std::mutex mutex_;
  std::set<std::string> names_;
  bool sources_known_ = false;
  std::set<Identity> sources_, replaced_;
};

}  // namespace files
