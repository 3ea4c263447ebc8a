// Cuts out a region; too large ones through the sampled 2 x 2 mean.
#include <cstddef>
#include <cstring>

#include "core/buffer.h"
#include "core/raster.h"
#include "core/sample2x2.h"
#include "include/skewcorrection/enhance.h"

namespace skew {
namespace {

struct Size {
  int width, height;
  int64_t pixels() const { return int64_t{width} * height; }
};

constexpr int cut_to_4(int width) { return width & ~3; }

// The size of the half-open box; without pixels when it is inverted.
Size size_of(const ImgROI& box) {
  return {box.right > box.left ? box.right - box.left : 0, box.bottom > box.top ? box.bottom - box.top : 0};
}

// Both sides divided by the smallest whole number, 2 or more, that meets the budget, which is not negative.
Size reduced(const Size& size, int64_t budget) {
  int k = 2;
  while (budget < Size{size.width / k, size.height / k}.pixels()) ++k;
  return {cut_to_4(size.width / k), size.height / k};
}

}  // namespace
}  // namespace skew

uint8_t* ImgExtFit_Track_ROI(const uint8_t* pSrc, int width, int /*height*/, int* pOutWidth, int* pOutHeight,
                             ImgROI roi, int* pScaled, int16_t maxWidth, int16_t maxHeight) {
  const int64_t budget = int64_t{maxWidth} * maxHeight;
  const skew::Size region = skew::size_of(roi);
  skew::Size size = {skew::cut_to_4(region.width), region.height};
  const bool scaled = size.pixels() > budget;
  *pScaled = scaled ? 1 : 0;
  if (budget < 0) return nullptr;
  if (scaled) size = skew::reduced(region, budget);
  if (size.pixels() == 0) return nullptr;

  skew::Buffer<uint8_t> out = skew::allocate<uint8_t>(size.height, size.width);
  if (!out) return nullptr;
  const ptrdiff_t stride = skew::padded_stride(width);
  const uint8_t* from = pSrc + roi.top * stride + roi.left;
  if (!scaled)
    for (int y = 0; y < size.height; ++y)
      std::memcpy(&out[ptrdiff_t{y} * size.width], from + y * stride, static_cast<size_t>(size.width));
  else if (!skew::sample2x2(from, stride, region.width, region.height, out.get(), size.width, size.width,
                            size.height))
    return nullptr;
  *pOutWidth = size.width;
  *pOutHeight = size.height;
  return out.release();
}
