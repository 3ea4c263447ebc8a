// Rows are added up first, with weights of 1/256 that sum to 256, into 16-bit columns; then each working
// pixel takes the difference of two prefix sums of the columns. All in integers.
#include "page/area_average.h"

#include <cmath>

#include "page/kernels.h"

namespace skew {
namespace {

constexpr int64_t kOne = 65536;  // a step of one source pixel

int64_t position(int64_t index, int64_t step) { return (index * step) >> 8; }  // 1/256 source pixel

// The weighted sum of the source rows between two positions. Each weight is what is left of 256 in proportion
// to what is left of the way, so that they add up to 256 exactly.
void add_rows(const uint8_t* pixels, int width, ptrdiff_t stride, int64_t from, int64_t to, uint16_t* sums) {
  std::memset(sums, 0, sizeof(uint16_t) * static_cast<size_t>(width));
  int64_t left = 256;
  for (int64_t at = from; at < to;) {
    const int64_t row_end = (at | 255) + 1, next = row_end < to ? row_end : to;
    const int64_t weight = left * (next - at) / (to - at);
    kernels<PageKernels>().add_row(pixels + static_cast<ptrdiff_t>(at >> 8) * stride, width,
                                   static_cast<int>(weight), sums);
    left -= weight;
    at = next;
  }
}

// One boundary between working columns.
struct Cut {
  uint32_t column, fraction;  // source column, and how much of it lies before the cut, 1/256
};

void average_columns(const uint16_t* sums, int width, const Cut* cuts, const uint32_t* spans,
                     uint64_t* prefix, int count, uint8_t* out) {
  uint64_t total = 0;
  for (int x = 0; x < width; ++x) {
    prefix[x] = total;
    total += sums[x];
  }
  prefix[width] = total;
  uint64_t before = 0;
  for (int i = 0; i < count; ++i) {
    const Cut cut = cuts[i + 1];
    const uint64_t part = cut.fraction != 0 ? uint64_t{cut.fraction} * sums[cut.column] : 0;
    const uint64_t here = prefix[cut.column] * 256 + part;
    // Both weights are 1/256, rows summing to 256 and columns to the span. A quotient of such small numbers
    // in doubles, rounded down, is the exact one.
    const int mean = static_cast<int>(static_cast<double>(here - before) / spans[i]);
    out[i] = static_cast<uint8_t>((mean + 128) >> 8);
    before = here;
  }
}

}  // namespace

ReducedSize reduced_size(int width, int height) {
  const int64_t shorter = width < height ? width : height, longer = width < height ? height : width;
  const double pixels = static_cast<double>(shorter) * static_cast<double>(longer);
  const int64_t steps[] = {
      kOne, (shorter << 16) / kReducedSide, (longer << 16) / kLongestReducedSide + 1,
      pixels > kReducedPixels ? static_cast<int64_t>(std::sqrt(pixels / kReducedPixels) * kOne) + 1 : kOne};
  int64_t step = steps[0];
  if (shorter > kReducedSide && steps[1] > step) step = steps[1];
  if (longer > kLongestReducedSide && steps[2] > step) step = steps[2];
  if (steps[3] > step) step = steps[3];
  ReducedSize size;
  size.step = step;
  size.width = static_cast<int>((static_cast<int64_t>(width) << 16) / step);
  size.height = static_cast<int>((static_cast<int64_t>(height) << 16) / step);
  return size;
}

bool area_average(const uint8_t* pixels, int width, ptrdiff_t stride, const ReducedSize& size, uint8_t* out,
                  ptrdiff_t out_stride) {
  if (size.step == kOne) {
    for (int y = 0; y < size.height; ++y)
      std::memcpy(out + y * out_stride, pixels + y * stride, static_cast<size_t>(size.width));
    return true;
  }
  const Buffer<uint16_t> sums = allocate<uint16_t>(width);
  const Buffer<uint64_t> prefix = allocate<uint64_t>(static_cast<uint64_t>(width) + 1);
  const Buffer<Cut> cuts = allocate<Cut>(static_cast<uint64_t>(size.width) + 1);
  const Buffer<uint32_t> spans = allocate<uint32_t>(size.width);
  if (!sums || !prefix || !cuts || !spans) return false;
  for (int i = 0; i <= size.width; ++i) {
    const int64_t at = position(i, size.step);
    cuts[i] = {static_cast<uint32_t>(at >> 8), static_cast<uint32_t>(at & 255)};
    if (i > 0) spans[i - 1] = static_cast<uint32_t>(at - position(i - 1, size.step));
  }
  for (int y = 0; y < size.height; ++y) {
    add_rows(pixels, width, stride, position(y, size.step), position(y + 1, size.step), sums.get());
    average_columns(sums.get(), width, cuts.get(), spans.get(), prefix.get(), size.width,
                    out + y * out_stride);
  }
  return true;
}

}  // namespace skew
