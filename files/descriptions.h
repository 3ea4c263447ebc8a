// What describes a page and is not its pixels: resolution, EXIF, XMP, IPTC, profiles, text. The blocks are taken
// out of one container as they are stored and put into another, so that nothing is lost on the way by being
// understood. Which container holds what is the table in docs/formats.md.
#pragma once

#include <string>
#include <vector>

#include "files/ifd.h"

namespace files {

enum class Format { kJpeg, kPng, kTiff, kWebp, kPnm, kPdf, kHeif, kBmp, kOther };

// 0 where the file does not tell.
struct Resolution {
  double x = 0, y = 0;
  bool per_cm = false;  // else per inch

  bool known() const { return x > 0 && y > 0; }
  double dpi() const { return per_cm ? x * 2.54 : x; }
};

struct Chunk {
  std::string kind;
  Bytes data;
};

struct Descriptions {
  Resolution resolution;
  Bytes exif;                   // without the six bytes before it in a JPEG
  Bytes icc, xmp;               // as they are, not packed
  Bytes photoshop;              // Photoshop's resources, which hold IPTC
  std::vector<Chunk> segments;  // of a JPEG, whole: what has no meaning elsewhere
  std::vector<Chunk> chunks;    // of a PNG, the same
  Directory tags;               // of a TIFF page
  bool sides_swapped = false;   // the page is stored on its side
  bool lossless = false;        // WebP
};

// For a page that is turned by a quarter.
void swap_sides(Descriptions& page);

// Reads what the bytes of a JPEG, PNG or WebP say; frames receives the number of frames of a PNG or 1.
Descriptions descriptions_in(const uint8_t* data, size_t size, Format format, int& frames);

// Those of a page of a TIFF.
Descriptions descriptions_of(const Directory& page);

// As tags for a page of a TIFF.
Directory as_tags(const Descriptions& page, int channels);

// Puts descriptions into an encoded JPEG, PNG or WebP that has none.
Bytes with_descriptions(const Bytes& encoded, Format format, const Descriptions& page, int width, int height,
                        int channels);

}  // namespace files
