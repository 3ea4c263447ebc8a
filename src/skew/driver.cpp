// SkewCorrection: reduce, map the edges, find the content, search its angle.
#include "skew/driver.h"

#include <cmath>

#include "core/buffer.h"
#include "core/raster.h"
#include "core/sample2x2.h"
#include "include/skewcorrection/skew.h"
#include "skew/content_box.h"
#include "skew/one_step_search.h"

namespace skew {
namespace {

constexpr int kSmallestSide = 32;
constexpr int kWorkingSide = 192;
constexpr int kLowThreshold = 60, kHighThreshold = 120, kHighCapPercent = 90;
constexpr double kLevel = 0.001;  // degrees; less is no skew

constexpr int64_t raised_to_4(int64_t width) { return (width + 3) & ~int64_t{3}; }

// The sides as given and the reduced page can be worked on in 32 bits, and the page in the address space.
bool fits(int height, ptrdiff_t stride, const WorkingSize& size) {
  return int64_t{stride} * height <= PTRDIFF_MAX && size.width <= INT32_MAX && size.height <= INT32_MAX &&
         size.width * size.height <= INT32_MAX;
}

// The box as a region of the map that starts at its first pixel: a small square, wherever it lies.
ImgROI region_of(const Box& square) {
  ImgROI region = {};
  region.right = static_cast<uint16_t>(square.right - square.left);
  region.bottom = static_cast<uint16_t>(square.bottom - square.top);
  return region;
}

int search_content(const uint8_t* edges, int width, int height, double* degrees) {
  Box square;
  {
    const Buffer<uint8_t> counts = allocate<uint8_t>(width);
    if (!counts) return SKEW_OUT_OF_MEMORY;
    square = square_of(find_content_box(edges, width, height, counts.get()));
  }
  OneStepResult found;
  const uint8_t* first = edges + static_cast<ptrdiff_t>(square.top) * width + square.left;
  if (one_step_search(first, width, region_of(square), &found) != SKEW_OK) return SKEW_ANGLE_SEARCH_FAILED;
  *degrees = std::fabs(found.degrees()) < kLevel ? 0.0 : found.degrees();
  return SKEW_OK;
}

}  // namespace

WorkingSize working_size(int width, int height) {
  const int64_t w = width, h = height;
  if (w < kWorkingSide || h < kWorkingSide) return {raised_to_4(w), raised_to_4(w) * h / w};
  if (w > h) return {raised_to_4(kWorkingSide * w / h), kWorkingSide};
  return {kWorkingSide, kWorkingSide * h / w};
}

int measure_skew(const uint8_t* gray, int width, int height, ptrdiff_t stride, double* degrees) {
  if (gray == nullptr || width < kSmallestSide) return SKEW_INVALID_ARGUMENT;
  if (degrees == nullptr || height < kSmallestSide || stride < width) return SKEW_INVALID_ARGUMENT;
  const WorkingSize size = working_size(width, height);
  if (!fits(height, stride, size)) return SKEW_INVALID_ARGUMENT;

  const int working_width = static_cast<int>(size.width), working_height = static_cast<int>(size.height);
  Buffer<uint8_t> reduced = allocate<uint8_t>(working_width, working_height);
  if (!reduced) return SKEW_OUT_OF_MEMORY;
  if (!sample2x2(gray, stride, width, height, reduced.get(), working_width, working_width, working_height))
    return SKEW_OUT_OF_MEMORY;
  const Buffer<uint8_t> edges = allocate<uint8_t>(working_width, working_height);
  if (!edges) return SKEW_OUT_OF_MEMORY;
  if (CannyEdge(reduced.get(), edges.get(), kLowThreshold, kHighThreshold, working_width, working_height,
                kHighCapPercent) != 0)
    return SKEW_EDGE_DETECTION_FAILED;
  reduced.reset();
  return search_content(edges.get(), working_width, working_height, degrees);
}

}  // namespace skew

int SkewCorrection(const unsigned char* pSrc, int width, int height, double* pAngle) {
  return skew::measure_skew(pSrc, width, height, skew::padded_stride(width), pAngle);
}
