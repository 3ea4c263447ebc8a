#include "bench/pages.h"

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <string>

namespace bench {
namespace {

// Sentences of random length from a small stock of words, so that no two lines look alike.
std::string text_line(cv::RNG& random, size_t letters) {
  static const char* const words[] = {"the",   "page",   "lies", "level",  "when",    "every", "line",
                                      "of",    "text",   "runs", "along",  "a",       "row",   "and",
                                      "scans", "taken",  "in",   "hurry",  "seldom",  "do",    "so",
                                      "from",  "phones", "by",   "window", "daylight"};
  std::string line;
  while (line.size() < letters) line += std::string(words[random.uniform(0, 26)]) + " ";
  return line.substr(0, letters);
}

}  // namespace

cv::Mat text_page(int width, int height, double degrees) {
  cv::RNG random(20);
  const double scale = height / 1500.0;
  cv::Mat page(height, width, CV_8UC1, cv::Scalar(235));
  const int pitch = std::max(8, static_cast<int>(30 * scale));
  const int margin = width / 10;
  for (int y = height / 10; y < height * 9 / 10; y += pitch) {
    if (random.uniform(0, 9) == 0) continue;  // the gap between two paragraphs
    const auto letters = static_cast<size_t>((width - 2 * margin) / (14.5 * scale)) - random.uniform(0, 6);
    cv::putText(page, text_line(random, letters), {margin, y}, cv::FONT_HERSHEY_COMPLEX, 0.7 * scale,
                cv::Scalar(40), std::max(1, static_cast<int>(1.5 * scale)), cv::LINE_AA);
  }
  const cv::Point2f centre(width * 0.5f - 0.5f, height * 0.5f - 0.5f);
  const cv::Mat turn = cv::getRotationMatrix2D(centre, -degrees, 1.0);
  cv::warpAffine(page, page, turn, page.size(), cv::INTER_CUBIC, cv::BORDER_REPLICATE);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const double shade = 1.0 - 0.25 * x / width - 0.1 * y / height;
      page.at<uint8_t>(y, x) =
          cv::saturate_cast<uint8_t>(page.at<uint8_t>(y, x) * shade + random.gaussian(2.0));
    }
  return page;
}

std::vector<int32_t> as_argb(const cv::Mat& gray) {
  std::vector<int32_t> argb;
  argb.reserve(gray.total());
  for (auto it = gray.begin<uint8_t>(); it != gray.end<uint8_t>(); ++it)
    argb.push_back(static_cast<int32_t>(0xFF000000u | *it * 0x10100u | (*it * 7u / 8u)));
  return argb;
}

std::vector<uint8_t> as_rgb(const cv::Mat& gray) {
  std::vector<uint8_t> rgb;
  rgb.reserve(gray.total() * 3);
  for (auto it = gray.begin<uint8_t>(); it != gray.end<uint8_t>(); ++it)
    rgb.insert(rgb.end(), {*it, *it, static_cast<uint8_t>(*it * 7 / 8)});
  return rgb;
}

}  // namespace bench
