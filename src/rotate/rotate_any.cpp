// Rotation by any angle, keeping the canvas or expanding it.
#include <cstring>

#include "core/raster.h"
#include "include/skewcorrection/rotate.h"
#include "rotate/job.h"

namespace skew {
namespace {

constexpr double kHalfTurn = 180;  // degrees
constexpr int kOne = 65536;        // 1.0 as a sine or cosine

int64_t magnitude(int64_t value) { return value < 0 ? -value : value; }

// A side of the box around a turned image, rounded up to whole pixels.
int64_t box_side(int along, int32_t along_share, int across, int32_t across_share) {
  return (along * magnitude(along_share) + across * magnitude(across_share) + kOne - 1) / kOne;
}

// The size of the destination, in *size. Returns a result code.
int find_size(Size source, double angle, int canvas, Size* size) {
  const bool angle_in_range = angle >= -kHalfTurn && angle <= kHalfTurn;  // false for NaN
  if (source.width < 1 || source.height < 1 || !angle_in_range) return SKEW_INVALID_ARGUMENT;
  if (canvas != SKEW_CANVAS_KEEP && canvas != SKEW_CANVAS_EXPAND) return SKEW_INVALID_ARGUMENT;
  *size = source;
  if (canvas == SKEW_CANVAS_KEEP) return SKEW_OK;

  const Turn turn = turn_by(angle);
  const int64_t width = box_side(source.width, turn.cosine, source.height, turn.sine);
  const int64_t height = box_side(source.height, turn.cosine, source.width, turn.sine);
  if (width > INT32_MAX || height > INT32_MAX) return SKEW_OUT_OF_MEMORY;
  *size = {static_cast<int>(width), static_cast<int>(height)};
  return SKEW_OK;
}

bool holds_rows(ptrdiff_t stride, int width, int pixel_bytes) {
  return row_distance(stride) >= static_cast<uint64_t>(width) * static_cast<uint64_t>(pixel_bytes) &&
         stride % (pixel_bytes == 4 ? 4 : 1) == 0;
}

struct Raster {
  const uint8_t* source;
  ptrdiff_t source_stride;
  uint8_t* destination;
  ptrdiff_t destination_stride;
};

void copy_rows(const Raster& raster, size_t row_bytes, int height) {
  for (ptrdiff_t y = 0; y < height; ++y)
    std::memcpy(raster.destination + y * raster.destination_stride, raster.source + y * raster.source_stride,
                row_bytes);
}

int rotate_any(PixelFormat format, int pixel_bytes, const Raster& raster, Size source, double angle,
               int canvas, uint32_t fill) {
  Size size;
  const int result = find_size(source, angle, canvas, &size);
  if (result != SKEW_OK) return result;
  if (raster.source == nullptr || raster.destination == nullptr ||
      !holds_rows(raster.source_stride, source.width, pixel_bytes) ||
      !holds_rows(raster.destination_stride, size.width, pixel_bytes))
    return SKEW_INVALID_ARGUMENT;
  if (!is_addressable(raster.source_stride, source.height) ||
      !is_addressable(raster.destination_stride, size.height))
    return SKEW_OUT_OF_MEMORY;

  const Turn turn = turn_by(angle);
  if (turn.sine == 0 && turn.cosine == kOne) {
    copy_rows(raster, static_cast<size_t>(source.width) * static_cast<size_t>(pixel_bytes), source.height);
    return SKEW_OK;
  }
  run_rotation({format, rotation_about_centre(source, size, turn, Border::kClamped), raster.source,
                raster.source_stride, raster.destination, raster.destination_stride, fill});
  return SKEW_OK;
}

}  // namespace
}  // namespace skew

int skew_rotated_size(int width, int height, double angle, int canvas, int* pOutWidth, int* pOutHeight) {
  skew::Size size;
  if (pOutWidth == nullptr || pOutHeight == nullptr) return SKEW_INVALID_ARGUMENT;
  const int result = skew::find_size({width, height}, angle, canvas, &size);
  if (result != SKEW_OK) return result;
  *pOutWidth = size.width;
  *pOutHeight = size.height;
  return SKEW_OK;
}

int skew_rotate_gray(const unsigned char* pSrc, ptrdiff_t srcStride, int width, int height, double angle,
                     int canvas, unsigned char* pDst, ptrdiff_t dstStride, unsigned char fill) {
  return skew::rotate_any(skew::PixelFormat::kGray, 1, {pSrc, srcStride, pDst, dstStride}, {width, height},
                          angle, canvas, fill);
}

int skew_rotate_rgb(const unsigned char* pSrc, ptrdiff_t srcStride, int width, int height, double angle,
                    int canvas, unsigned char* pDst, ptrdiff_t dstStride, const unsigned char* pFill) {
  if (pFill == nullptr) return SKEW_INVALID_ARGUMENT;
  const uint32_t fill =
      pFill[0] | static_cast<uint32_t>(pFill[1]) << 8 | static_cast<uint32_t>(pFill[2]) << 16;
  return skew::rotate_any(skew::PixelFormat::kRgb, 3, {pSrc, srcStride, pDst, dstStride}, {width, height},
                          angle, canvas, fill);
}

int skew_rotate_argb(const uint32_t* pSrc, ptrdiff_t srcStride, int width, int height, double angle,
                     int canvas, uint32_t* pDst, ptrdiff_t dstStride, uint32_t fill) {
  return skew::rotate_any(
      skew::PixelFormat::kArgb, 4,
      {reinterpret_cast<const uint8_t*>(pSrc), srcStride, reinterpret_cast<uint8_t*>(pDst), dstStride},
      {width, height}, angle, canvas, fill);
}
