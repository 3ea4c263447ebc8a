// Directories of tags as TIFF files and EXIF blocks hold them, entry by entry as they are stored: what a page is
// described by goes from file to file without being understood.
#pragma once

#include <map>

#include "files/bytes.h"

namespace files {

struct Entry {
  uint16_t tag = 0, type = 0;
  uint64_t count = 0;
  Bytes data;  // count values in the byte order of the directory
};

struct Directory {
  bool msb_first = false;
  std::map<uint16_t, Entry> entries;
  std::map<uint16_t, Directory> below;  // the directories of EXIF, GPS and interoperability, by their tag

  const Entry* find(uint16_t tag) const;
  uint64_t number(uint16_t tag, uint64_t otherwise) const;  // of the first value, if it is a whole number
  double real(uint16_t tag) const;                          // 0 if there is none
  void set_number(uint16_t tag, uint16_t type, uint64_t value);
  void set_fraction(uint16_t tag, double value);
};

enum : uint16_t { kShort = 3, kLong = 4, kFraction = 5 };
enum : uint16_t {
  kTagOrientation = 274,
  kTagXResolution = 282,
  kTagYResolution = 283,
  kTagResolutionUnit = 296,
  kTagExif = 34665,
  kTagGps = 34853,
  kTagInterop = 40965
};

// Bytes that hold directories: a TIFF file or an EXIF block.
struct Block {
  const uint8_t* data;
  size_t size;
  bool msb_first, big;

  // Throws Failure if the start is not that of a TIFF file.
  static Block open(const uint8_t* data, size_t size);

  uint64_t first() const;  // where the first directory lies
  // Where the number lies that says where the directory after this one is; 0 if the directory is cut off.
  uint64_t next_place(uint64_t directory) const;
  uint64_t number(uint64_t place, int bytes) const { return get_number(data + place, bytes, msb_first); }
  int offset_bytes() const { return big ? 8 : 4; }
  // Entries whose values lie outside the block are left out; so are directories that hold each other.
  Directory read(uint64_t directory, int depth = 0) const;
};

// Puts a directory's entries into another's byte order.
Directory ordered(const Directory& directory, bool msb_first);

// Appends a directory and those below it to bytes that start at a place of a file. Returns where it begins.
uint64_t append_directory(const Directory& directory, bool big, uint64_t start, Bytes& bytes);

// An EXIF block of its own.
Bytes exif_block(const Directory& directory);

// What a new page says of itself in its EXIF block.
struct Upright {
  int width, height;   // pixels
  bool sides_swapped;  // it was turned by a quarter
  double x, y;         // resolution; 0 leaves what the block says
  bool per_cm;
};

// Changes the block where it is, so that notes of cameras, which hold places in it, stay true. The preview is
// taken out.
void make_upright(Bytes& exif, const Upright& page);

}  // namespace files
