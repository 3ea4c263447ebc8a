// Rotation of a gray image in place with weights in 1/256, its band worker, and the points that go with it.
#include "core/buffer.h"
#include "include/skewcorrection/rotate.h"
#include "rotate/job.h"
#include "rotate/table_turn.h"

// The record is part of the published interface.
static_assert(sizeof(void*) != 8 ||
              (sizeof(RotateImageParam) == 40 && offsetof(RotateImageParam, pDst) == 8 &&
               offsetof(RotateImageParam, width) == 16 && offsetof(RotateImageParam, height) == 20 &&
               offsetof(RotateImageParam, angle) == 24 && offsetof(RotateImageParam, startX) == 32 &&
               offsetof(RotateImageParam, endX) == 36));
static_assert(sizeof(void*) != 4 ||
              (sizeof(RotateImageParam) == 32 && offsetof(RotateImageParam, pDst) == 4 &&
               offsetof(RotateImageParam, width) == 8 && offsetof(RotateImageParam, height) == 12 &&
               offsetof(RotateImageParam, angle) == 16 && offsetof(RotateImageParam, startX) == 24 &&
               offsetof(RotateImageParam, endX) == 28));

namespace skew {
namespace {

constexpr int kPoints = 4;

// The inverse of the image's mapping, so that a point follows the content. Coordinates in 1/65536; the
// offsets are halved and the results cut down toward minus infinity. A result beyond an int keeps its low 32
// bits.
void move_points(int* xs, int* ys, int width, int height, Turn turn) {
  const int64_t c = turn.cosine, s = turn.sine;
  const int64_t right = width - int64_t{1}, bottom = height - int64_t{1};
  const int64_t offset_x = (right * 65536 - c * right - s * bottom) >> 1;
  const int64_t offset_y = (bottom * 65536 - c * bottom + s * right) >> 1;
  for (int i = 0; i < kPoints; ++i) {
    const int64_t x = xs[i], y = ys[i];
    xs[i] = static_cast<int>((c * x + s * y + offset_x) >> 16);
    ys[i] = static_cast<int>((c * y - s * x + offset_y) >> 16);
  }
}

// Positions are worked out in 1/65536 with the offsets halved toward zero, so the last half unit is dropped.
Rotation fixed_rotation(int width, int height, Turn turn) {
  Rotation rotation = rotation_about_centre({width, height}, {width, height}, turn, Border::kInner);
  rotation.origin_x = rotation.origin_x / 2 * 2;
  rotation.origin_y = rotation.origin_y / 2 * 2;
  return rotation;
}

}  // namespace
}  // namespace skew

int RotateImage(unsigned char* pImage, int width, int height, double angle, int fillValue, int* pPointX,
                int* pPointY) {
  using namespace skew;
  const int index = angle_index(angle);
  if (index == kNoAngleIndex) return SKEW_INVALID_ARGUMENT;

  const Buffer<uint8_t> rotated =
      allocate<uint8_t>(static_cast<uint64_t>(height), static_cast<uint64_t>(width));
  if (!rotated) return SKEW_NO_WORKING_MEMORY;
  if (index == 0) return SKEW_OK;

  const size_t bytes = static_cast<size_t>(width) * static_cast<size_t>(height);
  std::memset(rotated.get(), fillValue == 0 ? 255 : fillValue & 255, bytes);
  RotateImageParam whole = {pImage, rotated.get(), width, height, angle, 0, width};
  RotateImageMT(&whole);
  if (bytes != 0) std::memcpy(pImage, rotated.get(), bytes);
  if (pPointX != nullptr && pPointY != nullptr)
    move_points(pPointX, pPointY, width, height, table_turn(angle, index));
  return SKEW_OK;
}

void* RotateImageMT(void* pParam) {
  using namespace skew;
  const RotateImageParam& param = *static_cast<const RotateImageParam*>(pParam);
  const int index = angle_index(param.angle);
  if (index == kNoAngleIndex || index == 0) return nullptr;

  const int begin = param.startX < 0 ? 0 : param.startX;
  const int end = param.endX < param.width ? param.endX : param.width;
  const Rotation rotation = fixed_rotation(param.width, param.height, table_turn(param.angle, index));
  if (begin < end)
    run_rotation({PixelFormat::kGrayFixed, rotation, param.pSrc, param.width, param.pDst, param.width, 0},
                 {begin, end});
  return nullptr;
}
