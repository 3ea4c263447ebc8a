// Portable bitmaps, graymaps and pixmaps, plain and raw (P1 to P6).
#pragma once

#include "files/bytes.h"
#include "files/raster.h"

namespace files {

struct PnmHeader {
  int kind = 0;  // the digit after P; 0 for other files
  int64_t width = 0, height = 0, most = 1;
  size_t pixels = 0;  // where they begin

  bool bilevel() const { return kind == 1 || kind == 4; }
  bool plain() const { return kind <= 3; }
  int channels() const { return kind == 3 || kind == 6 ? 3 : 1; }
};

// Throws Failure where a header that begins well ends badly.
PnmHeader read_pnm_header(const MappedFile& file);

// Throws Failure where pixels are missing (unless tolerant: they are white) or more follows the picture.
Raster read_pnm(const MappedFile& file, const PnmHeader& header, bool tolerant);

}  // namespace files
