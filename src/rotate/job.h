// One rotation of an image: what to read, what to write, and by which rule.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/forms.h"
#include "rotate/geometry.h"

namespace skew {

enum class PixelFormat {
  kGray,      // one byte, rounded to nearest
  kRgb,       // three bytes, each rounded to nearest
  kArgb,      // 32 bits: three colours rounded down, alpha of the upper left neighbour
  kGrayFixed  // one byte, weights in 1/256; pixels without a source are left alone
};

struct RotationJob {
  PixelFormat format;
  Rotation rotation;
  const uint8_t* source;
  ptrdiff_t source_stride;  // bytes from row to row
  uint8_t* destination;
  ptrdiff_t destination_stride;
  uint32_t fill;  // the pixel in its own format, the first byte lowest
};

struct RotationKernels {
  // Writes the destination columns of the band, which must lie within the destination. The images may not overlap.
  void (*rotate)(const RotationJob& job, Columns band);
};
SKEW_DECLARE_FORMS_TO_64(RotationKernels)

// The same with the form for this processor.
void run_rotation(const RotationJob& job, Columns band);
void run_rotation(const RotationJob& job);  // all columns

}  // namespace skew
