#include "reference/shrink.h"

#include <cstdlib>

namespace skew::reference {

void shrink(const uint8_t* region, ptrdiff_t stride, int width, int height, uint8_t* out,
            ptrdiff_t out_stride, int out_width, int out_height) {
  int32_t* map = static_cast<int32_t*>(std::malloc(out_width * sizeof(int32_t)));
  if (map == nullptr) std::abort();
  const double scale_x = static_cast<double>(width) / out_width;
  const double scale_y = static_cast<double>(height) / out_height;
  for (int i = 0; i < out_width; ++i) map[i] = static_cast<int>(i * scale_x);
  const int averaged_rows = static_cast<int>((height - 1.0) / scale_y);
  const int averaged_columns = static_cast<int>((width - 1.0) / scale_x);

  for (int j = 0; j < out_height; ++j) {
    const uint8_t* s = region + static_cast<int>(j * scale_y) * stride;
    for (int i = 0; i < out_width; ++i) {
      const int m = i < averaged_columns || i == 0 ? map[i] : map[i - 1];
      int value;
      if (j < averaged_rows && i < averaged_columns) {
        value = (s[m] + s[m + 1] + s[m + stride] + s[m + stride + 1]) >> 2;
      } else if (j < averaged_rows) {
        value = (s[m] + s[m + stride]) >> 1;
      } else if (i < averaged_columns) {
        value = (s[m] + s[m + 1]) >> 1;
      } else {
        value = s[m];
      }
      out[j * out_stride + i] = static_cast<uint8_t>(value);
    }
  }
  std::free(map);
}

}  // namespace skew::reference
