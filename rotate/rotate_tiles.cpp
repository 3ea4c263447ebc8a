// The pixel loop of all rotations.
//
// The destination is walked in small tiles, since their sources are small too: row by row the source crosses
// hundreds of memory pages, more than the processor keeps addresses of. In each row the pixels that have a
// source form one run, whose ends are found once; so no pixel is tested.
#include "core/simd.h"
#include "rotate/bilinear.h"
#include "rotate/job.h"

namespace skew {
inline namespace SKEW_LANES {
namespace {

constexpr int kTileColumns = 32;
constexpr int kTileRows = 16;

constexpr int lesser(int a, int b) { return a < b ? a : b; }
constexpr int greater(int a, int b) { return a < b ? b : a; }

// The part of the columns that lies in the tile; empty, at one end of the tile, if none does.
Columns within(Columns columns, Columns tile) {
  const int begin = lesser(greater(columns.begin, tile.begin), tile.end);
  return {begin, greater(begin, lesser(columns.end, tile.end))};
}

int64_t clamped(int64_t position, int length) {
  const int64_t last = (length - int64_t{1}) * kPositionOne;
  return position < 0 ? 0 : position > last ? last : position;
}

// One pixel at any position that has a value.
template <class Pixel>
void write_pixel(const RotationJob& job, const Pixel& pixel, int64_t x, int64_t y, uint8_t* to) {
  const Size size = job.rotation.source;
  if (job.rotation.border == Border::kClamped) {
    x = clamped(x, size.width);
    y = clamped(y, size.height);
  }
  const int64_t column = x < 0 ? 0 : x >> kPositionBits, row = y < 0 ? 0 : y >> kPositionBits;
  const ptrdiff_t right = column + 1 < size.width ? Pixel::kBytes : 0;
  const ptrdiff_t below = row + 1 < size.height ? job.source_stride : 0;
  const uint8_t* at = job.source + static_cast<ptrdiff_t>(row) * job.source_stride +
                      static_cast<ptrdiff_t>(column) * Pixel::kBytes;
  pixel.write(
      to, {at, at + right, at + below, at + below + right},
      {static_cast<int32_t>(x - column * kPositionOne), static_cast<int32_t>(y - row * kPositionOne)});
}

// Pixels one by one; the definition of all of them.
template <class Pixel>
void write_plain(const RotationJob& job, const Pixel& pixel, int y, Columns columns, uint8_t* row) {
  const Rotation& r = job.rotation;
  for (int x = columns.begin; x < columns.end; ++x)
    write_pixel(job, pixel, r.origin_x + int64_t{x} * r.step_x - int64_t{y} * r.step_y,
                r.origin_y + int64_t{x} * r.step_y + int64_t{y} * r.step_x,
                row + static_cast<ptrdiff_t>(x) * Pixel::kBytes);
}

template <class Pixel>
void write_tile_row(const RotationJob& job, const Pixel& pixel, int y, const Runs& runs, Columns tile) {
  uint8_t* row = job.destination + y * job.destination_stride;
  const Columns valued = within(runs.valued, tile);
  pixel.fill(row + static_cast<ptrdiff_t>(tile.begin) * Pixel::kBytes, valued.begin - tile.begin);
  write_plain(job, pixel, y, valued, row);
  pixel.fill(row + static_cast<ptrdiff_t>(valued.end) * Pixel::kBytes, tile.end - valued.end);
}

template <class Pixel>
void write_tiles(const RotationJob& job, const Pixel& pixel, Columns band) {
  for (int64_t top = 0; top < job.rotation.destination.height; top += kTileRows) {
    const int first = static_cast<int>(top);
    const int rows = lesser(kTileRows, job.rotation.destination.height - first);
    Runs runs[kTileRows];
    for (int i = 0; i < rows; ++i) runs[i] = find_runs(job.rotation, first + i, band);
    for (int64_t left = band.begin; left < band.end; left += kTileColumns) {
      const int begin = static_cast<int>(left);
      const Columns tile = {begin, begin + lesser(kTileColumns, band.end - begin)};
      for (int i = 0; i < rows; ++i) write_tile_row(job, pixel, first + i, runs[i], tile);
    }
  }
}

}  // namespace

void rotate_tiles(const RotationJob& job, Columns band) {
  switch (job.format) {
    case PixelFormat::kGray:
      return write_tiles(job, BytePixel<1>{job.fill}, band);
    case PixelFormat::kRgb:
      return write_tiles(job, BytePixel<3>{job.fill}, band);
    case PixelFormat::kArgb:
      return write_tiles(job, ArgbPixel{job.fill}, band);
    case PixelFormat::kGrayFixed:
      return write_tiles(job, FixedPixel{}, band);
  }
}

}  // namespace SKEW_LANES
}  // namespace skew
