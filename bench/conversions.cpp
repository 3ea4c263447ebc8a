#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench/operations.h"
#include "bench/pages.h"
#include "include/skewcorrection/convert.h"
#include "reference/convert.h"

namespace bench {
namespace {

struct Images {
  int width, height;
  std::vector<int32_t> argb;
  std::vector<uint8_t> rgb, gray, rgb_out;

  cv::Mat mat(std::vector<uint8_t>& bytes, int type) const { return {height, width, type, bytes.data()}; }
  cv::Mat argb_mat() { return {height, width, CV_8UC4, argb.data()}; }
};

}  // namespace

std::vector<Operation> conversion_operations(int width, int height) {
  const cv::Mat page = text_page(width, height, 3.4);
  const double pixels = double(width) * height;
  const auto n = static_cast<size_t>(pixels);
  auto im = std::make_shared<Images>(Images{width, height, as_argb(page), as_rgb(page), {}, {}});
  im->gray.resize(n);
  im->rgb_out.resize(3 * n);
  return {
      {"ConvertImageDataToGray_and_CopyToGlobalBuffer",
       pixels,
       5 * n,
       {{"ours",
         [im] { ConvertImageDataToGray_and_CopyToGlobalBuffer(im->argb.data(), im->width, im->height); }},
        {"plain",
         [im] { skew::reference::argb_to_gray(im->argb.data(), im->gray.data(), im->width, im->height); }},
        {"cv::cvtColor",
         [im] { cv::cvtColor(im->argb_mat(), im->mat(im->gray, CV_8UC1), cv::COLOR_BGRA2GRAY); }}}},
      {"image_rgb2gray",
       pixels,
       4 * n,
       {{"ours", [im] { image_rgb2gray(im->rgb.data(), im->width, im->height, im->gray.data()); }},
        {"plain",
         [im] { skew::reference::rgb_to_gray(im->rgb.data(), im->gray.data(), im->width, im->height); }},
        {"cv::cvtColor",
         [im] { cv::cvtColor(im->mat(im->rgb, CV_8UC3), im->mat(im->gray, CV_8UC1), cv::COLOR_RGB2GRAY); }}}},
      {"ConvertImageData_INTtoBYTE",
       pixels,
       7 * n,
       {{"ours",
         [im] { ConvertImageData_INTtoBYTE(im->argb.data(), im->rgb_out.data(), im->width, im->height); }},
        {"plain",
         [im] { skew::reference::argb_to_rgb(im->argb.data(), im->rgb_out.data(), im->width, im->height); }},
        {"cv::cvtColor",
         [im] { cv::cvtColor(im->argb_mat(), im->mat(im->rgb_out, CV_8UC3), cv::COLOR_BGRA2RGB); }}}},
  };
}

}  // namespace bench
