#include "files/image_write.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vips/vips8>

#include "files/failure.h"

namespace files {

namespace {

using vips::VImage;

VImage bare_image(const Raster& pixels) {
  return VImage::new_from_memory(const_cast<uint8_t*>(pixels.pixels.data()), pixels.pixels.size(),
                                 pixels.width, pixels.height, pixels.channels, VIPS_FORMAT_UCHAR)
      .copy(VImage::option()->set("interpretation",
                                  pixels.channels == 1 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB));
}

Bytes encode(const Raster& pixels, const Page& page, Format format, int quality) {
  auto* options = VImage::option()->set("strip", true);
  const char* suffix = ".jpg";
  if (format == Format::kJpeg) {
    options->set("Q", quality)->set("optimize_coding", true);
  } else if (format == Format::kWebp) {
    suffix = ".webp";
    options->set("Q", quality)->set("lossless", page.about.lossless);
  } else {
    suffix = format == Format::kPng ? ".png" : pixels.channels == 3 ? ".ppm" : page.bilevel ? ".pbm" : ".pgm";
    if (page.bilevel) options->set("bitdepth", 1);
  }
  void* data = nullptr;
  size_t size = 0;
  if (format == Format::kPnm) {
    const auto target = vips::VTarget::new_to_memory();
    bare_image(pixels).write_to_target(suffix, target, options);
    VipsBlob* blob = nullptr;
    g_object_get(target.get_target(), "blob", &blob, nullptr);
    const auto* bytes = static_cast<const uint8_t*>(vips_blob_get(blob, &size));
    Bytes encoded(bytes, bytes + size);
    vips_area_unref(VIPS_AREA(blob));
    return encoded;
  }
  bare_image(pixels).write_to_buffer(suffix, &data, &size, options);
  const auto* bytes = static_cast<const uint8_t*>(data);
  Bytes encoded(bytes, bytes + size);
  g_free(data);
  return encoded;
}

void write_file(const Bytes& bytes, const std::string& path) {
  FILE* out = std::fopen(path.c_str(), "wb");
  const bool put = out && std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
  const int error = errno;
  if ((out && std::fclose(out) != 0) || !put)
    throw Failure(std::string("cannot be written: ") + std::strerror(put ? errno : error));
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
  Bytes encoded;
  try {
    encoded = encode(pixels, page, format, quality);
  } catch (const vips::VError&) {
    std::string reason = vips_error_buffer();
    vips_error_clear();
    throw Failure("cannot be written (" + reason.substr(0, reason.find('\n')) + ")");
  }
  write_file(with_descriptions(encoded, format, page.about, pixels.width, pixels.height, pixels.channels),
             path);
}

}  // namespace files
