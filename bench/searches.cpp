#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench/leptonica_image.h"
#include "bench/operations.h"
#include "bench/pages.h"
#include "include/skewcorrection/skew.h"
#include "reference/canny.h"
#include "reference/search.h"
#include "reference/shrink.h"
#include "reference/three_step.h"

namespace bench {
namespace {

ImgROI box(int left, int top, int width, int height) {
  ImgROI roi{};
  roi.left = static_cast<uint16_t>(left);
  roi.right = static_cast<uint16_t>(left + width - 1);
  roi.top = static_cast<uint16_t>(top);
  roi.bottom = static_cast<uint16_t>(top + height - 1);
  return roi;
}

// The edge map of a page, thinned at random to about the given number of points.
cv::Mat edge_map_with(int width, int height, int points) {
  const cv::Mat page = text_page(width, height, 3.4);
  cv::Mat map(height, width, CV_8UC1);
  CannyEdge(page.data, map.data, 60, 120, width, height, 90);
  const int found = cv::countNonZero(map);
  cv::RNG random(7);
  for (auto it = map.begin<uint8_t>(); it != map.end<uint8_t>(); ++it)
    if (*it != 0 && random.uniform(0, found) >= points) *it = 0;
  return map;
}

// Leptonica's sweep and search over 45 degrees; the reductions are 1, 2 or 4.
void sweep_and_search(PIX* bits, int sweep_reduction, int search_reduction) {
  l_float32 angle = 0, confidence = 0, score = 0;
  pixFindSkewSweepAndSearchScore(bits, &angle, &confidence, &score, sweep_reduction, search_reduction, 0.0f,
                                 45.0f, 1.0f, 0.01f);
}

Operation canny(int width, int height) {
  auto page = std::make_shared<cv::Mat>(text_page(width, height, 3.4));
  auto out = std::make_shared<cv::Mat>(height, width, CV_8UC1);
  const double pixels = double(width) * height;
  return {"CannyEdge, " + std::to_string(width) + " x " + std::to_string(height),
          pixels,
          static_cast<size_t>(2 * pixels),
          {{"ours", [=] { CannyEdge(page->data, out->data, 60, 120, width, height, 90); }},
           {"plain", [=] { skew::reference::canny(page->data, out->data, 60, 120, width, height, 90); }},
           {"cv::Canny", [=] { cv::Canny(*page, *out, 60, 120, 3, false); }}}};
}

Operation one_step() {
  auto map = std::make_shared<cv::Mat>(edge_map_with(192, 192, 8000));
  std::shared_ptr<PIX> bits(bit_pix(*map).release(), PixDestroy());
  auto angle = std::make_shared<double>();
  return {"SkewAngleDetect_HOR_OneStep, 189 x 189",
          189.0 * 189,
          189 * 189,
          {{"ours", [=] { SkewAngleDetect_HOR_OneStep(map->data, 192, box(1, 1, 189, 189), angle.get()); }},
           {"plain", [=] { *angle = skew::reference::one_step_search(map->data, 192, box(1, 1, 189, 189)); }},
           {"Leptonica, sweep 1/4, search 1/2", [=] { sweep_and_search(bits.get(), 4, 2); }}}};
}

// The projection tables of one kind, built as a caller would: products rounded down.
std::vector<uint16_t> products(int rows, int length, double step, double (*function)(double)) {
  std::vector<uint16_t> table;
  for (int k = 0; k < rows; ++k)
    for (int c = 0; c < length; ++c)
      table.push_back(static_cast<uint16_t>(c * function(k * step * CV_PI / 180)));
  return table;
}

struct ThreeStep {
  int width = 760, height = 1000;
  cv::Mat map = edge_map_with(width, height, 60000);
  std::vector<uint16_t> coarse_sin = products(40, width, 1.0, std::sin);
  std::vector<uint16_t> coarse_cos = products(40, height, 1.0, std::cos);
  std::vector<uint16_t> fine_sin = products(200, width, 0.2, std::sin);
  std::vector<uint16_t> fine_cos = products(200, height, 0.2, std::cos);
  double angle = 0, score = 0, copy = 0;

  void run_ours() {
    SkewAngleDetect_ThreeSteps_F(map.data, width, box(0, 0, width, height), &angle, coarse_sin.data(),
                                 coarse_cos.data(), fine_sin.data(), fine_cos.data(), &score, &copy);
  }
  void run_plain() {
    angle =
        skew::reference::three_steps_horizontal(map.data, width, box(0, 0, width, height), coarse_sin.data(),
                                                coarse_cos.data(), fine_sin.data(), fine_cos.data())
            .angle;
  }
};

Operation three_steps() {
  auto data = std::make_shared<ThreeStep>();
  std::shared_ptr<PIX> bits(bit_pix(data->map).release(), PixDestroy());
  const double pixels = double(data->width) * data->height;
  return {"SkewAngleDetect_ThreeSteps_F, 760 x 1000",
          pixels,
          static_cast<size_t>(pixels),
          {{"ours", [=] { data->run_ours(); }},
           {"plain", [=] { data->run_plain(); }},
           {"Leptonica, full size", [=] { sweep_and_search(bits.get(), 1, 1); }},
           {"Leptonica, sweep 1/4, search 1/2", [=] { sweep_and_search(bits.get(), 4, 2); }}}};
}

Operation shrink(int width, int height) {
  auto page = std::make_shared<cv::Mat>(text_page(width, height, 3.4));
  auto half = std::make_shared<cv::Mat>(height / 2, width / 2, CV_8UC1);
  const double pixels = double(width) * height;
  const ImgROI whole = box(0, 0, width, height);
  return {
      "ImgShrink_TrackNew, to half size",
      pixels,
      static_cast<size_t>(1.25 * pixels),
      {{"ours",
        [=] { ImgShrink_TrackNew(page->data, width, height, whole, half->data, half->cols, half->rows); }},
       {"plain",
        [=] {
          skew::reference::shrink(page->data, width, width, height, half->data, half->cols, half->cols,
                                  half->rows);
        }},
       {"cv::resize, area", [=] { cv::resize(*page, *half, half->size(), 0, 0, cv::INTER_AREA); }},
       {"cv::resize, linear", [=] { cv::resize(*page, *half, half->size(), 0, 0, cv::INTER_LINEAR); }}}};
}

}  // namespace

std::vector<Operation> search_operations(int width, int height) {
  return {canny(256, 192), canny(width, height), one_step(), three_steps(), shrink(width, height)};
}

}  // namespace bench
