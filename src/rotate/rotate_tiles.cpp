// The pixel loop of all rotations.
//
// The destination is walked in small tiles, since their sources are small too: row by row the source crosses
// hundreds of memory pages, more than the processor keeps addresses of. In each row the pixels that have a
// source form one run, whose ends are found once; so no pixel is tested. The bands of tiles are taken from
// the end at which each source row is met from left to right: processors foresee reads that go upwards in memory.
#include "core/simd.h"
#include "rotate/bilinear.h"
#include "rotate/job.h"

namespace skew {
namespace {

#if !SKEW_SIMD
constexpr int kTileColumns = 128;
#endif
constexpr int kTileRows = 8;

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
  for (int x = columns.begin; x < columns.end; ++x) {
    write_pixel(job, pixel, r.origin_x + int64_t{x} * r.step_x - int64_t{y} * r.step_y,
                r.origin_y + int64_t{x} * r.step_y + int64_t{y} * r.step_x,
                row + static_cast<ptrdiff_t>(x) * Pixel::kBytes);
  }
}

#if SKEW_SIMD
// Offsets of a tile are held in 32 bits; images with rows longer than this are rotated pixel by pixel.
constexpr ptrdiff_t kLongestRow = 1 << 23;

// The steps of a rotation, ready for the pixels of a row.
struct Steps {
  explicit Steps(const Rotation& r) : along_x(r.step_x), along_y(r.step_y) {
    for (int i = 0; i < kLanes32; ++i) {
      lanes_x[i] = i * r.step_x;
      lanes_y[i] = i * r.step_y;
    }
    const int64_t rise = int64_t{kLanes32 - 1} * (r.step_y < 0 ? -r.step_y : r.step_y);
    row_changes = static_cast<int>((rise + kPositionOne - 1) >> kPositionBits);
  }
  I32 lanes_x, lanes_y;      // from the first pixel of a vector to each
  int32_t along_x, along_y;  // from one pixel to the next
  int row_changes;           // at most so many from the first to the last pixel of a vector
};

// The source of some neighbouring pixels of a destination row. All neighbours lie in the source.
struct Piece {
  const uint8_t* from;  // upper left neighbour of the first pixel
  ptrdiff_t stride;
  int32_t x, y;  // fractions of the first pixel
  int count;
};

constexpr int32_t kFractionMask = kPositionOne - 1;

// Gathers the neighbours of a piece one by one.
template <class Pixel>
void gather(const Steps& steps, const Piece& piece, TileRow& row) {
  using Lanes = typename Pixel::Lanes;
  const ptrdiff_t stride = piece.stride;
  I32 xs = steps.lanes_x + piece.x, ys = steps.lanes_y + piece.y;
  for (int i = 0; i < piece.count; i += kLanes32) {
    store(row.offset + i,
          (ys >> kPositionBits) * static_cast<int32_t>(stride) + (xs >> kPositionBits) * Pixel::kBytes);
    store(row.x + i, xs & kFractionMask);
    store(row.y + i, ys & kFractionMask);
    xs += steps.along_x * kLanes32;
    ys += steps.along_y * kLanes32;
  }
  for (int i = 0; i < piece.count; ++i) {
    const uint8_t* at = piece.from + row.offset[i];
    row.upper[i] = Lanes::read_pair(at);
    row.lower[i] = Lanes::read_pair(at + stride);
  }
}

// Blends what was gathered and writes that many pixels.
template <class Pixel>
void write_gathered(const TileRow& row, int count, uint8_t* to) {
  using Lanes = typename Pixel::Lanes;
  const auto blend = [&row](int i) {
    return Pixel::blend(Lanes::load_pair(row.upper + i), Lanes::load_pair(row.lower + i),
                        load<I32>(row.x + i), load<I32>(row.y + i));
  };
  uint8_t part[kTileColumns * Pixel::kBytes];
  uint8_t* pixels = count == kTileColumns ? to : part;
  for (int i = 0; i < count; i += kLanes16)
    Lanes::store_pixels(pixels + i * Pixel::kBytes, blend(i), blend(i + kLanes32));
  if (pixels == part) std::memcpy(to, part, static_cast<size_t>(count) * Pixel::kBytes);
}

#if SKEW_LOOKUP
inline U32 select_pair(I32 mask, U32 a, U32 b) { return select(mask, a, b); }
inline Pairs select_pair(I32 mask, const Pairs& a, const Pairs& b) {
  return {select(mask, a.first, b.first), select(mask, a.second, b.second)};
}

// One vector of pixels. They lie in few source rows and, along each, in no more columns than there are lanes:
// so each row is looked up for all of them, and each pixel keeps what comes from its own.
template <class Pixel>
SKEW_INLINE U32 look_up_pixels(const Steps& steps, const Piece& piece, int first, int row_changes) {
  const int32_t x = piece.x + first * steps.along_x, y = piece.y + first * steps.along_y;
  const int32_t y_last = y + (kLanes32 - 1) * steps.along_y;
  const int32_t column = x >> kPositionBits, top = (y < y_last ? y : y_last) >> kPositionBits;
  const I32 xs = steps.lanes_x + x, ys = steps.lanes_y + y;
  const typename Pixel::Lanes::Window window((xs >> kPositionBits) - column);
  const I32 rows = (ys >> kPositionBits) - top;

  const uint8_t* from = piece.from + top * piece.stride + column * Pixel::kBytes;
  auto upper = window.read(from);
  from += piece.stride;
  auto lower = window.read(from), next = lower;
  for (int k = 1; k <= row_changes; ++k) {
    const I32 here = rows == k;
    upper = select_pair(here, next, upper);
    from += piece.stride;
    next = window.read(from);
    lower = select_pair(here, next, lower);
  }
  return Pixel::blend(upper, lower, xs & kFractionMask, ys & kFractionMask);
}

// As many pixels as a tile is wide.
template <class Pixel>
SKEW_INLINE void write_looked_up(const Steps& steps, const Piece& piece, int row_changes, uint8_t* to) {
  for (int i = 0; i < kTileColumns; i += kLanes16) {
    Pixel::Lanes::store_pixels(to + i * Pixel::kBytes, look_up_pixels<Pixel>(steps, piece, i, row_changes),
                               look_up_pixels<Pixel>(steps, piece, i + kLanes32, row_changes));
  }
}

// Whether lookups pay for a piece, whose first pixel has the given position, and stay within the source.
template <class Window>
bool can_look_up(const Rotation& r, const Steps& steps, int64_t x, int64_t y, int count) {
  if (steps.row_changes > Window::kMostRowChanges || count < kTileColumns || r.step_x < 0) return false;
  const int64_t last_x = x + (count - kLanes32) * int64_t{r.step_x};  // of the last vector
  const int64_t last_y = y + (count - 1) * int64_t{r.step_y};
  const int64_t lowest_row = (y < last_y ? last_y : y) >> kPositionBits;
  return (last_x >> kPositionBits) + Window::kColumns <= r.source.width &&
         lowest_row + greater(steps.row_changes, 1) + 1 < r.source.height;
}
#endif

// Pixels whose neighbours all lie in the source, at most a tile's width of them. Returns how many of them are
// gathered in `row` and still to be blended: all or none.
template <class Pixel>
int fetch_inner(const RotationJob& job, const Steps& steps, int y, Columns columns, uint8_t* to,
                TileRow& row) {
  const Rotation& r = job.rotation;
  const int64_t from_x = r.origin_x + int64_t{columns.begin} * r.step_x - int64_t{y} * r.step_y;
  const int64_t from_y = r.origin_y + int64_t{columns.begin} * r.step_y + int64_t{y} * r.step_x;
  const Piece piece = {job.source + static_cast<ptrdiff_t>(from_y >> kPositionBits) * job.source_stride +
                           static_cast<ptrdiff_t>(from_x >> kPositionBits) * Pixel::kBytes,
                       job.source_stride, static_cast<int32_t>(from_x & kFractionMask),
                       static_cast<int32_t>(from_y & kFractionMask), columns.end - columns.begin};
#if SKEW_LOOKUP
  using Window = typename Pixel::Lanes::Window;
  if (can_look_up<Window>(r, steps, from_x, from_y, piece.count)) {
    if (steps.row_changes <= 1) {
      write_looked_up<Pixel>(steps, piece, 1, to);
    } else {
      write_looked_up<Pixel>(steps, piece, steps.row_changes, to);
    }
    return 0;
  }
#endif
  (void)to;
  gather<Pixel>(steps, piece, row);
  return piece.count;
}

// The inner pixels of all rows of a tile. First all are fetched, then blended: quicker than row by row.
template <class Pixel>
void write_inner(const RotationJob& job, const Steps& steps, int first, int rows, const Runs* runs,
                 Columns tile, TileRow* scratch) {
  uint8_t* at[kTileRows];
  int gathered[kTileRows];
  for (int i = 0; i < rows; ++i) {
    const Columns inner = within(runs[i].inner, tile);
    at[i] = job.destination + (first + i) * job.destination_stride +
            static_cast<ptrdiff_t>(inner.begin) * Pixel::kBytes;
    gathered[i] =
        inner.begin < inner.end ? fetch_inner<Pixel>(job, steps, first + i, inner, at[i], scratch[i]) : 0;
  }
  for (int i = 0; i < rows; ++i)
    if (gathered[i] > 0) write_gathered<Pixel>(scratch[i], gathered[i], at[i]);
}
// Asks for the source of the inner pixels of a tile that comes soon. Inlined, since gcc drops calls of functions
// that only prefetch.
template <class Pixel>
SKEW_INLINE void prefetch(const RotationJob& job, int first, int rows, const Runs* runs, Columns tile) {
  constexpr int kStep = 64 / Pixel::kBytes;  // a cache line
  const Rotation& r = job.rotation;
  for (int i = 0; i < rows; ++i) {
    const Columns inner = within(runs[i].inner, tile);
    int64_t x = r.origin_x + int64_t{inner.begin} * r.step_x - int64_t{first + i} * r.step_y;
    int64_t y = r.origin_y + int64_t{inner.begin} * r.step_y + int64_t{first + i} * r.step_x;
    for (int column = inner.begin; column < inner.end; column += kStep) {
      __builtin_prefetch(job.source + static_cast<ptrdiff_t>(y >> kPositionBits) * job.source_stride +
                         static_cast<ptrdiff_t>(x >> kPositionBits) * Pixel::kBytes);
      x += kStep * r.step_x;
      y += kStep * r.step_y;
    }
  }
}
#endif

// What of one row of a tile is not written by write_inner: pixels without a source, and those near the
// border.
template <class Pixel>
void write_outer(const RotationJob& job, const Pixel& pixel, int y, const Runs& runs, Columns tile,
                 uint8_t* row) {
  const Columns valued = within(runs.valued, tile), inner = within(runs.inner, tile);
  pixel.fill(row + static_cast<ptrdiff_t>(tile.begin) * Pixel::kBytes, valued.begin - tile.begin);
  write_plain(job, pixel, y, {valued.begin, inner.begin}, row);
  write_plain(job, pixel, y, {inner.end, valued.end}, row);
  pixel.fill(row + static_cast<ptrdiff_t>(valued.end) * Pixel::kBytes, tile.end - valued.end);
}

// The runs of a row; the inner one is empty where no vector form can be used.
Runs runs_of(const RotationJob& job, int y, int margin, Columns band) {
  Runs runs = find_runs(job.rotation, y, margin, band);
#if SKEW_SIMD
  if (job.source_stride <= kLongestRow && job.source_stride >= -kLongestRow) return runs;
#endif
  runs.inner.end = runs.inner.begin;
  return runs;
}

template <class Pixel>
void write_tiles(const RotationJob& job, const Pixel& pixel, Columns band) {
  const Rotation& r = job.rotation;
#if SKEW_SIMD
  const Steps steps(r);
  TileRow scratch[kTileRows] = {};
#endif
  const int64_t bands = (r.destination.height + int64_t{kTileRows} - 1) / kTileRows;
  for (int64_t done = 0; done < bands; ++done) {
    const int first = static_cast<int>((r.step_y > 0 ? bands - 1 - done : done) * kTileRows);
    const int rows = lesser(kTileRows, r.destination.height - first);
    Runs runs[kTileRows];
    for (int i = 0; i < rows; ++i) runs[i] = runs_of(job, first + i, Pixel::kMargin, band);
    for (int64_t left = band.begin; left < band.end; left += kTileColumns) {
      const int begin = static_cast<int>(left);
      const Columns tile = {begin, begin + lesser(kTileColumns, band.end - begin)};
      for (int i = 0; i < rows; ++i) {
        uint8_t* row = job.destination + (first + i) * job.destination_stride;
        const Columns inner = within(runs[i].inner, tile);
        if (inner.begin != tile.begin || inner.end != tile.end)
          write_outer(job, pixel, first + i, runs[i], tile, row);
      }
#if SKEW_SIMD
      const Columns next = {tile.end, tile.end + lesser(kTileColumns, band.end - tile.end)};
      if (Pixel::kBytes > 1) prefetch<Pixel>(job, first, rows, runs, next);
      write_inner<Pixel>(job, steps, first, rows, runs, tile, scratch);
#endif
    }
  }
}

void rotate_tiles(const RotationJob& job, Columns band) {
  switch (job.format) {
    case PixelFormat::kGray:
      return write_tiles(job, GrayPixel{job.fill}, band);
    case PixelFormat::kRgb:
      return write_tiles(job, RgbPixel{job.fill}, band);
    case PixelFormat::kArgb:
      return write_tiles(job, ArgbPixel{job.fill}, band);
    case PixelFormat::kGrayFixed:
      return write_tiles(job, FixedPixel{}, band);
  }
}

}  // namespace

SKEW_FORM(RotationKernels) = {rotate_tiles};

}  // namespace skew
