#include <cstdlib>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench/operations.h"
#include "bench/pages.h"
#include "include/skewcorrection/analysis.h"
#include "include/skewcorrection/enhance.h"
#include "include/skewcorrection/skew.h"
#include "reference/components.h"
#include "reference/enhance.h"

namespace bench {
namespace {

// The filters work in place, so each round works on what the last one left; none of them is faster for it,
// but the stretch, whose image is put back first (the peer's too).
Operation smooth(const cv::Mat& page) {
  auto ours = std::make_shared<cv::Mat>(page.clone()), theirs = std::make_shared<cv::Mat>(page.clone());
  const int width = page.cols, height = page.rows;
  return {"ImgGaussSmooth",
          double(page.total()),
          2 * page.total(),
          {{"ours", [=] { ImgGaussSmooth(ours->data, width, height); }},
           {"plain", [=] { skew::reference::gauss_smooth(theirs->data, width, height); }},
           {"cv::GaussianBlur", [=] { cv::GaussianBlur(*theirs, *theirs, cv::Size(3, 3), 0); }}}};
}

Operation stretch(const cv::Mat& page) {
  cv::Mat dull;
  page.convertTo(dull, CV_8UC1, 0.3, 90);
  auto image = std::make_shared<cv::Mat>(dull.clone());
  auto start = std::make_shared<cv::Mat>(dull);
  const int width = page.cols, height = page.rows;
  return {"GrayStretch_T, with the image put back",
          double(page.total()),
          4 * page.total(),
          {{"ours",
            [=] {
              start->copyTo(*image);
              GrayStretch_T(image->data, width, height);
            }},
           {"plain",
            [=] {
              start->copyTo(*image);
              skew::reference::gray_stretch(image->data, width, height);
            }},
           {"cv::equalizeHist", [=] {
              start->copyTo(*image);
              cv::equalizeHist(*image, *image);
            }}}};
}

Operation dilate(const cv::Mat& map) {
  auto image = std::make_shared<cv::Mat>(map.clone());
  auto start = std::make_shared<cv::Mat>(map);
  auto out = std::make_shared<cv::Mat>(map.clone());
  const int width = map.cols, height = map.rows;
  return {"dilation, with the image put back",
          double(map.total()),
          2 * map.total(),
          {{"ours",
            [=] {
              start->copyTo(*image);
              dilation(image->data, width, height);
            }},
           {"plain",
            [=] {
              start->copyTo(*image);
              skew::reference::close_gaps(image->data, width, height);
            }},
           {"cv::dilate", [=] { cv::dilate(*start, *out, cv::Mat()); }}}};
}

Operation components(const cv::Mat& page) {
  auto map = std::make_shared<cv::Mat>(2000, 3000, CV_8UC1);
  cv::Mat part;
  cv::resize(page, part, map->size(), 0, 0, cv::INTER_AREA);
  CannyEdge(part.data, map->data, 60, 120, map->cols, map->rows, 90);
  return {"CCAnalysis, 3000 x 2000",
          double(map->total()),
          map->total(),
          {{"ours",
            [=] {
              int count = 0;
              std::free(CCAnalysis(map->data, map->cols, map->rows, &count, 1, 255));
            }},
           {"plain",
            [=] {
              int count = 0;
              std::free(skew::reference::cc_analysis(map->data, map->cols, map->rows, &count, 1, 255));
            }},
           {"cv::connectedComponentsWithStats", [=] {
              cv::Mat labels, stats, centres;
              cv::connectedComponentsWithStats(*map, labels, stats, centres, 8);
            }}}};
}

Operation barycenter(const cv::Mat& map_in) {
  auto map = std::make_shared<cv::Mat>(map_in);
  auto x = std::make_shared<int32_t>(), y = std::make_shared<int32_t>();
  return {"getBarycenter",
          double(map->total()),
          map->total(),
          {{"ours", [=] { getBarycenter(map->data, map->cols, map->rows, x.get(), y.get()); }},
           {"plain", [=] { skew::reference::barycenter(map->data, map->cols, map->rows, x.get(), y.get()); }},
           {"cv::moments", [=] { *x = static_cast<int32_t>(cv::moments(*map, true).m10); }}}};
}

}  // namespace

std::vector<Operation> analysis_operations(int width, int height) {
  const cv::Mat page = text_page(width, height, 3.4);
  cv::Mat map(height, width, CV_8UC1);
  CannyEdge(page.data, map.data, 60, 120, width, height, 90);
  return {components(page), smooth(page), stretch(page), barycenter(map), dilate(map)};
}

}  // namespace bench
