// The four converters: whole vectors first (pixel_rows.h), then the plain loops, which also say what is
// meant.
#include "convert/pixel_format.h"

#include "convert/luma.h"
#include "convert/pixel_rows.h"
#include "core/cpu.h"
#include "include/skewcorrection/convert.h"

namespace skew {
namespace {

#if SKEW_SIMD

struct PixelRows {
  int64_t (*gray_from_argb)(const int32_t* argb, int64_t count, uint8_t* gray);
  int64_t (*gray_from_rgb)(const uint8_t* rgb, int64_t count, uint8_t* gray);
  int64_t (*rgb_from_argb)(const int32_t* argb, int64_t count, uint8_t* rgb);
};

PixelRows pixel_rows() {
#if defined(SKEW_WIDER_FORMS)
  if (vector_bytes() >= 32)
    return {lanes32::gray_from_argb_vectors, lanes32::gray_from_rgb_vectors, lanes32::rgb_from_argb_vectors};
#endif
  return {gray_from_argb_vectors, gray_from_rgb_vectors, rgb_from_argb_vectors};
}

#endif

}  // namespace

void gray_from_argb(const int32_t* argb, int64_t count, uint8_t* gray) {
  int64_t i = 0;
#if SKEW_SIMD
  i = pixel_rows().gray_from_argb(argb, count, gray);
#endif
  for (; i < count; ++i) gray[i] = static_cast<uint8_t>(luma_of_argb(static_cast<uint32_t>(argb[i])));
}

void gray_from_rgb(const uint8_t* rgb, int64_t count, uint8_t* gray) {
  int64_t i = 0;
#if SKEW_SIMD
  i = pixel_rows().gray_from_rgb(rgb, count, gray);
#endif
  for (; i < count; ++i) gray[i] = static_cast<uint8_t>(luma(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]));
}

void rgb_from_argb(const int32_t* argb, int64_t count, uint8_t* rgb) {
  int64_t i = 0;
#if SKEW_SIMD
  i = pixel_rows().rgb_from_argb(argb, count, rgb);
#endif
  for (; i < count; ++i) {
    const uint32_t pixel = static_cast<uint32_t>(argb[i]);
    rgb[3 * i] = static_cast<uint8_t>(pixel >> 16);
    rgb[3 * i + 1] = static_cast<uint8_t>(pixel >> 8);
    rgb[3 * i + 2] = static_cast<uint8_t>(pixel);
  }
}

}  // namespace skew

int GetYfromRGB(unsigned char r, unsigned char g, unsigned char b) { return skew::luma(r, g, b); }

void ImageConvert_RGB888toGray(const unsigned char* pRGB, unsigned char* pGray, int width, int height) {
  skew::gray_from_rgb(pRGB, skew::pixel_count(width, height), pGray);
}

void image_rgb2gray(const unsigned char* pRGB, int width, int height, unsigned char* pGray) {
  skew::gray_from_rgb(pRGB, skew::pixel_count(width, height), pGray);
}

void ConvertImageData_INTtoBYTE(const int* pARGB, unsigned char* pRGB, int width, int height) {
  skew::rgb_from_argb(pARGB, skew::pixel_count(width, height), pRGB);
}
