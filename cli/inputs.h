// Which files to work on, and where their results go.
#pragma once

#include <string>
#include <vector>

#include "cli/options.h"

namespace tool {

struct Input {
  std::string path;
  std::string name;      // as the user knows it
  std::string relative;  // below the output folder
  std::string error;     // why it cannot be worked on, else empty
};

// Files as they are, folders as the images in them in order of name, "-" as a copy of standard input (spool).
std::vector<Input> find_inputs(const Options& options, const std::string& spool);

// The path of an input's result. extension is the one to write, without dot.
std::string output_path(const Input& input, const Options& options, const std::string& extension);

}  // namespace tool
