// The conversions of pixels, `count` of them in a row. Nothing past the last one is read or written, and source and
// destination may start at the same address.
#pragma once

#include "core/forms.h"

namespace skew {

struct PixelRows {
  void (*gray_from_argb)(const int32_t* argb, int64_t count, uint8_t* gray);
  void (*gray_from_rgb)(const uint8_t* rgb, int64_t count, uint8_t* gray);
  void (*rgb_from_argb)(const int32_t* argb, int64_t count, uint8_t* rgb);
};
SKEW_DECLARE_FORMS(PixelRows)

}  // namespace skew
