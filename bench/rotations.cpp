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

  double pixels() const { return double(width) * height; }

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

using Shared = std::shared_ptr<Images>;

Operation argb(const Shared& im, double degrees) {
  return {named("RotateARGBImage_INT_FOR_JNI", degrees),
          im->pixels(),
          8 * im->gray.total(),
          {{"ours",
            [=] {
              RotateARGBImage_INT_FOR_JNI(im->argb.data(), im->width, im->height, degrees,
                                          im->argb_out.data(), -1);
            }},
           {"plain",
            [=] {
              skew::reference::rotate_argb(im->argb.data(), im->width, im->height, degrees,
                                           im->argb_out.data(), -1);
            }},
           {"cv::warpAffine", [=] {
              im->warp({im->height, im->width, CV_8UC4, im->argb.data()},
                       {im->height, im->width, CV_8UC4, im->argb_out.data()}, degrees);
            }}}};
}

Operation rgb(const Shared& im, double degrees) {
  return {named("RotateRGBImage", degrees),
          im->pixels(),
          6 * im->gray.total(),
          {{"ours",
            [=] { RotateRGBImage(im->rgb.data(), im->width, im->height, degrees, im->rgb_out.data(), 0); }},
           {"plain",
            [=] {
              skew::reference::rotate_rgb(im->rgb.data(), im->width, im->height, degrees, im->rgb_out.data(),
                                          0);
            }},
           {"cv::warpAffine", [=] {
              im->warp({im->height, im->width, CV_8UC3, im->rgb.data()},
                       {im->height, im->width, CV_8UC3, im->rgb_out.data()}, degrees);
            }}}};
}

// Ours and the plain form allocate their result, so the peer gets a fresh one too.
Operation gray(const Shared& im, double degrees) {
  return {
      named("RotateGrayImage", degrees),
      im->pixels(),
      2 * im->gray.total(),
      {{"ours",
        [=] {
          uint8_t* out = nullptr;
          RotateGrayImage(im->gray.data, im->width, im->height, degrees, &out, -1);
          std::free(out);
        }},
       {"plain",
        [=] {
          std::vector<uint8_t> out(im->gray.total());
          skew::reference::rotate_gray(im->gray.data, im->width, im->height, degrees, out.data(), 255);
        }},
       {"cv::warpAffine", [=] { im->warp(im->gray, cv::Mat(im->height, im->width, CV_8UC1), degrees); }}}};
}

// In place: each round turns what the last one left, which takes the same time.
Operation fixed(const Shared& im, double degrees) {
  return {named("RotateImage", degrees),
          im->pixels(),
          4 * im->gray.total(),
          {{"ours",
            [=] { RotateImage(im->gray_out.data(), im->width, im->height, degrees, 0, nullptr, nullptr); }},
           {"plain",
            [=] {
              std::vector<uint8_t> out(im->gray_out.size(), 255);
              skew::reference::rotate_fixed(im->gray_out.data(), im->width, im->height, degrees, out.data());
              im->gray_out.swap(out);
            }},
           {"cv::warpAffine", [=] {
              cv::Mat out(im->height, im->width, CV_8UC1);
              im->warp(im->gray, out, degrees);
              out.copyTo(im->gray);
            }}}};
}

}  // namespace

std::vector<Operation> rotation_operations(int width, int height) {
  const cv::Mat page = text_page(width, height, 3.4);
  auto im = std::make_shared<Images>(Images{width, height, page, as_argb(page), {}, as_rgb(page), {}, {}});
  im->argb_out.resize(page.total());
  im->rgb_out.resize(3 * page.total());
  im->gray_out.assign(page.begin<uint8_t>(), page.end<uint8_t>());

  std::vector<Operation> all;
  for (const double degrees : {0.2, 3.4, -20.0})
    for (const auto make : {argb, rgb, gray, fixed}) all.push_back(make(im, degrees));
  return all;
}

}  // namespace bench
