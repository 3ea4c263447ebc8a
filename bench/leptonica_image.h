// Leptonica's image type from ours.
#pragma once

#include <leptonica/allheaders.h>

#include <memory>
#include <opencv2/core.hpp>

namespace bench {

struct PixDestroy {
  void operator()(PIX* pix) const { pixDestroy(&pix); }
};
using Pix = std::unique_ptr<PIX, PixDestroy>;

// 8 bits a pixel from a gray image.
inline Pix gray_pix(const cv::Mat& gray) {
  PIX* pix = pixCreate(gray.cols, gray.rows, 8);
  for (int y = 0; y < gray.rows; ++y) {
    l_uint32* row = pixGetData(pix) + static_cast<ptrdiff_t>(y) * pixGetWpl(pix);
    for (int x = 0; x < gray.cols; ++x) SET_DATA_BYTE(row, x, gray.at<uint8_t>(y, x));
  }
  return Pix(pix);
}

// 1 bit a pixel: set where the image is not zero.
inline Pix bit_pix(const cv::Mat& map) {
  PIX* pix = pixCreate(map.cols, map.rows, 1);
  for (int y = 0; y < map.rows; ++y)
    for (int x = 0; x < map.cols; ++x)
      if (map.at<uint8_t>(y, x) != 0) pixSetPixel(pix, x, y, 1);
  return Pix(pix);
}

}  // namespace bench
