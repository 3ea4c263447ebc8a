// Decoding goes through libvips. Three rules are behind the order of things here: a header is checked before
// any pixel is decoded, since a small file can hold a huge image; damage is an error unless the user allows
// it; and only the image library's own safe loaders are used.
#include "files/image_read.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "files/failure.h"
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
  if (colon != std::string::npos && colon < 24) text.erase(0, colon + 2);
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

VSource source_of(const std::string& path) {
  try {
    return VSource::new_from_file(path.c_str());
  } catch (const vips::VError&) {
    throw unreadable("cannot be opened");
  }
}

// Reads the header; pixels follow when they are asked for.
VImage load(const SourceFile& file, int page, const ReadOptions& options, VipsAccess access) {
  auto* option = VImage::option()->set("access", access);
  option->set("fail_on", options.tolerant ? VIPS_FAIL_ON_NONE : VIPS_FAIL_ON_TRUNCATED);
  if (file.format == Format::kPdf) option->set("dpi", options.dpi);
  if (file.format == Format::kPdf && !options.password.empty())
    option->set("password", options.password.c_str());
  if (page > 0) option->set("page", page);
  try {
    return VImage::new_from_source(source_of(file.path), "", option);
  } catch (const vips::VError&) {
    throw unreadable("is damaged");
  }
}

int header_int(const VImage& image, const char* field, int otherwise) {
  return image.get_typeof(field) == G_TYPE_INT ? image.get_int(field) : otherwise;
}

void check_size(const VImage& image, int64_t max_pixels) {
  const int64_t pixels = int64_t{image.width()} * image.height();
  const std::string size = std::to_string(image.width()) + " x " + std::to_string(image.height()) + " pixels";
  if (image.width() > kLongestSide || image.height() > kLongestSide)
    throw Failure("has " + size + ", more than 65535 on a side");
  if (max_pixels > 0 && pixels > max_pixels)
    throw Failure("has " + size + ", more than --max-pixels " + std::to_string(max_pixels) + " allows");
}

// Whether a pixel of one channel takes a single bit, which the image library does not tell.
bool stores_bits(const SourceFile& file, int page) {
  if (file.format == Format::kTiff) return tiff_bits(file.path, page) == 1;
  char start[25] = {};
  std::ifstream(file.path, std::ios::binary).read(start, sizeof start);
  if (file.format == Format::kPng) return start[24] == 1;  // the header's bit depth
  return file.format == Format::kPnm && start[0] == 'P' && (start[1] == '1' || start[1] == '4');
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

// A page drawn from a PDF is always in colour; if none of it is, it is a gray page.
void drop_equal_channels(Raster& raster) {
  const size_t count = raster.pixels.size() / 3;
  for (size_t i = 0; i < count; ++i) {
    const uint8_t* p = &raster.pixels[3 * i];
    if (p[0] != p[1] || p[1] != p[2]) return;
  }
  for (size_t i = 0; i < count; ++i) raster.pixels[i] = raster.pixels[3 * i];
  raster.pixels.resize(count);
  raster.channels = 1;
}

Raster pixels_of(const VImage& image) {
  Raster raster{image.width(), image.height(), image.bands(), {}};
  size_t size = 0;
  auto* data = static_cast<uint8_t*>(image.write_to_memory(&size));
  raster.pixels.assign(data, data + size);
  g_free(data);
  return raster;
}

}  // namespace

void start_image_library(const char* program) {
  g_log_set_writer_func(drop_log, nullptr, nullptr);
  g_log_set_default_handler([](const char*, GLogLevelFlags, const char*, void*) {}, nullptr);
  if (VIPS_INIT(program)) throw unreadable("the image library cannot be started");
  vips_block_untrusted_set(TRUE);
  for (const char* loader :
       {"VipsForeignLoadPpm", "VipsForeignLoadPdf", "VipsForeignLoadJp2k", "VipsForeignLoadJxl"})
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

  const VSource source = source_of(path);
  const char* loader = vips_foreign_find_load_source(source.get_source());
  if (!loader) {
    vips_error_clear();
    throw Failure("is damaged or not an image of a known format");
  }
  SourceFile file{path, name, Format::kOther, "png", 1};
  for (const auto& known : kFormats) {
    if (std::strncmp(loader, known.prefix, std::strlen(known.prefix)) != 0) continue;
    file.format = known.format;
    file.extension = known.extension;
  }
  const VImage header = load(file, 0, options, VIPS_ACCESS_SEQUENTIAL);
  const int pages = header_int(header, VIPS_META_N_PAGES, 1);
  if (file.format == Format::kTiff || file.format == Format::kPdf)
    file.pages = pages;
  else if (pages > 1 &&
           (file.format == Format::kWebp || std::strncmp(loader, "VipsForeignLoadNsgif", 20) == 0))
    throw Failure("is an animation of " + std::to_string(pages) + " frames, not a page");
  return file;
}

Page read_page(const SourceFile& file, int number, const ReadOptions& options) {
  VImage stored = load(file, number, options, VIPS_ACCESS_SEQUENTIAL);
  check_size(stored, options.max_pixels);
  Page page;
  page.bilevel = stored.bands() == 1 && stores_bits(file, number);
  page.upright_in_file = header_int(stored, VIPS_META_ORIENTATION, 1) <= 1;
  if (!page.upright_in_file) stored = load(file, number, options, VIPS_ACCESS_RANDOM);
  try {
    page.header = to_gray_or_rgb(stored.autorot());
    page.raster = pixels_of(page.header);
  } catch (const vips::VError&) {
    throw unreadable("is damaged");
  }
  if (file.format == Format::kPdf && page.raster.channels == 3) drop_equal_channels(page.raster);
  return page;
}

}  // namespace files
