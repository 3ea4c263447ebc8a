#include "files/image_write.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>

#include "files/failure.h"

namespace files {

namespace {

using vips::VImage;

// Fields that follow from the pixels, and the small preview in a photo's EXIF, which would show the page
// crooked.
bool is_description(const char* name) {
  static const char* const kOwn[] = {"width",
                                     "height",
                                     "bands",
                                     "format",
                                     "coding",
                                     "interpretation",
                                     "xoffset",
                                     "yoffset",
                                     "xres",
                                     "yres",
                                     "filename",
                                     "orientation",
                                     "n-pages",
                                     "page-height",
                                     "jpeg-thumbnail-data",
                                     VIPS_META_SEQUENTIAL,
                                     VIPS_META_LOADER,
                                     "bits-per-sample",
                                     "palette-bit-depth"};
  if (std::strncmp(name, "exif-ifd1-", 10) == 0) return false;
  return std::none_of(std::begin(kOwn), std::end(kOwn),
                      [=](const char* own) { return std::strcmp(own, name) == 0; });
}

void* copy_field(VipsImage* /*from*/, const char* name, GValue* value, void* to) {
  if (is_description(name)) vips_image_set(static_cast<VipsImage*>(to), name, value);
  return nullptr;
}

VImage with_descriptions(const Raster& pixels, const VImage& header) {
  VImage bare = VImage::new_from_memory(const_cast<uint8_t*>(pixels.pixels.data()), pixels.pixels.size(),
                                        pixels.width, pixels.height, pixels.channels, VIPS_FORMAT_UCHAR);
  VImage image = bare.copy(
      VImage::option()
          ->set("interpretation", pixels.channels == 1 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB)
          ->set("xres", header.xres())
          ->set("yres", header.yres()));
  vips_image_map(header.get_image(), copy_field, image.get_image());
  // Both also stand inside the block of EXIF data, which changes only where a field says so.
  image.set(VIPS_META_ORIENTATION, 1);
  if (header.get_typeof("jpeg-thumbnail-data") != 0)
    image.set("jpeg-thumbnail-data", static_cast<VipsCallbackFn>(nullptr), const_cast<char*>(""), 0);
  return image;
}

}  // namespace

Format writable_format(const std::string& extension) {
  std::string lower = extension;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
  if (lower == "jpg" || lower == "jpeg" || lower == "jpe" || lower == "jfif") return Format::kJpeg;
  if (lower == "png") return Format::kPng;
  if (lower == "tif" || lower == "tiff") return Format::kTiff;
  if (lower == "webp") return Format::kWebp;
  if (lower == "ppm" || lower == "pgm" || lower == "pbm" || lower == "pnm") return Format::kPnm;
  if (lower == "pdf") return Format::kPdf;
  return Format::kOther;
}

Format format_of_name(const std::string& name) {
  const std::string extension = std::filesystem::path(name).extension();
  return extension.empty() ? Format::kOther : writable_format(extension.substr(1));
}

void write_image(const Raster& pixels, const Page& page, Format format, int quality,
                 const std::string& path) {
  try {
    VImage image = with_descriptions(pixels, page.header);
    const auto target = vips::VTarget::new_to_file(path.c_str());
    auto* options = VImage::option();
    switch (format) {
      case Format::kJpeg:
        image.write_to_target(".jpg", target, options->set("Q", quality)->set("optimize_coding", true));
        break;
      case Format::kWebp:
        image.write_to_target(".webp", target, options->set("Q", quality));
        break;
      case Format::kPng:
        if (page.bilevel) options->set("bitdepth", 1);
        image.write_to_target(".png", target, options);
        break;
      default:
        if (page.bilevel) options->set("bitdepth", 1);
        image.write_to_target(pixels.channels == 1 ? (page.bilevel ? ".pbm" : ".pgm") : ".ppm", target,
                              options);
    }
  } catch (const vips::VError&) {
    std::string reason = vips_error_buffer();
    vips_error_clear();
    reason = reason.substr(0, reason.find('\n'));
    throw Failure("cannot be written (" + reason + ")");
  }
}

}  // namespace files
