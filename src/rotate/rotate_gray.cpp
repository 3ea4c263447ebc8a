// Rotation of a gray image into a new one.
#include "core/buffer.h"
#include "include/skewcorrection/rotate.h"
#include "rotate/job.h"
#include "rotate/table_turn.h"

int RotateGrayImage(const unsigned char* pSrc, int width, int height, double angle, unsigned char** ppDst,
                    char fill) {
  using namespace skew;
  if (!valid_rotation(pSrc, width, height, angle, ppDst)) return SKEW_INVALID_ARGUMENT;

  *ppDst = nullptr;
  Buffer<uint8_t> rotated = allocate<uint8_t>(height, width);
  if (!rotated) return SKEW_OUT_OF_MEMORY;

  const int index = angle_index(angle);
  if (index == 0) {
    std::memcpy(rotated.get(), pSrc, static_cast<size_t>(width) * static_cast<size_t>(height));
  } else {
    run_rotation({PixelFormat::kGray, table_rotation(width, height, table_turn(angle, index)), pSrc, width,
                  rotated.get(), width, static_cast<uint8_t>(fill)});
  }
  *ppDst = rotated.release();
  return SKEW_OK;
}
