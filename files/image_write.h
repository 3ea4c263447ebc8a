// Image files out: one page into one file, with the descriptions of the page that was read.
#pragma once

#include <string>

#include "files/page.h"

namespace files {

// The format that a file name's extension stands for; kOther if this tool does not write it.
Format writable_format(const std::string& extension);

// The same for a whole file name.
Format format_of_name(const std::string& name);

// Writes a page to a path whose extension is that of the format (any but TIFF, which tiff_file.h writes).
// Throws Failure.
void write_image(const Raster& pixels, const Page& page, Format format, int quality, const std::string& path);

}  // namespace files
