// What was done to a page, kept beside its result: where each point of the source went.
#pragma once

#include <string>
#include <vector>

#include "skewcorrection/level.h"

namespace files {

struct TurnedPage {
  int page = 1;                // of the file, from 1
  std::string source, result;  // names of the files
  SkewTransform transform{};
};

// The name of the sidecar of a result.
std::string sidecar_of(const std::string& result);

// Reads a sidecar: a JSON object for each page, on lines of their own. Throws Failure.
std::vector<TurnedPage> read_sidecar(const std::string& path);

}  // namespace files
