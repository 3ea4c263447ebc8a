// Measures a page, judges it and turns it. Colour pages are measured by a gray copy of their own, which is
// given back before the result is allocated.
#include <cstring>

#include "convert/luma.h"
#include "convert/pixel_format.h"
#include "core/buffer.h"
#include "level/image.h"

namespace skew {
namespace {

// As an image of this format shows a colour.
uint32_t shown(uint32_t argb, int pixel_bytes) {
  if (pixel_bytes == 1) argb = static_cast<uint32_t>(luma_of_argb(argb)) * 0x010101u;
  return pixel_bytes == 4 ? argb : argb | 0xFF000000;
}

int plan(const Image& image, const SkewLevelOptions* options, SkewLevel* level) {
  if (!image.valid() || level == nullptr || (options != nullptr && !valid_options(*options)))
    return SKEW_INVALID_ARGUMENT;
  const uint32_t border = border_colour(image);
  if (image.pixel_bytes == 1) return judge(image, 1, border, options, level);
  const Buffer<uint8_t> gray = gray_copy(image);
  if (!gray) return SKEW_OUT_OF_MEMORY;
  return judge({gray.get(), image.width, image.width, image.height, 1}, image.pixel_bytes, border, options,
               level);
}

template <class Pixel>
int make_level(const Image& image, const SkewLevelOptions* options, Pixel** result, SkewLevel* level) {
  if (result == nullptr) return SKEW_INVALID_ARGUMENT;
  *result = nullptr;
  SkewLevel found;
  int code = level != nullptr ? plan(image, options, &found) : SKEW_INVALID_ARGUMENT;
  Buffer<uint8_t> turned;
  if (code == SKEW_OK && found.action == SKEW_LEVELLED) {
    const SkewTransform& size = found.transform;
    turned = allocate<uint8_t>(
        size.outHeight, static_cast<uint64_t>(size.outWidth) * static_cast<uint64_t>(image.pixel_bytes));
    const ptrdiff_t stride = static_cast<ptrdiff_t>(size.outWidth) * image.pixel_bytes;
    code = turned ? rotate(image, found.angle, found.canvas, found.fill, turned.get(), stride)
                  : SKEW_OUT_OF_MEMORY;
  }
  if (code != SKEW_OK) return code;
  *level = found;
  *result = reinterpret_cast<Pixel*>(turned.release());
  return SKEW_OK;
}

Image argb_image(const uint32_t* pixels, ptrdiff_t stride, int width, int height) {
  return {reinterpret_cast<const uint8_t*>(pixels), stride, width, height, 4};
}

}  // namespace

Buffer<uint8_t> gray_copy(const Image& image) {
  Buffer<uint8_t> gray = allocate<uint8_t>(image.height, image.width);
  for (int y = 0; gray && y < image.height; ++y) {
    uint8_t* const out = &gray[static_cast<ptrdiff_t>(y) * image.width];
    if (image.pixel_bytes == 1)
      std::memcpy(out, image.row(y), static_cast<size_t>(image.width));
    else if (image.pixel_bytes == 3)
      gray_from_rgb(image.row(y), image.width, out);
    else
      gray_from_argb(reinterpret_cast<const int32_t*>(image.row(y)), image.width, out);
  }
  return gray;
}

int judge(const Image& gray, int pixel_bytes, uint32_t border, const SkewLevelOptions* options,
          SkewLevel* level) {
  SkewPage page;
  SkewLevel found;
  int code = skew_measure_page(gray.pixels, gray.width, gray.height, gray.stride, &page);
  if (code == SKEW_OK) code = skew_decide_level(&page, gray.width, gray.height, options, &found);
  if (code != SKEW_OK) return code;
  const bool given = options != nullptr && options->fillMode == SKEW_FILL_GIVEN;
  found.fill = given ? shown(found.fill, pixel_bytes) : border;
  *level = found;
  return SKEW_OK;
}

int rotate(const Image& image, double angle, int canvas, uint32_t fill, uint8_t* out, ptrdiff_t out_stride) {
  const int width = image.width, height = image.height;
  if (image.pixel_bytes == 1)
    return skew_rotate_gray(image.pixels, image.stride, width, height, angle, canvas, out, out_stride,
                            static_cast<uint8_t>(luma_of_argb(fill)));
  if (image.pixel_bytes == 4)
    return skew_rotate_argb(reinterpret_cast<const uint32_t*>(image.pixels), image.stride, width, height,
                            angle, canvas, reinterpret_cast<uint32_t*>(out), out_stride, fill);
  const uint8_t colour[] = {static_cast<uint8_t>(fill >> 16), static_cast<uint8_t>(fill >> 8),
                            static_cast<uint8_t>(fill)};
  return skew_rotate_rgb(image.pixels, image.stride, width, height, angle, canvas, out, out_stride, colour);
}

}  // namespace skew

int skew_plan_gray(const unsigned char* pSrc, ptrdiff_t stride, int width, int height,
                   const SkewLevelOptions* pOptions, SkewLevel* pLevel) {
  return skew::plan({pSrc, stride, width, height, 1}, pOptions, pLevel);
}

int skew_plan_rgb(const unsigned char* pSrc, ptrdiff_t stride, int width, int height,
                  const SkewLevelOptions* pOptions, SkewLevel* pLevel) {
  return skew::plan({pSrc, stride, width, height, 3}, pOptions, pLevel);
}

int skew_plan_argb(const uint32_t* pSrc, ptrdiff_t stride, int width, int height,
                   const SkewLevelOptions* pOptions, SkewLevel* pLevel) {
  return skew::plan(skew::argb_image(pSrc, stride, width, height), pOptions, pLevel);
}

int skew_level_gray(const unsigned char* pSrc, ptrdiff_t stride, int width, int height,
                    const SkewLevelOptions* pOptions, unsigned char** ppDst, SkewLevel* pLevel) {
  return skew::make_level({pSrc, stride, width, height, 1}, pOptions, ppDst, pLevel);
}

int skew_level_rgb(const unsigned char* pSrc, ptrdiff_t stride, int width, int height,
                   const SkewLevelOptions* pOptions, unsigned char** ppDst, SkewLevel* pLevel) {
  return skew::make_level({pSrc, stride, width, height, 3}, pOptions, ppDst, pLevel);
}

int skew_level_argb(const uint32_t* pSrc, ptrdiff_t stride, int width, int height,
                    const SkewLevelOptions* pOptions, uint32_t** ppDst, SkewLevel* pLevel) {
  return skew::make_level(skew::argb_image(pSrc, stride, width, height), pOptions, ppDst, pLevel);
}
