// The one kind of exception that this tool throws: a sentence for the user about one file or page.
#pragma once

#include <stdexcept>
#include <string>

namespace files {

struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace files
