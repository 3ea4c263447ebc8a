// Results of text recognition, moved to where a rotation of their page took them.
#pragma once

#include <string>
#include <vector>

#include "files/sidecar.h"

namespace files {

struct MapOptions {
  bool back = false;   // from the result to the source
  bool whole = false;  // whole pixels only
};

// Reads hOCR, ALTO, PAGE, or a table with a row for each box, and writes the same with the boxes moved. The
// first page of the document is the first of pages, and so on. PAGE describes the source image whatever
// becomes of it: it keeps its coordinates and gets the angle and the name of the result. Throws Failure.
void map_boxes(const std::string& from, const std::string& to, const std::vector<TurnedPage>& pages,
               const MapOptions& options);

}  // namespace files
