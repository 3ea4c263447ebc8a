// CannyEdge: reads the raster row by row into bits, joins the bits, writes them out as bytes.
#include "skew/edge_map.h"

#include "core/buffer.h"
#include "core/raster.h"
#include "include/skewcorrection/skew.h"

namespace skew {
namespace {

constexpr int kFailed = -1;
constexpr int kLeastMaximum = 128;  // the strongest gradient counts as at least this

int limited(int64_t threshold) {
  if (threshold < 0) return 0;
  return static_cast<int>(threshold > kLargestGradient ? kLargestGradient + 1 : threshold);
}

// The high threshold, or the given share of the strongest gradient if that is less.
int64_t capped(int high, int strongest, int percent) {
  const int64_t limit = int64_t{strongest < kLeastMaximum ? kLeastMaximum : strongest} * percent;
  return int64_t{high} * 100 > limit ? limit / 100 : high;
}

// The cap hardly ever applies, so the pass runs with the high threshold as it is, and again if it has to be
// lower.
void mark_with_cap(GradientPass& pass, int high, int percent) {
  const EdgeKernels& kernel = kernels<EdgeKernels>();
  pass.high = limited(high);
  const int used = limited(capped(high, kernel.mark_candidates(pass), percent));
  if (used == pass.high) return;
  pass.high = used;
  kernel.mark_candidates(pass);
}

// The border columns repeat the ones beside them.
void fill_border_columns(uint64_t* row, int width) {
  const auto bit = [&](int x) { return (row[x >> 6] >> (x & 63)) & 1; };
  row[0] |= bit(1);
  row[(width - 1) >> 6] |= bit(width - 2) << ((width - 1) & 63);
}

void write_row(const uint64_t* bits, ptrdiff_t stride, uint8_t* out) {
  ptrdiff_t x = 0;
#if SKEW_SIMD
  for (; x + kLanes8 <= stride; x += kLanes8) store(out + x, expand_bits(bits[x >> 6] >> (x & 63)));
#endif
  for (; x < stride; ++x) out[x] = static_cast<uint8_t>(-((bits[x >> 6] >> (x & 63)) & 1));
}

void write_map(const EdgeBits& bits, int width, int height, uint8_t* out) {
  const ptrdiff_t stride = padded_stride(width);
  for (int y = 1; y < height - 1; ++y) {
    fill_border_columns(bits.edges + y * bits.words, width);
    write_row(bits.edges + y * bits.words, stride, out + y * stride);
  }
  // The border rows too; of two rows neither has an edge.
  write_row(bits.edges + (height > 2 ? bits.words : 0), stride, out);
  write_row(bits.edges + (height > 2 ? (height - 2) * bits.words : 0), stride, out + (height - 1) * stride);
}

}  // namespace
}  // namespace skew

int CannyEdge(const unsigned char* pSrc, unsigned char* pDst, int lowThreshold, int highThreshold, int width,
              int height, int highCapPercent) {
  using namespace skew;
  if (pSrc == nullptr || pDst == nullptr || width < 2 || height < 2) return kFailed;
  const ptrdiff_t stride = padded_stride(width);
  if (stride < width || int64_t{stride} * height > INT32_MAX) return kFailed;
  const ptrdiff_t words = (ptrdiff_t{width} + 63) / 64, work_row = 64 * words + 2 * kWorkMargin;
  const ptrdiff_t plane = words * height + 2;  // with a word on both sides
  const Buffer<uint64_t> bits = allocate_zeroed<uint64_t>(plane, 2);
  const Buffer<int16_t> work = allocate_zeroed<int16_t>(work_row, kWorkRows);
  const Buffer<uint32_t> links = allocate_zeroed<uint32_t>(words, height);
  if (!bits || !work || !links) return kFailed;

  const bool swapped = highThreshold < lowThreshold;
  const int low = swapped ? highThreshold : lowThreshold, high = swapped ? lowThreshold : highThreshold;
  const EdgeBits edge_bits = {bits.get() + 1, bits.get() + plane + 1, words};
  GradientPass pass = {pSrc, stride, width, height, limited(low), 0, work.get(), work_row, edge_bits};
  mark_with_cap(pass, high, highCapPercent);
  spread_edges(edge_bits, height, links.get());
  write_map(edge_bits, width, height, pDst);
  return SKEW_OK;
}
