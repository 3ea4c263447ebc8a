// Rotation of RGB and ARGB images into images of the caller.
#include "core/buffer.h"
#include "include/skewcorrection/rotate.h"
#include "rotate/job.h"
#include "rotate/table_turn.h"

namespace skew {
namespace {

// Both images are tight: rows of width pixels, each of the given number of bytes.
int rotate_tight(PixelFormat format, int pixel_bytes, const void* source, int width, int height, double angle,
                 void* destination, uint32_t fill) {
  if (!valid_rotation(source, width, height, angle, destination)) return SKEW_INVALID_ARGUMENT;
  const uint64_t row = static_cast<uint64_t>(width) * static_cast<uint64_t>(pixel_bytes);
  const size_t bytes = checked_bytes<uint8_t>(height, row);
  if (bytes == 0) return SKEW_OUT_OF_MEMORY;

  const int index = angle_index(angle);
  if (index == 0) {
    std::memcpy(destination, source, bytes);
    return SKEW_OK;
  }
  const ptrdiff_t stride = static_cast<ptrdiff_t>(row);
  run_rotation({format, table_rotation(width, height, table_turn(angle, index)),
                static_cast<const uint8_t*>(source), stride, static_cast<uint8_t*>(destination), stride,
                fill});
  return SKEW_OK;
}

}  // namespace
}  // namespace skew

int RotateRGBImage(const unsigned char* pSrc, int width, int height, double angle, unsigned char* pDst,
                   unsigned char fill) {
  return skew::rotate_tight(skew::PixelFormat::kRgb, 3, pSrc, width, height, angle, pDst, fill * 0x010101u);
}

int RotateARGBImage_INT_FOR_JNI(const int* pSrc, int width, int height, double angle, int* pDst, int fill) {
  return skew::rotate_tight(skew::PixelFormat::kArgb, 4, pSrc, width, height, angle, pDst,
                            static_cast<uint32_t>(fill));
}
