// The four converters.
#include "convert/pixel_format.h"

#include "convert/luma.h"
#include "convert/pixel_rows.h"
#include "include/skewcorrection/convert.h"

namespace skew {

void gray_from_argb(const int32_t* argb, int64_t count, uint8_t* gray) {
  kernels<PixelRows>().gray_from_argb(argb, count, gray);
}

void gray_from_rgb(const uint8_t* rgb, int64_t count, uint8_t* gray) {
  kernels<PixelRows>().gray_from_rgb(rgb, count, gray);
}

void rgb_from_argb(const int32_t* argb, int64_t count, uint8_t* rgb) {
  kernels<PixelRows>().rgb_from_argb(argb, count, rgb);
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
