// Which files to work on.
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

// Files as they are, folders as the images in them in order of name (recursive: and in the folders below, but
// for the folder of the results), "-" as a copy of standard input (spool). A folder that cannot be listed is an
// input with an error of its own.
std::vector<Input> find_inputs(const std::vector<std::string>& named, bool recursive,
                               const std::string& results, const std::string& spool);

}  // namespace files
