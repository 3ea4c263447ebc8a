// Image files in: what a file is, and its pages as upright 8-bit pixels.
#pragma once

#include <cstdint>
#include <string>
#include <vips/vips8>

#include "cli/raster.h"

namespace tool {

enum class Format { kJpeg, kPng, kTiff, kWebp, kPnm, kPdf, kHeif, kOther };

struct ReadOptions {
  double dpi = 300.0;  // for PDF pages
  int64_t max_pixels = 0;
  bool tolerant = false;  // accept damaged files as far as they can be decoded
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

// Starts the image library and keeps its warnings off the terminal. Throws Failure.
void start_image_library(const char* program);

// Reads the header. Throws Failure for what is not an image that this tool can read.
SourceFile open_source(const std::string& path, const std::string& name, const ReadOptions& options);

// Decodes one page (from 0), turned upright as its orientation tag says. Throws Failure.
Page read_page(const SourceFile& file, int page, const ReadOptions& options);

}  // namespace tool
