// TIFF pages out, through libtiff: pages of different sizes in one file, each with its own compression,
// resolution and descriptions. (libvips decodes TIFF pages but cannot write such files.)
#pragma once

#include <string>

#include "files/page.h"

typedef struct tiff TIFF;

namespace files {

// Bits of a sample on a page (from 0) of a TIFF; 0 if that cannot be read.
int tiff_bits(const std::string& path, int page);

class TiffWriter {
 public:
  // source may be empty; otherwise a TIFF whose pages give the tags. Throws Failure.
  TiffWriter(const std::string& path, const std::string& source);
  ~TiffWriter();
  TiffWriter(const TiffWriter&) = delete;
  TiffWriter& operator=(const TiffWriter&) = delete;

  // Adds new pixels. number counts from 0 in the source; header gives the tags when there is no source.
  void add(const Raster& pixels, const Page& page, int number, int pages, int quality);

  // Adds the source's page as it is stored, without decoding it.
  void add_unchanged(int number);

  void finish();

 private:
  void end_page();

  TIFF* in_ = nullptr;
  TIFF* out_ = nullptr;
};

}  // namespace files
