// What the parts of this layer hand each other: a file that holds pages, and one of its pages.
#pragma once

#include <cstdint>
#include <string>
#include <vips/vips8>

#include "files/raster.h"

namespace files {

enum class Format { kJpeg, kPng, kTiff, kWebp, kPnm, kPdf, kHeif, kOther };

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
};

struct Page {
  Raster raster;
  vips::VImage header;  // carries resolution, EXIF, ICC profile, XMP and text; its pixels are not used
  bool bilevel = false;
  bool upright_in_file = true;  // false if the file asks viewers to turn it
};

}  // namespace files
