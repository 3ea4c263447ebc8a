// TIFF files of many pages. Pages are found by following the chain of directories once, so that reading page n
// does not walk the n - 1 before it; they are written each as the first of a file of its own, for the same
// reason, with the source's tags copied as they are stored.
#pragma once

#include <string>
#include <vector>

#include "files/ifd.h"
#include "files/page.h"

namespace files {

// Where the directories of the pages lie. Throws Failure where the chain is cut, runs in a circle or has more
// than 65535 pages; tolerant takes the pages up to there.
std::vector<uint64_t> tiff_pages(const MappedFile& file, bool tolerant);

// Makes a page the only one of the file in memory.
void isolate_page(MappedFile& file, uint64_t place);

// Pixels of a page that the general decoder shows in wrong colours (YCbCr without JPEG, CIELab), through
// libtiff; false if that is not needed. Throws Failure for colours that nothing here can show.
bool read_odd_colours(const MappedFile& file, const Directory& page, Raster& raster);

// How pixels are stored on a page.
struct TiffCoding {
  uint16_t compression = 0;   // 0: without loss, as every reader knows it
  bool white_is_zero = true;  // on bilevel pages
  int quality = 92;           // of JPEG
};

// The coding of a page, as far as pages written here can have it.
TiffCoding coding_of(const Directory& page, int quality);

// Says which page of how many this is (from 0).
void number_page(Directory& page, int number, int pages);

class TiffWriter {
 public:
  // like: a file whose byte order and kind the new one shares, or null. largest: bytes from which on the
  // offsets of an ordinary TIFF are too short, so that the file becomes a BigTIFF. Throws Failure.
  TiffWriter(const std::string& path, const MappedFile* like, uint64_t largest = 0xff000000);
  ~TiffWriter();
  TiffWriter(const TiffWriter&) = delete;
  TiffWriter& operator=(const TiffWriter&) = delete;

  // Adds new pixels; tags of the description that speak of pixels are left out.
  void add(const Raster& pixels, bool bilevel, const TiffCoding& coding, const Directory& description);

  // Adds a page of another file in the same byte order as it is stored, without decoding it. Returns false if
  // its kind cannot be copied so; nothing is added then.
  bool add_stored(const MappedFile& file, uint64_t place);

  void finish();

 private:
  void start(bool big);
  void become_big();
  void append(const Directory& directory);
  void write(const uint8_t* data, size_t size);

  std::string path_;
  uint64_t largest_;
  bool msb_first_ = false, big_ = false;
  int descriptor_ = -1;
  std::vector<uint64_t> places_;
};

}  // namespace files
