#include "files/tiff_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <unordered_set>

#include "files/failure.h"

namespace files {

namespace {

constexpr size_t kMostPages = 65535;

// Errors arrive through a callback of the library, one text for each thread.
thread_local std::string last_error;

void keep_error(thandle_t, const char*, const char* format, va_list arguments) {
  char text[300];
  vsnprintf(text, sizeof text, format, arguments);
  last_error = text;
}

void use_own_handlers() {
  TIFFSetErrorHandler(nullptr);
  TIFFSetWarningHandler(nullptr);
  TIFFSetErrorHandlerExt(keep_error);
  TIFFSetWarningHandlerExt(nullptr);
  last_error.clear();
}

Failure failed(const char* what) {
  std::string text = what;
  if (!last_error.empty()) text += " (" + last_error + ")";
  last_error.clear();
  return Failure(text);
}

Failure unwritable() { return Failure(std::string("cannot be written: ") + std::strerror(errno)); }

// What libtiff reads from and writes to: a file, but for its header, which is a page's own.
struct Stream {
  int descriptor = -1;
  uint64_t position = 0;
  uint64_t header_size = 8;
  uint8_t header[16] = {};
  const MappedFile* memory = nullptr;  // read from here instead

  uint64_t size() const {
    if (memory) return memory->size();
    struct stat found {};
    return fstat(descriptor, &found) == 0 ? static_cast<uint64_t>(found.st_size) : 0;
  }
};

tmsize_t read_stream(thandle_t handle, void* data, tmsize_t wanted) {
  auto* stream = static_cast<Stream*>(handle);
  if (stream->memory) {
    if (stream->position > stream->memory->size()) return 0;
    wanted = std::min<tmsize_t>(wanted, stream->memory->size() - stream->position);
    std::memcpy(data, stream->memory->data() + stream->position, wanted);
  } else if (stream->position < stream->header_size) {
    wanted = std::min<tmsize_t>(wanted, stream->header_size - stream->position);
    std::memcpy(data, stream->header + stream->position, wanted);
  } else {
    wanted = pread(stream->descriptor, data, wanted, static_cast<off_t>(stream->position));
  }
  if (wanted > 0) stream->position += wanted;
  return wanted;
}

tmsize_t write_stream(thandle_t handle, void* data, tmsize_t size) {
  auto* stream = static_cast<Stream*>(handle);
  if (stream->position < stream->header_size) {
    if (stream->position + size > stream->header_size) return -1;
    std::memcpy(stream->header + stream->position, data, size);
  } else {
    size = pwrite(stream->descriptor, data, size, static_cast<off_t>(stream->position));
  }
  if (size > 0) stream->position += size;
  return size;
}

toff_t seek_stream(thandle_t handle, toff_t offset, int from) {
  auto* stream = static_cast<Stream*>(handle);
  stream->position = from == SEEK_SET   ? offset
                     : from == SEEK_CUR ? stream->position + offset
                                        : stream->size() + offset;
  return stream->position;
}

toff_t size_of_stream(thandle_t handle) { return static_cast<Stream*>(handle)->size(); }

struct CloseTiff {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, CloseTiff>;

Tiff open_stream(Stream& stream, const char* mode) {
  return Tiff(TIFFClientOpen(
      "page", mode, &stream, read_stream, write_stream, seek_stream, [](thandle_t) { return 0; },
      size_of_stream, nullptr, nullptr));
}

// Tags that say how pixels are stored, or where; and what shows the page as it was.
bool speaks_of_pixels(uint16_t tag) {
  static const std::unordered_set<uint16_t> kTags = {TIFFTAG_IMAGEWIDTH,
                                                     TIFFTAG_IMAGELENGTH,
                                                     TIFFTAG_BITSPERSAMPLE,
                                                     TIFFTAG_COMPRESSION,
                                                     TIFFTAG_PHOTOMETRIC,
                                                     TIFFTAG_THRESHHOLDING,
                                                     TIFFTAG_CELLWIDTH,
                                                     TIFFTAG_CELLLENGTH,
                                                     TIFFTAG_FILLORDER,
                                                     TIFFTAG_STRIPOFFSETS,
                                                     TIFFTAG_ORIENTATION,
                                                     TIFFTAG_SAMPLESPERPIXEL,
                                                     TIFFTAG_ROWSPERSTRIP,
                                                     TIFFTAG_STRIPBYTECOUNTS,
                                                     TIFFTAG_MINSAMPLEVALUE,
                                                     TIFFTAG_MAXSAMPLEVALUE,
                                                     TIFFTAG_PLANARCONFIG,
                                                     TIFFTAG_FREEOFFSETS,
                                                     TIFFTAG_FREEBYTECOUNTS,
                                                     TIFFTAG_GRAYRESPONSEUNIT,
                                                     TIFFTAG_GRAYRESPONSECURVE,
                                                     TIFFTAG_GROUP3OPTIONS,
                                                     TIFFTAG_GROUP4OPTIONS,
                                                     TIFFTAG_PREDICTOR,
                                                     TIFFTAG_COLORMAP,
                                                     TIFFTAG_HALFTONEHINTS,
                                                     TIFFTAG_TILEWIDTH,
                                                     TIFFTAG_TILELENGTH,
                                                     TIFFTAG_TILEOFFSETS,
                                                     TIFFTAG_TILEBYTECOUNTS,
                                                     TIFFTAG_BADFAXLINES,
                                                     TIFFTAG_CLEANFAXDATA,
                                                     TIFFTAG_CONSECUTIVEBADFAXLINES,
                                                     TIFFTAG_SUBIFD,
                                                     TIFFTAG_INKSET,
                                                     TIFFTAG_INKNAMES,
                                                     TIFFTAG_NUMBEROFINKS,
                                                     TIFFTAG_DOTRANGE,
                                                     TIFFTAG_EXTRASAMPLES,
                                                     TIFFTAG_SAMPLEFORMAT,
                                                     TIFFTAG_SMINSAMPLEVALUE,
                                                     TIFFTAG_SMAXSAMPLEVALUE,
                                                     TIFFTAG_JPEGTABLES,
                                                     TIFFTAG_REFERENCEBLACKWHITE,
                                                     TIFFTAG_YCBCRCOEFFICIENTS,
                                                     TIFFTAG_YCBCRSUBSAMPLING,
                                                     TIFFTAG_YCBCRPOSITIONING,
                                                     37724 /* Photoshop's layers */};
  return kTags.count(tag) > 0 || (tag >= TIFFTAG_JPEGPROC && tag <= TIFFTAG_JPEGACTABLES);
}

// The source's compression where it can hold these pixels and be written here; otherwise one without loss
// that every reader knows.
uint16_t compression_for(uint16_t wanted, bool bilevel) {
  if (wanted == COMPRESSION_OJPEG) wanted = COMPRESSION_JPEG;
  const bool fax =
      wanted == COMPRESSION_CCITTFAX3 || wanted == COMPRESSION_CCITTFAX4 || wanted == COMPRESSION_CCITTRLE;
  const bool fits = bilevel ? wanted != COMPRESSION_JPEG && wanted != COMPRESSION_WEBP : !fax;
  if (wanted != 0 && fits && TIFFIsCODECConfigured(wanted)) return wanted;
  return bilevel ? COMPRESSION_CCITTFAX4 : COMPRESSION_LZW;
}

uint16_t photometric_for(const Raster& pixels, bool bilevel, const TiffCoding& coding) {
  if (pixels.channels == 3)
    return coding.compression == COMPRESSION_JPEG ? PHOTOMETRIC_YCBCR : PHOTOMETRIC_RGB;
  return bilevel && coding.white_is_zero ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
}

void set_coding(TIFF* out, const Raster& pixels, bool bilevel, const TiffCoding& coding) {
  TIFFSetField(out, TIFFTAG_IMAGEWIDTH, pixels.width);
  TIFFSetField(out, TIFFTAG_IMAGELENGTH, pixels.height);
  TIFFSetField(out, TIFFTAG_BITSPERSAMPLE, bilevel ? 1 : 8);
  TIFFSetField(out, TIFFTAG_SAMPLESPERPIXEL, pixels.channels);
  TIFFSetField(out, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(out, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(out, TIFFTAG_COMPRESSION, coding.compression);
  TIFFSetField(out, TIFFTAG_PHOTOMETRIC, photometric_for(pixels, bilevel, coding));
  if (coding.compression == COMPRESSION_JPEG) {
    TIFFSetField(out, TIFFTAG_JPEGQUALITY, coding.quality);
    if (pixels.channels == 3) TIFFSetField(out, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  }
  const bool predicts = coding.compression == COMPRESSION_LZW ||
                        coding.compression == COMPRESSION_ADOBE_DEFLATE ||
                        coding.compression == COMPRESSION_DEFLATE || coding.compression == COMPRESSION_ZSTD;
  if (predicts && !bilevel) TIFFSetField(out, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
  TIFFSetField(out, TIFFTAG_ROWSPERSTRIP, bilevel ? pixels.height : 64);
}

void pack_bits(const uint8_t* gray, int width, bool white_is_zero, Bytes& row) {
  std::fill(row.begin(), row.end(), 0);
  for (int x = 0; x < width; ++x)
    if ((gray[x] < 128) == white_is_zero) row[x >> 3] |= static_cast<uint8_t>(0x80 >> (x & 7));
}

void write_rows(TIFF* out, const Raster& pixels, bool bilevel, bool white_is_zero) {
  Bytes row(bilevel ? (pixels.width + 7) / 8 : pixels.row_bytes());
  for (int y = 0; y < pixels.height; ++y) {
    if (bilevel)
      pack_bits(pixels.row(y), pixels.width, white_is_zero, row);
    else
      std::memcpy(row.data(), pixels.row(y), row.size());  // the library may swap or predict in place
    if (TIFFWriteScanline(out, row.data(), static_cast<uint32_t>(y), 0) < 0)
      throw failed("cannot be written");
  }
}

// The places or lengths of a page's strips or tiles.
std::vector<uint64_t> list(const Directory& page, uint16_t tag) {
  std::vector<uint64_t> values;
  const Entry* entry = page.find(tag);
  if (!entry || entry->count == 0) return values;
  const int size = static_cast<int>(entry->data.size() / entry->count);
  for (uint64_t i = 0; i < entry->count; ++i)
    values.push_back(get_number(entry->data.data() + size * i, size, page.msb_first));
  return values;
}

}  // namespace

std::vector<uint64_t> tiff_pages(const MappedFile& file, bool tolerant) {
  const Block block = Block::open(file.data(), file.size());
  std::vector<uint64_t> places;
  std::unordered_set<uint64_t> seen;
  for (uint64_t place = block.first(); place != 0;) {
    const uint64_t next = block.next_place(place);
    const char* wrong = next == 0                     ? "is damaged (cut off among its pages)"
                        : !seen.insert(place).second  ? "is damaged (its pages run in a circle)"
                        : places.size() == kMostPages ? "has more than 65535 pages"
                                                      : nullptr;
    if (wrong) {
      if (tolerant && !places.empty()) break;
      throw Failure(wrong);
    }
    places.push_back(place);
    place = block.number(next, block.offset_bytes());
  }
  if (places.empty()) throw Failure("is damaged (holds no page)");
  return places;
}

void isolate_page(MappedFile& file, uint64_t place) {
  const Block block = Block::open(file.data(), file.size());
  const uint64_t next = block.next_place(place);
  if (next == 0) throw Failure("is damaged (cut off among its pages)");
  put_number(file.data() + (block.big ? 8 : 4), place, block.offset_bytes(), block.msb_first);
  put_number(file.data() + next, 0, block.offset_bytes(), block.msb_first);
}

bool read_odd_colours(const MappedFile& file, const Directory& page, Raster& raster) {
  const uint64_t colours = page.number(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE),
                 compression = page.number(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
  if (colours <= PHOTOMETRIC_PALETTE || colours == PHOTOMETRIC_SEPARATED) return false;
  if (colours == PHOTOMETRIC_YCBCR && (compression == COMPRESSION_JPEG || compression == COMPRESSION_OJPEG))
    return false;
  if (colours != PHOTOMETRIC_YCBCR && colours != PHOTOMETRIC_CIELAB)
    throw Failure("has colours that cannot be shown (photometric interpretation " + std::to_string(colours) +
                  ")");
  use_own_handlers();
  Stream stream;
  stream.memory = &file;
  const Tiff tiff = open_stream(stream, "rm");
  char why[1024] = "";
  if (!tiff || !TIFFRGBAImageOK(tiff.get(), why))
    throw Failure("has colours that cannot be shown (" + std::string(why) + ")");
  const int width = static_cast<int>(page.number(TIFFTAG_IMAGEWIDTH, 0)),
            height = static_cast<int>(page.number(TIFFTAG_IMAGELENGTH, 0));
  std::vector<uint32_t> colour(static_cast<size_t>(width) * height);
  if (!TIFFReadRGBAImageOriented(tiff.get(), width, height, colour.data(), ORIENTATION_TOPLEFT, 1))
    throw failed("is damaged");
  raster = make_raster(width, height, 3);
  for (size_t i = 0; i < colour.size(); ++i)
    for (int c = 0; c < 3; ++c) raster.pixels[3 * i + c] = static_cast<uint8_t>(colour[i] >> (8 * c));
  return true;
}

TiffCoding coding_of(const Directory& page, int quality) {
  return {static_cast<uint16_t>(page.number(TIFFTAG_COMPRESSION, 0)),
          page.number(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE) != PHOTOMETRIC_MINISBLACK, quality};
}

void number_page(Directory& page, int number, int pages) {
  page.set_number(TIFFTAG_SUBFILETYPE, kLong, FILETYPE_PAGE);
  Entry entry{TIFFTAG_PAGENUMBER, kShort, 2, {}};
  append_number(entry.data, number, 2, page.msb_first);
  append_number(entry.data, pages, 2, page.msb_first);
  page.entries[TIFFTAG_PAGENUMBER] = entry;
}

TiffWriter::TiffWriter(const std::string& path, const MappedFile* like, uint64_t largest)
    : path_(path), largest_(largest) {
  bool big = false;
  if (like) {
    const Block block = Block::open(like->data(), like->size());
    msb_first_ = block.msb_first;
    big = block.big;
  }
  start(big);
}

TiffWriter::~TiffWriter() {
  if (descriptor_ >= 0) close(descriptor_);
}

void TiffWriter::start(bool big) {
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (descriptor_ < 0) throw unwritable();
  big_ = big;
  places_.clear();
  Bytes header(2, msb_first_ ? 'M' : 'I');
  append_number(header, big ? 43 : 42, 2, msb_first_);
  if (big) append_number(header, 8, 2, msb_first_);
  header.resize(big ? 16 : 8);
  write(header.data(), header.size());
}

void TiffWriter::write(const uint8_t* data, size_t size) {
  off_t place = lseek(descriptor_, 0, SEEK_END);
  while (size > 0) {
    const ssize_t put = pwrite(descriptor_, data, size, place);
    if (put <= 0) throw unwritable();
    data += put;
    place += put;
    size -= static_cast<size_t>(put);
  }
}

// The pages so far are copied into a file with longer offsets, which takes the name.
void TiffWriter::become_big() {
  const std::vector<uint64_t> places = places_;
  const MappedFile written(path_);
  struct stat old {};
  const bool known = stat(path_.c_str(), &old) == 0;
  if (unlink(path_.c_str()) != 0) throw unwritable();
  start(true);
  if (known) (void)fchmod(descriptor_, old.st_mode & 07777);
  for (uint64_t place : places)
    if (!add_stored(written, place)) throw Failure("cannot be written");
}

// Ends the file with a directory and lets the page before it, or the header, lead there.
void TiffWriter::append(const Directory& directory) {
  const uint64_t end = static_cast<uint64_t>(lseek(descriptor_, 0, SEEK_END));
  Bytes bytes;
  const uint64_t place = append_directory(ordered(directory, msb_first_), big_, end, bytes);
  write(bytes.data(), bytes.size());
  const MappedFile written(path_);
  const Block block{written.data(), written.size(), msb_first_, big_};
  const uint64_t link = places_.empty() ? (big_ ? 8 : 4) : block.next_place(places_.back());
  uint8_t number[8];
  put_number(number, place, block.offset_bytes(), msb_first_);
  if (pwrite(descriptor_, number, block.offset_bytes(), static_cast<off_t>(link)) != block.offset_bytes())
    throw unwritable();
  places_.push_back(place);
}

void TiffWriter::add(const Raster& pixels, bool bilevel, const TiffCoding& wanted,
                     const Directory& description) {
  use_own_handlers();
  const uint64_t most = 2 * static_cast<uint64_t>(pixels.pixels.size()) + (1 << 20);
  if (!big_ && static_cast<uint64_t>(lseek(descriptor_, 0, SEEK_END)) + most > largest_) become_big();

  TiffCoding coding = wanted;
  coding.compression = compression_for(wanted.compression, bilevel);
  Stream stream;
  stream.descriptor = descriptor_;
  stream.header_size = big_ ? 16 : 8;
  const std::string mode = std::string("w") + (msb_first_ ? "b" : "l") + (big_ ? "8" : "");
  Tiff out = open_stream(stream, mode.c_str());
  if (!out) throw failed("cannot be written");
  set_coding(out.get(), pixels, bilevel, coding);
  write_rows(out.get(), pixels, bilevel, coding.white_is_zero);
  if (!TIFFWriteDirectory(out.get())) throw failed("cannot be written");
  out.reset();
  if (!last_error.empty()) throw failed("cannot be written");

  // What the library wrote behind the pixels is replaced by a directory that has the description as well.
  const uint64_t place =
      big_ ? get_number(stream.header + 8, 8, msb_first_) : get_number(stream.header + 4, 4, msb_first_);
  Directory page;
  {
    const MappedFile written(path_);
    page = Block{written.data(), written.size(), msb_first_, big_}.read(place);
  }
  if (ftruncate(descriptor_, static_cast<off_t>(place)) != 0) throw unwritable();
  const Directory kept = ordered(description, msb_first_);
  for (const auto& [tag, entry] : kept.entries)
    if (!speaks_of_pixels(tag)) page.entries.emplace(tag, entry);
  page.below = kept.below;
  append(page);
}

bool TiffWriter::add_stored(const MappedFile& file, uint64_t place) {
  const Block block = Block::open(file.data(), file.size());
  Directory page = block.read(place);
  const bool tiled = page.find(TIFFTAG_TILEOFFSETS) != nullptr;
  const uint16_t where = tiled ? TIFFTAG_TILEOFFSETS : TIFFTAG_STRIPOFFSETS,
                 length = tiled ? TIFFTAG_TILEBYTECOUNTS : TIFFTAG_STRIPBYTECOUNTS;
  const std::vector<uint64_t> from = list(page, where), sizes = list(page, length);
  if (from.empty() || from.size() != sizes.size() || block.msb_first != msb_first_ || (block.big && !big_) ||
      page.number(TIFFTAG_COMPRESSION, COMPRESSION_NONE) == COMPRESSION_OJPEG)
    return false;
  uint64_t total = 0;
  for (size_t i = 0; i < from.size(); ++i) {
    if (from[i] > file.size() || file.size() - from[i] < sizes[i]) throw Failure("is damaged");
    total += sizes[i];
  }
  if (total > file.size()) throw Failure("is damaged");
  if (!big_ && static_cast<uint64_t>(lseek(descriptor_, 0, SEEK_END)) + total + (1 << 20) > largest_)
    become_big();

  Entry offsets{where, static_cast<uint16_t>(big_ ? 16 : 4), from.size(), {}};
  for (size_t i = 0; i < from.size(); ++i) {
    append_number(offsets.data, static_cast<uint64_t>(lseek(descriptor_, 0, SEEK_END)), big_ ? 8 : 4,
                  msb_first_);
    write(file.data() + from[i], sizes[i]);
  }
  page.entries[where] = offsets;
  for (uint16_t lost : {TIFFTAG_SUBIFD, TIFFTAG_FREEOFFSETS, TIFFTAG_FREEBYTECOUNTS})
    page.entries.erase(lost);
  append(page);
  return true;
}

void TiffWriter::finish() {
  if (places_.empty()) throw Failure("cannot be written");
  const int descriptor = descriptor_;
  descriptor_ = -1;
  if (close(descriptor) != 0) throw unwritable();
}

}  // namespace files
