// Image files in: what a file is, and its pages as upright 8-bit pixels.
#pragma once

#include <string>

#include "files/page.h"

namespace files {

// Starts the image library and keeps its warnings off the terminal; each image is worked on by the calling
// thread alone, since callers work on several at once. Throws Failure.
void start_image_library(const char* program);

// Reads the header. Throws Failure for what is not an image that this tool can read.
SourceFile open_source(const std::string& path, const std::string& name, const ReadOptions& options);

// Decodes one page (from 0), turned upright as its orientation tag says. Throws Failure.
Page read_page(const SourceFile& file, int page, const ReadOptions& options);

}  // namespace files
