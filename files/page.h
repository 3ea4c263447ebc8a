// What the parts of this layer hand each other: a file that holds pages, and one of its pages.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "files/descriptions.h"
#include "files/raster.h"

namespace files {

struct ReadOptions {
  double dpi = 300.0;  // for PDF pages
  int64_t max_pixels = 0;
  bool tolerant = false;  // accept damaged files as far as they can be decoded
  std::string password;   // of PDF files that need one
};

struct SourceFile {
  std::string path;
  std::string name;  // for messages
  Format format = Format::kOther;
  std::string extension;  // the usual one of the format, without dot
  int pages = 1;
  std::vector<uint64_t> places;  // where the pages of a TIFF begin
};

struct Page {
  Raster raster;
  Descriptions about;
  bool bilevel = false;
};

}  // namespace files
