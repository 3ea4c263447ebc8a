// The images that the benchmark works on: a page of real text, turned, shaded and noisy, at any size.
#pragma once

#include <opencv2/core.hpp>

#include <cstdint>
#include <vector>

namespace bench {

// 8-bit gray, width x height, its lines falling by the given angle.
cv::Mat text_page(int width, int height, double degrees);

// The same as ARGB integers (blue in the low byte) and as packed R, G, B bytes.
std::vector<int32_t> as_argb(const cv::Mat& gray);
std::vector<uint8_t> as_rgb(const cv::Mat& gray);

}  // namespace bench
