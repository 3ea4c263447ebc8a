// Decoding goes through libvips, but for what it reads wrong: PNM, and TIFF pages in odd colours. Three rules are behind the order of things here: a header is checked before
// any pixel is decoded, since a small file can hold a huge image; damage is an error unless the user allows
// it; and only the image library's own safe loaders are used.
#include "files/image_read.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vips/vips8>

#include "files/failure.h"
#include "files/pnm.h"
#include "files/tiff_file.h"

namespace files {

namespace {

using vips::VImage;
using vips::VSource;

constexpr int kLongestSide = 65535;

GLogWriterOutput drop_log(GLogLevelFlags, const GLogField*, gsize, gpointer) { return G_LOG_WRITER_HANDLED; }

// The library's own words in one line, without the parts that only its developers know.
std::string library_message() {
  std::string text = vips_error_buffer();
  vips_error_clear();
  text = text.substr(0, text.find('\n'));
  const size_t colon = text.find(": ");
  if (colon < 24) text.erase(0, colon + 2);
  return text.substr(0, 200);
}

Failure unreadable(const char* what) {
  const std::string reason = library_message();
  if (reason == "Document is encrypted") return Failure("is protected: its password is needed (--password)");
  return Failure(reason.empty() ? std::string(what) : std::string(what) + " (" + reason + ")");
}

struct FormatOfLoader {
  const char* prefix;
  Format format;
  const char* extension;
};
constexpr FormatOfLoader kFormats[] = {
    {"VipsForeignLoadJpeg", Format::kJpeg, "jpg"}, {"VipsForeignLoadPng", Format::kPng, "png"},
    {"VipsForeignLoadTiff", Format::kTiff, "tif"}, {"VipsForeignLoadWebp", Format::kWebp, "webp"},
    {"VipsForeignLoadPpm", Format::kPnm, "ppm"},   {"VipsForeignLoadPdf", Format::kPdf, "pdf"},
    {"VipsForeignLoadHeif", Format::kHeif, "heic"}};

// A page as the image library sees it, with the bytes that it decodes from while pixels are asked for.
struct Stored {
  std::unique_ptr<MappedFile> file;
  Directory tags;  // of a TIFF page
  VImage image;
};

VImage load_vips(const VSource& source, const SourceFile& file, int page, const ReadOptions& options,
                 VipsAccess access) {
  auto* option = VImage::option()->set("access", access);
  option->set("fail_on", options.tolerant ? VIPS_FAIL_ON_NONE : VIPS_FAIL_ON_TRUNCATED);
  if (file.format == Format::kPdf) option->set("dpi", options.dpi);
  if (file.format == Format::kPdf && !options.password.empty())
    option->set("password", options.password.c_str());
  if (page > 0) option->set("page", page);
  return VImage::new_from_source(source, "", option);
}

VImage odd_image(const Stored& stored, const Raster& raster) {
  VImage image = VImage::new_from_memory(const_cast<uint8_t*>(raster.pixels.data()), raster.pixels.size(),
                                         raster.width, raster.height, raster.channels, VIPS_FORMAT_UCHAR)
                     .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
  image.set(VIPS_META_ORIENTATION, static_cast<int>(stored.tags.number(kTagOrientation, 1)));
  return image;
}

// Reads the header; pixels follow when they are asked for.
Stored load(const SourceFile& file, int page, const ReadOptions& options, VipsAccess access) {
  Stored stored;
  try {
    if (file.format == Format::kBmp) {
      stored.image = VImage::magickload(("bmp:" + file.path).c_str());
    } else if (file.format == Format::kTiff) {
      stored.file = std::make_unique<MappedFile>(file.path);
      const Block block = Block::open(stored.file->data(), stored.file->size());
      stored.tags = block.read(file.places[page]);
      isolate_page(*stored.file, file.places[page]);
      const VSource memory = VSource::new_from_memory(stored.file->data(), stored.file->size());
      stored.image = load_vips(memory, file, 0, options, access);
    } else {
      stored.image = load_vips(VSource::new_from_file(file.path.c_str()), file, page, options, access);
    }
  } catch (const vips::VError&) {
    throw unreadable("is damaged");
  }
  return stored;
}

int header_int(const VImage& image, const char* field, int otherwise) {
  return image.get_typeof(field) == G_TYPE_INT ? image.get_int(field) : otherwise;
}

void check_size(int64_t width, int64_t height, int64_t max_pixels) {
  const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
  if (width > kLongestSide || height > kLongestSide)
    throw Failure("has " + size + ", more than 65535 on a side");
  if (max_pixels > 0 && width * height > max_pixels)
    throw Failure("has " + size + ", more than --max-pixels " + std::to_string(max_pixels) + " allows");
}

VImage to_gray_or_rgb(VImage image) {
  if (image.interpretation() == VIPS_INTERPRETATION_CMYK)
    image =
        image.icc_transform("srgb", VImage::option()->set("embedded", true)->set("input_profile", "cmyk"));
  if (image.has_alpha()) {
    const double white = image.format() == VIPS_FORMAT_USHORT ? 65535.0 : 255.0;
    image = image.flatten(VImage::option()->set("background", white));
  }
  const bool gray = image.bands() < 3;
  if (image.bands() == 2) image = image.extract_band(0);
  if (image.bands() > 3) image = image.extract_band(0, VImage::option()->set("n", 3));
  return image.colourspace(gray ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB).cast(VIPS_FORMAT_UCHAR);
}

// Colour that shows none is gray: a page drawn from a PDF, a palette of black and white.
void drop_equal_channels(Raster& raster) {
  const size_t count = raster.pixels.size() / 3;
  for (size_t i = 0; i < count; ++i) {
    const uint8_t* p = &raster.pixels[3 * i];
    if (p[0] != p[1] || p[1] != p[2]) return;
  }
  for (size_t i = 0; i < count; ++i) raster.pixels[i] = raster.pixels[3 * i];
  raster.pixels.shrink(count);
  raster.channels = 1;
}

bool black_and_white(const Raster& raster) {
  return raster.channels == 1 && std::all_of(raster.pixels.begin(), raster.pixels.end(),
                                             [](uint8_t value) { return value == 0 || value == 255; });
}

// Whether a pixel takes a single bit in the file, which the image library does not tell.
bool stores_bits(const SourceFile& file, const Stored& stored) {
  if (file.format == Format::kTiff) return stored.tags.number(258, 1) == 1 && stored.tags.number(277, 1) == 1;
  char start[25] = {};
  if (file.format == Format::kPng) std::ifstream(file.path, std::ios::binary).read(start, sizeof start);
  return start[24] == 1;  // the header's bit depth
}

Bytes blob_of(const VImage& image, const char* name) {
  if (image.get_typeof(name) != VIPS_TYPE_BLOB) return {};
  size_t size = 0;
  const auto* data = static_cast<const uint8_t*>(image.get_blob(name, &size));
  return Bytes(data, data + size);
}

Descriptions describe(const SourceFile& file, const Stored& stored, const ReadOptions& options) {
  if (file.format == Format::kTiff) return descriptions_of(stored.tags);
  Descriptions about;
  if (file.format == Format::kJpeg || file.format == Format::kPng || file.format == Format::kWebp) {
    const MappedFile bytes(file.path);
    int frames = 1;
    about = descriptions_in(bytes.data(), bytes.size(), file.format, frames);
  } else {
    about.exif = blob_of(stored.image, VIPS_META_EXIF_NAME);
    if (about.exif.size() > 6 && about.exif[0] == 'E')
      about.exif.erase(about.exif.begin(), about.exif.begin() + 6);
  }
  if (about.icc.empty()) about.icc = blob_of(stored.image, VIPS_META_ICC_NAME);
  if (about.xmp.empty()) about.xmp = blob_of(stored.image, VIPS_META_XMP_NAME);
  if (file.format == Format::kPdf) about.resolution = {options.dpi, options.dpi, false};
  return about;
}

Raster pixels_of(const VImage& image) {
  Raster raster = make_raster(image.width(), image.height(), image.bands());
  image.write(VImage::new_from_memory(raster.pixels.data(), raster.pixels.size(), raster.width, raster.height,
                                      raster.channels, VIPS_FORMAT_UCHAR));
  return raster;
}

// How many pages a file holds; throws Failure for animations.
void count_pages(SourceFile& file, const MappedFile& bytes, bool gif, const ReadOptions& options) {
  const VImage header = load(file, 0, options, VIPS_ACCESS_SEQUENTIAL).image;
  const int pages = header_int(header, VIPS_META_N_PAGES, 1);
  int frames = 1;
  descriptions_in(bytes.data(), bytes.size(), file.format, frames);
  if (gif || file.format == Format::kWebp) frames = pages;
  if (frames > 1) throw Failure("is an animation of " + std::to_string(frames) + " frames, not a page");
  if (file.format == Format::kPdf || file.format == Format::kHeif) file.pages = pages;
}

}  // namespace

void start_image_library(const char* program) {
  g_log_set_writer_func(drop_log, nullptr, nullptr);
  g_log_set_default_handler([](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
  if (VIPS_INIT(program)) throw unreadable("the image library cannot be started");
  vips_block_untrusted_set(TRUE);
  for (const char* loader : {"VipsForeignLoadPpm", "VipsForeignLoadMagick", "VipsForeignLoadPdf",
                             "VipsForeignLoadJp2k", "VipsForeignLoadJxl"})
    vips_operation_block_set(loader, FALSE);
  vips_cache_set_max(0);
  vips_concurrency_set(1);
}

SourceFile open_source(const std::string& path, const std::string& name, const ReadOptions& options) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (error) throw Failure("cannot be opened: " + error.message());
  if (!std::filesystem::is_regular_file(status)) throw Failure("is not a file");
  if (std::filesystem::file_size(path, error) == 0) throw Failure("is empty");

  const MappedFile bytes(path);
  SourceFile file{path, name, Format::kOther, "png", 1, {}};
  if (bytes.size() > 26 && std::memcmp(bytes.data(), "BM", 2) == 0) {
    file.format = Format::kBmp;
    return file;
  }
  const VSource source = VSource::new_from_memory(bytes.data(), bytes.size());
  const char* loader = vips_foreign_find_load_source(source.get_source());
  if (!loader || std::strncmp(loader, "VipsForeignLoadMagick", 21) == 0) {
    vips_error_clear();
    throw Failure("is damaged or not an image of a known format");
  }
  for (const auto& known : kFormats) {
    if (std::strncmp(loader, known.prefix, std::strlen(known.prefix)) != 0) continue;
    file.format = known.format;
    file.extension = known.extension;
  }
  if (file.format == Format::kTiff) {
    file.places = tiff_pages(bytes, options.tolerant);
    file.pages = static_cast<int>(file.places.size());
  } else if (file.format != Format::kPnm || read_pnm_header(bytes).kind == 0) {
    count_pages(file, bytes, std::strncmp(loader, "VipsForeignLoadNsgif", 20) == 0, options);
  }
  return file;
}

Page read_page(const SourceFile& file, int number, const ReadOptions& options) {
  Page page;
  if (file.format == Format::kPnm) {
    const MappedFile bytes(file.path);
    const PnmHeader header = read_pnm_header(bytes);
    if (header.kind != 0) {
      check_size(header.width, header.height, options.max_pixels);
      page.raster = read_pnm(bytes, header, options.tolerant);
      page.bilevel = header.bilevel();
      return page;
    }
  }
  Stored stored = load(file, number, options, VIPS_ACCESS_SEQUENTIAL);
  check_size(stored.image.width(), stored.image.height(), options.max_pixels);
  const int orientation = header_int(stored.image, VIPS_META_ORIENTATION, 1);
  if (orientation > 1) stored = load(file, number, options, VIPS_ACCESS_RANDOM);
  Raster odd;
  try {
    if (file.format == Format::kTiff && read_odd_colours(*stored.file, stored.tags, odd))
      stored.image = odd_image(stored, odd);
    page.about = describe(file, stored, options);
    if (stored.image.interpretation() == VIPS_INTERPRETATION_CMYK) page.about.icc.clear();
    page.raster = pixels_of(to_gray_or_rgb(stored.image.autorot()));
  } catch (const vips::VError&) {
    throw unreadable("is damaged");
  }
  if (orientation >= 5) swap_sides(page.about);
  const bool bits = stores_bits(file, stored);
  if ((file.format == Format::kPdf || bits) && page.raster.channels == 3) drop_equal_channels(page.raster);
  page.bilevel = bits && black_and_white(page.raster);
  return page;
}

}  // namespace files
