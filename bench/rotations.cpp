#include <cstdio>
#include <cstdlib>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench/operations.h"
#include "bench/pages.h"
#include "include/skewcorrection/rotate.h"
#include "reference/rotate.h"

namespace bench {
namespace {

struct Images {
  int width, height;
  cv::Mat gray;
  std::vector<int32_t> argb, argb_out;
  std::vector<uint8_t> rgb, rgb_out, gray_out;

  // What the rotations do, in the peer's terms: the content turns counter-clockwise by a positive angle.
  void warp(const cv::Mat& from, cv::Mat to, double degrees) const {
    const cv::Point2f centre(width * 0.5f - 0.5f, height * 0.5f - 0.5f);
    cv::warpAffine(from, to, cv::getRotationMatrix2D(centre, degrees, 1.0), to.size(), cv::INTER_LINEAR,
                   cv::BORDER_CONSTANT, cv::Scalar::all(255));
  }
};

std::string named(const char* function, double degrees) {
  char text[80];
  std::snprintf(text, sizeof text, "%s, %.1f degrees", function, degrees);
  return text;
}

}  // namespace

std::vector<Operation> rotation_operations(int width, int height) {
  const cv::Mat page = text_page(width, height, 3.4);
  const double pixels = double(width) * height;
  const auto n = static_cast<size_t>(pixels);
  auto im = std::make_shared<Images>(Images{width, height, page, as_argb(page), {}, as_rgb(page), {}, {}});
  im->argb_out.resize(n);
  im->rgb_out.resize(3 * n);
  im->gray_out.assign(page.begin<uint8_t>(), page.end<uint8_t>());

  std::vector<Operation> all;
  for (const double degrees : {0.2, 3.4, -20.0}) {
    all.push_back({named("RotateARGBImage_INT_FOR_JNI", degrees),
                   pixels,
                   8 * n,
                   {{"ours",
                     [im, degrees] {
                       RotateARGBImage_INT_FOR_JNI(im->argb.data(), im->width, im->height, degrees,
                                                   im->argb_out.data(), -1);
                     }},
                    {"plain",
                     [im, degrees] {
                       skew::reference::rotate_argb(im->argb.data(), im->width, im->height, degrees,
                                                    im->argb_out.data(), -1);
                     }},
                    {"cv::warpAffine", [im, degrees] {
                       im->warp({im->height, im->width, CV_8UC4, im->argb.data()},
                                {im->height, im->width, CV_8UC4, im->argb_out.data()}, degrees);
                     }}}});
    all.push_back({named("RotateRGBImage", degrees),
                   pixels,
                   6 * n,
                   {{"ours",
                     [im, degrees] {
                       RotateRGBImage(im->rgb.data(), im->width, im->height, degrees, im->rgb_out.data(), 0);
                     }},
                    {"plain",
                     [im, degrees] {
                       skew::reference::rotate_rgb(im->rgb.data(), im->width, im->height, degrees,
                                                   im->rgb_out.data(), 0);
                     }},
                    {"cv::warpAffine", [im, degrees] {
                       im->warp({im->height, im->width, CV_8UC3, im->rgb.data()},
                                {im->height, im->width, CV_8UC3, im->rgb_out.data()}, degrees);
                     }}}});
    // Both allocate their result, so the peer gets a fresh one too.
    all.push_back(
        {named("RotateGrayImage", degrees),
         pixels,
         2 * n,
         {{"ours",
           [im, degrees] {
             uint8_t* out = nullptr;
             RotateGrayImage(im->gray.data, im->width, im->height, degrees, &out, -1);
             std::free(out);
           }},
          {"plain",
           [im, degrees] {
             std::vector<uint8_t> out(im->gray.total());
             skew::reference::rotate_gray(im->gray.data, im->width, im->height, degrees, out.data(), 255);
           }},
          {"cv::warpAffine",
           [im, degrees] { im->warp(im->gray, cv::Mat(im->height, im->width, CV_8UC1), degrees); }}}});
    // In place: each round turns what the last one left, which takes the same time.
    all.push_back({named("RotateImage", degrees),
                   pixels,
                   4 * n,
                   {{"ours",
                     [im, degrees] {
                       RotateImage(im->gray_out.data(), im->width, im->height, degrees, 0, nullptr, nullptr);
                     }},
                    {"plain",
                     [im, degrees] {
                       std::vector<uint8_t> out(im->gray_out.size(), 255);
                       skew::reference::rotate_fixed(im->gray_out.data(), im->width, im->height, degrees,
                                                     out.data());
                       im->gray_out.swap(out);
                     }},
                    {"cv::warpAffine", [im, degrees] {
                       cv::Mat out(im->height, im->width, CV_8UC1);
                       im->warp(im->gray, out, degrees);
                       out.copyTo(im->gray);
                     }}}});
  }
  return all;
}

}  // namespace bench
