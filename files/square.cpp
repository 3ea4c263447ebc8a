#include "files/square.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vips/vips8>

#include "files/failure.h"

namespace files {

namespace {

Raster resized(const Raster& raster, double across, double down) {
  using vips::VImage;
  try {
    const VImage image =
        VImage::new_from_memory(const_cast<uint8_t*>(raster.pixels.data()), raster.pixels.size(),
                                raster.width, raster.height, raster.channels, VIPS_FORMAT_UCHAR)
            .resize(across, VImage::option()->set("vscale", down)->set("kernel", VIPS_KERNEL_LINEAR));
    Raster result = make_raster(image.width(), image.height(), raster.channels);
    const VImage memory = image.copy_memory();
    std::copy_n(static_cast<const uint8_t*>(memory.data()), result.pixels.size(), result.pixels.begin());
    return result;
  } catch (const vips::VError&) {
    throw Failure("cannot be brought to square pixels");
  }
}

// 1 where the resolution is not known, equal within a hundredth, or beyond what can be meant.
double aspect_of(const Resolution& resolution) {
  if (!resolution.known()) return 1;
  const double aspect = resolution.x / resolution.y;
  return std::fabs(aspect - 1) < 0.01 || aspect > 8 || aspect < 0.125 ? 1 : aspect;
}

}  // namespace

SquarePixels::SquarePixels(const Page& page, bool wanted)
    : page_(page), aspect_(wanted ? aspect_of(page.about.resolution) : 1) {
  if (aspect_ != 1) square_ = resized(page.raster, std::max(1.0, 1 / aspect_), std::max(1.0, aspect_));
}

Raster SquarePixels::restored(Raster&& raster) const {
  if (aspect_ == 1) return std::move(raster);
  return resized(raster, std::min(1.0, aspect_), std::min(1.0, 1 / aspect_));
}

SkewTransform SquarePixels::restored(const SkewTransform& turned) const {
  const double across = std::max(1.0, 1 / aspect_), down = std::max(1.0, aspect_);
  SkewTransform page = turned;
  page.width = page_.raster.width;
  page.height = page_.raster.height;
  page.outWidth = static_cast<int>(std::rint(turned.outWidth / across));
  page.outHeight = static_cast<int>(std::rint(turned.outHeight / down));
  page.b *= across / down;
  page.c *= down / across;
  page.e /= across;
  page.f /= down;
  return page;
}

}  // namespace files
