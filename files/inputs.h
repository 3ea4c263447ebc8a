// Which files to work on, and where their results go.
#pragma once

#include <string>
#include <vector>

namespace files {

struct Input {
  std::string path;
  std::string name;      // as the user knows it
  std::string relative;  // below the output folder
  std::string error;     // why it cannot be worked on, else empty
};

// Files as they are, folders as the images in them in order of name (recursive: and in the folders below),
// "-" as a copy of standard input (spool).
std::vector<Input> find_inputs(const std::vector<std::string>& given, bool recursive,
                               const std::string& spool);

// Where results go; one of the three is set.
struct Target {
  std::string file;    // of a single input, "-" is standard output
  std::string folder;  // for many
  bool in_place = false;
};

// The path of an input's result. extension is the one to write, without dot.
std::string output_path(const Input& input, const Target& target, const std::string& extension);

}  // namespace files
