#include "files/tiff_file.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "files/failure.h"

namespace files {

namespace {

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
}

Failure failed(const char* what) {
  std::string text = what;
  if (!last_error.empty()) text += " (" + last_error + ")";
  last_error.clear();
  return Failure(text);
}

template <class T>
T field(TIFF* tiff, uint32_t tag, T otherwise) {
  T value{};
  return TIFFGetFieldDefaulted(tiff, tag, &value) ? value : otherwise;
}

void copy_short(TIFF* in, TIFF* out, uint32_t tag) {
  uint16_t value = 0;
  if (TIFFGetField(in, tag, &value)) TIFFSetField(out, tag, value);
}

void copy_long(TIFF* in, TIFF* out, uint32_t tag) {
  uint32_t value = 0;
  if (TIFFGetField(in, tag, &value)) TIFFSetField(out, tag, value);
}

// What describes the page and not its pixels.
void copy_descriptions(TIFF* in, TIFF* out) {
  for (uint32_t tag : {TIFFTAG_DOCUMENTNAME, TIFFTAG_IMAGEDESCRIPTION, TIFFTAG_MAKE, TIFFTAG_MODEL,
                       TIFFTAG_PAGENAME, TIFFTAG_SOFTWARE, TIFFTAG_DATETIME, TIFFTAG_ARTIST,
                       TIFFTAG_HOSTCOMPUTER, TIFFTAG_COPYRIGHT, TIFFTAG_TARGETPRINTER}) {
    const char* text = nullptr;
    if (TIFFGetField(in, tag, &text)) TIFFSetField(out, tag, text);
  }
  for (uint32_t tag : {TIFFTAG_ICCPROFILE, TIFFTAG_XMLPACKET, TIFFTAG_PHOTOSHOP}) {
    uint32_t size = 0;
    const void* data = nullptr;
    if (TIFFGetField(in, tag, &size, &data)) TIFFSetField(out, tag, size, data);
  }
  uint16_t page = 0, pages = 0;
  if (TIFFGetField(in, TIFFTAG_PAGENUMBER, &page, &pages)) TIFFSetField(out, TIFFTAG_PAGENUMBER, page, pages);
  copy_long(in, out, TIFFTAG_SUBFILETYPE);
}

// turned: the page was stored on its side, so that the two resolutions change places.
void copy_resolution(TIFF* in, TIFF* out, bool turned) {
  float x = 0, y = 0;
  if (!TIFFGetField(in, TIFFTAG_XRESOLUTION, &x) || !TIFFGetField(in, TIFFTAG_YRESOLUTION, &y)) return;
  TIFFSetField(out, TIFFTAG_XRESOLUTION, turned ? y : x);
  TIFFSetField(out, TIFFTAG_YRESOLUTION, turned ? x : y);
  copy_short(in, out, TIFFTAG_RESOLUTIONUNIT);
}

void copy_value(TIFF* in, TIFF* out, uint32_t tag, const TIFFField* kind) {
  const TIFFDataType type = TIFFFieldDataType(kind);
  const int count = TIFFFieldReadCount(kind);
  const void* data = nullptr;
  if (TIFFFieldPassCount(kind)) {
    uint32_t values = 0;
    uint16_t few = 0;
    const bool wide = count == TIFF_VARIABLE2;
    if (wide ? TIFFGetField(in, tag, &values, &data) : TIFFGetField(in, tag, &few, &data))
      TIFFSetField(out, tag, wide ? values : few, data);
  } else if (type == TIFF_ASCII || count != 1) {
    if (TIFFGetField(in, tag, &data)) TIFFSetField(out, tag, data);
  } else if (type == TIFF_SHORT || type == TIFF_BYTE) {
    uint16_t value = 0;
    if (TIFFGetField(in, tag, &value)) TIFFSetField(out, tag, value);
  } else if (type == TIFF_LONG) {
    copy_long(in, out, tag);
  } else if (TIFFFieldSetGetSize(kind) == sizeof(double)) {
    double value = 0;
    if (TIFFGetField(in, tag, &value)) TIFFSetField(out, tag, value);
  } else {
    float value = 0;
    if (TIFFGetField(in, tag, &value)) TIFFSetField(out, tag, static_cast<double>(value));
  }
}

// Copies the EXIF block of the source's current page, which lies outside the page's own directory, and leaves
// the destination at the start of a new page. Returns the block's place in the destination, 0 if there is
// none.
uint64_t copy_exif(TIFF* in, TIFF* out) {
  const tdir_t page = TIFFCurrentDirectory(in);
  uint64_t from = 0, to = 0;
  if (!TIFFGetField(in, TIFFTAG_EXIFIFD, &from)) return 0;
  if (TIFFReadEXIFDirectory(in, from) && TIFFCreateEXIFDirectory(out) == 0) {
    for (int i = 0; i < TIFFGetTagListCount(in); ++i) {
      const uint32_t tag = TIFFGetTagListEntry(in, i);
      const TIFFField* kind = TIFFFieldWithTag(in, tag);
      if (kind) copy_value(in, out, tag, kind);
    }
    if (!TIFFWriteCustomDirectory(out, &to)) to = 0;
    TIFFFreeDirectory(out);
    TIFFCreateDirectory(out);
  }
  TIFFSetDirectory(in, page);
  last_error.clear();
  return to;
}

void set_blob(TIFF* out, uint32_t tag, const vips::VImage& header, const char* name) {
  if (header.get_typeof(name) != VIPS_TYPE_BLOB) return;
  size_t size = 0;
  const void* data = header.get_blob(name, &size);
  TIFFSetField(out, tag, static_cast<uint32_t>(size), data);
}

void describe_from_header(TIFF* out, const vips::VImage& header, int number, int pages) {
  set_blob(out, TIFFTAG_ICCPROFILE, header, VIPS_META_ICC_NAME);
  set_blob(out, TIFFTAG_XMLPACKET, header, VIPS_META_XMP_NAME);
  bool centimetres = header.get_typeof(VIPS_META_RESOLUTION_UNIT) != 0 &&
                     std::strcmp(header.get_string(VIPS_META_RESOLUTION_UNIT), "cm") == 0;
  const double scale = centimetres ? 10.0 : 25.4;
  if (header.get_typeof(VIPS_META_RESOLUTION_UNIT) != 0 || header.xres() != 1.0) {
    TIFFSetField(out, TIFFTAG_XRESOLUTION, static_cast<float>(header.xres() * scale));
    TIFFSetField(out, TIFFTAG_YRESOLUTION, static_cast<float>(header.yres() * scale));
    TIFFSetField(out, TIFFTAG_RESOLUTIONUNIT, centimetres ? RESUNIT_CENTIMETER : RESUNIT_INCH);
  }
  if (pages > 1) {
    TIFFSetField(out, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(out, TIFFTAG_PAGENUMBER, number, pages);
  }
}

// The source's compression where it can hold these pixels and be written here; otherwise one without loss
// that every reader knows.
uint16_t compression_for(uint16_t wanted, bool bilevel) {
  if (wanted == COMPRESSION_OJPEG) wanted = COMPRESSION_JPEG;
  const bool fax =
      wanted == COMPRESSION_CCITTFAX3 || wanted == COMPRESSION_CCITTFAX4 || wanted == COMPRESSION_CCITTRLE;
  const bool fits = bilevel ? wanted != COMPRESSION_JPEG : !fax;
  if (wanted != 0 && fits && TIFFIsCODECConfigured(wanted)) return wanted;
  return bilevel ? COMPRESSION_CCITTFAX4 : COMPRESSION_LZW;
}

// The descriptions of the source's current page, turned with the pixels where it lies on its side.
void describe_from_page(TIFF* in, TIFF* out) {
  const uint64_t exif = copy_exif(in, out);
  if (exif) TIFFSetField(out, TIFFTAG_EXIFIFD, exif);
  copy_descriptions(in, out);
  copy_resolution(in, out,
                  field<uint16_t>(in, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) >= ORIENTATION_LEFTTOP);
}

// How the pixels of a page are stored.
struct Coding {
  uint16_t compression;
  bool bilevel, white_is_zero;  // the latter for bilevel pages
  int quality;                  // for JPEG
};

uint16_t photometric_for(const Coding& coding, int channels) {
  if (channels == 3) return coding.compression == COMPRESSION_JPEG ? PHOTOMETRIC_YCBCR : PHOTOMETRIC_RGB;
  return coding.bilevel && coding.white_is_zero ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
}

void set_coding(TIFF* out, const Raster& pixels, const Coding& coding) {
  TIFFSetField(out, TIFFTAG_IMAGEWIDTH, pixels.width);
  TIFFSetField(out, TIFFTAG_IMAGELENGTH, pixels.height);
  TIFFSetField(out, TIFFTAG_BITSPERSAMPLE, coding.bilevel ? 1 : 8);
  TIFFSetField(out, TIFFTAG_SAMPLESPERPIXEL, pixels.channels);
  TIFFSetField(out, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(out, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(out, TIFFTAG_COMPRESSION, coding.compression);
  TIFFSetField(out, TIFFTAG_PHOTOMETRIC, photometric_for(coding, pixels.channels));
  if (coding.compression == COMPRESSION_JPEG) {
    TIFFSetField(out, TIFFTAG_JPEGQUALITY, coding.quality);
    if (pixels.channels == 3) TIFFSetField(out, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  }
  const bool predicts = coding.compression == COMPRESSION_LZW ||
                        coding.compression == COMPRESSION_ADOBE_DEFLATE ||
                        coding.compression == COMPRESSION_DEFLATE || coding.compression == COMPRESSION_ZSTD;
  if (predicts && !coding.bilevel) TIFFSetField(out, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
  TIFFSetField(out, TIFFTAG_ROWSPERSTRIP, coding.bilevel ? pixels.height : 64);
}

// Everything a reader needs to decode strips or tiles that are copied as they are.
void copy_layout(TIFF* in, TIFF* out) {
  for (uint32_t tag :
       {TIFFTAG_BITSPERSAMPLE, TIFFTAG_SAMPLESPERPIXEL, TIFFTAG_COMPRESSION, TIFFTAG_PHOTOMETRIC,
        TIFFTAG_PLANARCONFIG, TIFFTAG_ORIENTATION, TIFFTAG_FILLORDER, TIFFTAG_SAMPLEFORMAT, TIFFTAG_PREDICTOR,
        TIFFTAG_MINSAMPLEVALUE, TIFFTAG_MAXSAMPLEVALUE, TIFFTAG_THRESHHOLDING})
    copy_short(in, out, tag);
  for (uint32_t tag : {TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH, TIFFTAG_TILEWIDTH, TIFFTAG_TILELENGTH,
                       TIFFTAG_GROUP3OPTIONS, TIFFTAG_GROUP4OPTIONS})
    copy_long(in, out, tag);
  if (!TIFFIsTiled(in)) copy_long(in, out, TIFFTAG_ROWSPERSTRIP);

  uint16_t *red = nullptr, *green = nullptr, *blue = nullptr, extras = 0, *extra = nullptr, across = 0,
           down = 0;
  if (TIFFGetField(in, TIFFTAG_COLORMAP, &red, &green, &blue))
    TIFFSetField(out, TIFFTAG_COLORMAP, red, green, blue);
  if (TIFFGetField(in, TIFFTAG_EXTRASAMPLES, &extras, &extra))
    TIFFSetField(out, TIFFTAG_EXTRASAMPLES, extras, extra);
  if (TIFFGetField(in, TIFFTAG_YCBCRSUBSAMPLING, &across, &down))
    TIFFSetField(out, TIFFTAG_YCBCRSUBSAMPLING, across, down);
  float* reference = nullptr;
  if (TIFFGetField(in, TIFFTAG_REFERENCEBLACKWHITE, &reference))
    TIFFSetField(out, TIFFTAG_REFERENCEBLACKWHITE, reference);
  uint32_t size = 0;
  const void* tables = nullptr;
  if (TIFFGetField(in, TIFFTAG_JPEGTABLES, &size, &tables) && size > 0)
    TIFFSetField(out, TIFFTAG_JPEGTABLES, size, tables);
}

void pack_bits(const uint8_t* gray, int width, bool white_is_zero, std::vector<uint8_t>& row) {
  std::fill(row.begin(), row.end(), 0);
  for (int x = 0; x < width; ++x)
    if ((gray[x] < 128) == white_is_zero) row[x >> 3] |= static_cast<uint8_t>(0x80 >> (x & 7));
}

}  // namespace

int tiff_bits(const std::string& path, int page) {
  use_own_handlers();
  TIFF* tiff = TIFFOpen(path.c_str(), "r");
  if (!tiff) return 0;
  const int bits =
      TIFFSetDirectory(tiff, static_cast<tdir_t>(page)) ? field<uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 0) : 0;
  TIFFClose(tiff);
  return bits;
}

TiffWriter::TiffWriter(const std::string& path, const std::string& source) {
  use_own_handlers();
  if (!source.empty() && !(in_ = TIFFOpen(source.c_str(), "r"))) throw failed("cannot be read as TIFF");
  const bool big = in_ && TIFFIsBigTIFF(in_);
  out_ = TIFFOpen(path.c_str(), big ? "w8" : "w");
  if (!out_) {
    if (in_) TIFFClose(in_);
    throw failed("cannot be written");
  }
}

TiffWriter::~TiffWriter() {
  if (in_) TIFFClose(in_);
  if (out_) TIFFClose(out_);
}

void TiffWriter::finish() {
  last_error.clear();
  if (!TIFFFlush(out_)) throw failed("cannot be written");
  TIFFClose(out_);
  out_ = nullptr;
  if (!last_error.empty()) throw failed("cannot be written");
}

void TiffWriter::end_page() {
  if (!TIFFWriteDirectory(out_)) throw failed("cannot be written");
}

void TiffWriter::add(const Raster& pixels, const Page& page, int number, int pages, int quality) {
  use_own_handlers();
  Coding coding = {0, page.bilevel, true, quality};
  if (in_) {
    if (!TIFFSetDirectory(in_, static_cast<tdir_t>(number))) throw failed("cannot be read as TIFF");
    coding.compression = field<uint16_t>(in_, TIFFTAG_COMPRESSION, 0);
    coding.white_is_zero =
        field<uint16_t>(in_, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE) != PHOTOMETRIC_MINISBLACK;
    describe_from_page(in_, out_);
  } else {
    describe_from_header(out_, page.header, number, pages);
  }
  coding.compression = compression_for(coding.compression, page.bilevel);
  set_coding(out_, pixels, coding);

  std::vector<uint8_t> row(page.bilevel ? (pixels.width + 7) / 8 : pixels.row_bytes());
  for (int y = 0; y < pixels.height; ++y) {
    if (page.bilevel)
      pack_bits(pixels.row(y), pixels.width, coding.white_is_zero, row);
    else
      std::memcpy(row.data(), pixels.row(y), row.size());
    if (TIFFWriteScanline(out_, row.data(), static_cast<uint32_t>(y), 0) < 0)
      throw failed("cannot be written");
  }
  end_page();
}

void TiffWriter::add_unchanged(int number) {
  use_own_handlers();
  if (!in_ || !TIFFSetDirectory(in_, static_cast<tdir_t>(number))) throw failed("cannot be read as TIFF");
  copy_layout(in_, out_);
  copy_resolution(in_, out_, false);
  copy_descriptions(in_, out_);

  const bool tiled = TIFFIsTiled(in_);
  const uint32_t count = tiled ? TIFFNumberOfTiles(in_) : TIFFNumberOfStrips(in_);
  const uint64_t file_size = TIFFGetSizeProc(in_)(TIFFClientdata(in_));
  std::vector<uint8_t> bytes;
  for (uint32_t i = 0; i < count; ++i) {
    const tmsize_t length = static_cast<tmsize_t>(TIFFGetStrileByteCount(in_, i));
    if (length < 0 || static_cast<uint64_t>(length) > file_size) throw failed("is damaged");
    bytes.resize(static_cast<size_t>(length));
    const tmsize_t got = tiled ? TIFFReadRawTile(in_, i, bytes.data(), length)
                               : TIFFReadRawStrip(in_, i, bytes.data(), length);
    if (got != length) throw failed("is damaged");
    const tmsize_t put = tiled ? TIFFWriteRawTile(out_, i, bytes.data(), length)
                               : TIFFWriteRawStrip(out_, i, bytes.data(), length);
    if (put != length) throw failed("cannot be written");
  }
  end_page();
}

}  // namespace files
