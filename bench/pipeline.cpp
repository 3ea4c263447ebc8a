#include <jni.h>

#include <cstring>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench/leptonica_image.h"
#include "bench/operations.h"
#include "bench/pages.h"
#include "include/skewcorrection/skew.h"
#include "reference/convert.h"
#include "reference/driver.h"
#include "reference/rotate.h"

extern "C" jint
Java_com_narvo_android_lumetrix_imageprocessing_ImgSkewCorrectionLib_ImgSkewCorrect_1ImageLoadingMode(
    JNIEnv*, jobject, jintArray, jintArray, jint, jint);

namespace bench {
namespace {

// ---- Peers: the skew of a page ----

// As commonly used: binarise, then find over the default 7 degrees.
void leptonica_find(PIX* gray) {
  const Pix bits(pixThresholdToBinary(gray, 130));
  l_float32 angle = 0, confidence = 0;
  pixFindSkew(bits.get(), &angle, &confidence);
}

// Sampled down to our working size first.
void leptonica_find_small(PIX* gray, double scale, float range) {
  const auto factor = static_cast<l_float32>(scale);
  const Pix small(pixScaleBySampling(gray, factor, factor));
  const Pix bits(pixThresholdToBinary(small.get(), 130));
  l_float32 angle = 0, confidence = 0, score = 0;
  pixFindSkewSweepAndSearchScore(bits.get(), &angle, &confidence, &score, 4, 2, 0.0f, range, 1.0f, 0.01f);
}

Operation driver(int width, int height) {
  auto page = std::make_shared<cv::Mat>(text_page(width, height, 3.4));
  std::shared_ptr<PIX> pix(gray_pix(*page).release(), PixDestroy());
  auto angle = std::make_shared<double>();
  const double pixels = double(width) * height;
  const double scale = 768.0 / std::min(width, height);
  return {"SkewCorrection",
          pixels,
          192 * 256 * 4,
          {{"ours", [=] { SkewCorrection(page->data, width, height, angle.get()); }},
           {"plain", [=] { *angle = skew::reference::skew_of(page->data, width, height, width); }},
           {"Leptonica, binarise and find", [=] { leptonica_find(pix.get()); }},
           {"Leptonica, sampled down, 45 degrees", [=] { leptonica_find_small(pix.get(), scale, 45.0f); }},
           {"Leptonica, sampled down, 7 degrees", [=] { leptonica_find_small(pix.get(), scale, 7.0f); }}}};
}

// ---- Peers: the page made level ----

struct ColourPage {
  int width, height;
  std::vector<int32_t> argb, out;
  std::shared_ptr<PIX> pix;

  cv::Mat mat() { return {height, width, CV_8UC4, argb.data()}; }
  cv::Mat out_mat() { return {height, width, CV_8UC4, out.data()}; }

  void warp(double degrees) {
    const cv::Point2f centre(width * 0.5f - 0.5f, height * 0.5f - 0.5f);
    cv::warpAffine(mat(), out_mat(), cv::getRotationMatrix2D(centre, degrees, 1.0), cv::Size(width, height),
                   cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar::all(255));
  }

  cv::Mat small_gray() {
    cv::Mat small, gray;
    cv::resize(mat(), small, cv::Size(width / 8, height / 8), 0, 0, cv::INTER_AREA);
    cv::cvtColor(small, gray, cv::COLOR_BGRA2GRAY);
    return gray;
  }
};

void opencv_box(ColourPage& page) {
  cv::Mat bits;
  cv::threshold(page.small_gray(), bits, 0, 255, cv::THRESH_BINARY_INV | cv::THRESH_OTSU);
  std::vector<cv::Point> points;
  cv::findNonZero(bits, points);
  double angle = cv::minAreaRect(points).angle;
  if (angle > 45) angle -= 90;
  page.warp(angle);
}

void opencv_hough(ColourPage& page) {
  cv::Mat edges;
  cv::Canny(page.small_gray(), edges, 60, 120);
  std::vector<cv::Vec4i> lines;
  cv::HoughLinesP(edges, lines, 1, CV_PI / 900, 80, page.width / 32.0, 4);
  std::vector<double> angles;
  for (const cv::Vec4i& line : lines) {
    const double angle = std::atan2(line[3] - line[1], line[2] - line[0]) * 180 / CV_PI;
    if (std::abs(angle) < 45) angles.push_back(angle);
  }
  std::sort(angles.begin(), angles.end());
  page.warp(angles.empty() ? 0.0 : angles[angles.size() / 2]);
}

// ---- The library's whole Java call, through a function table that hands arrays out without copying ----

jint* elements(JNIEnv*, jintArray array, jboolean*) { return reinterpret_cast<jint*>(array); }
void release(JNIEnv*, jintArray, jint*, jint) {}

void java_call(ColourPage& page) {
  JNINativeInterface_ table;
  std::memset(&table, 0, sizeof table);
  table.GetIntArrayElements = elements;
  table.ReleaseIntArrayElements = release;
  JNIEnv_ env;
  env.functions = &table;
  Java_com_narvo_android_lumetrix_imageprocessing_ImgSkewCorrectionLib_ImgSkewCorrect_1ImageLoadingMode(
      &env, reinterpret_cast<jobject>(&page), reinterpret_cast<jintArray>(page.argb.data()),
      reinterpret_cast<jintArray>(page.out.data()), page.width, page.height);
}

void plain_call(ColourPage& page) {
  std::vector<uint8_t> gray(page.argb.size());
  skew::reference::argb_to_gray(page.argb.data(), gray.data(), page.width, page.height);
  const double angle = skew::reference::skew_of(gray.data(), page.width, page.height, page.width);
  skew::reference::rotate_argb(page.argb.data(), page.width, page.height, angle, page.out.data(), -1);
}

Operation whole_call(int width, int height) {
  const cv::Mat gray = text_page(width, height, 3.4);
  auto page = std::make_shared<ColourPage>();
  *page = {width, height, as_argb(gray), std::vector<int32_t>(gray.total()), nullptr};
  page->pix.reset(pixConvertTo32(gray_pix(gray).get()), PixDestroy());
  const double pixels = double(width) * height;
  return {"ImgSkewCorrect_ImageLoadingMode",
          pixels,
          static_cast<size_t>(8 * pixels),
          {{"ours", [=] { java_call(*page); }},
           {"plain", [=] { plain_call(*page); }},
           {"OpenCV, box and warp", [=] { opencv_box(*page); }},
           {"OpenCV, Hough and warp", [=] { opencv_hough(*page); }},
           {"Leptonica, pixDeskew", [=] { const Pix level(pixDeskew(page->pix.get(), 0)); }}}};
}

}  // namespace

std::vector<Operation> pipeline_operations(int width, int height) {
  return {driver(width, height), whole_call(width, height)};
}

}  // namespace bench
