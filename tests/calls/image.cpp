// Rotations, filters, components and confidence.
#include <cstdlib>
#include <memory>

#include "include/skewcorrection/analysis.h"
#include "include/skewcorrection/enhance.h"
#include "include/skewcorrection/rotate.h"
#include "tests/calls/lists.h"

namespace skew::test {
namespace {

size_t area(Size size) { return static_cast<size_t>(size.width) * static_cast<size_t>(size.height); }

// A block that the library allocated and the caller frees.
struct Free {
  void operator()(void* block) const { std::free(block); }
};
template <class T>
using Owned = std::unique_ptr<T[], Free>;

// ---- rotations ----

void call_rotate_gray(Source& source, Outcome& out) {
  const Size size = draw_size(source, 1, 220);
  const std::vector<uint8_t> image = draw_raster(source, size, static_cast<size_t>(size.width));
  const double angle = draw_angle(source);
  unsigned char* turned = nullptr;
  out.add(RotateGrayImage(image.data(), size.width, size.height, angle, &turned,
                          static_cast<char>(source.between(-128, 127))));
  const Owned<unsigned char> owner(turned);
  if (turned != nullptr) out.add_bytes(turned, area(size));
}

void call_rotate_rgb(Source& source, Outcome& out) {
  const Size size = draw_size(source, 1, 160);
  std::vector<uint8_t> image(3 * area(size)), turned(image.size(), 0xA5);
  source.fill(image.data(), image.size());
  const double angle = draw_angle(source);
  out.add(RotateRGBImage(image.data(), size.width, size.height, angle, turned.data(),
                         static_cast<uint8_t>(source.next())));
  out.add(turned);
}

void call_rotate_argb(Source& source, Outcome& out) {
  const Size size = draw_size(source, 1, 160);
  const std::vector<int> image = draw_pixels(source, size);
  std::vector<int> turned(image.size(), 0x5A5A5A5A);
  const double angle = draw_angle(source);
  out.add(RotateARGBImage_INT_FOR_JNI(image.data(), size.width, size.height, angle, turned.data(),
                                      static_cast<int>(source.next())));
  out.add(turned);
}

void call_rotate_in_place(Source& source, Outcome& out) {
  const Size size = draw_size(source, 0, 220);
  std::vector<uint8_t> image = draw_raster(source, size, static_cast<size_t>(size.width));
  std::vector<int> x(4), y(4);
  for (int i = 0; i < 4; ++i) {
    x[i] = source.between(-300, 300);
    y[i] = source.between(-300, 300);
  }
  const double angle = draw_angle(source);
  const int fill = source.between(-1, 300);
  int* const columns = source.chance(4) ? nullptr : x.data();
  out.add(RotateImage(image.data(), size.width, size.height, angle, fill, columns, y.data()));
  out.add(image);
  out.add(x);
  out.add(y);
}

void call_rotate_band(Source& source, Outcome& out) {
  const Size size = draw_size(source, 1, 220);
  const std::vector<uint8_t> image = draw_raster(source, size, static_cast<size_t>(size.width));
  std::vector<uint8_t> turned(image.size(), 7);
  RotateImageParam band = {};
  band.pSrc = image.data();
  band.pDst = turned.data();
  band.width = size.width;
  band.height = size.height;
  band.angle = draw_angle(source);
  band.startX = source.between(0, size.width);
  band.endX = source.between(0, size.width);
  out.add(RotateImageMT(&band) == nullptr);
  out.add(turned);
}

// ---- rotations by any angle ----

struct Turn {
  Size from = {1, 1}, to = {0, 0};
  double angle = 0;
  int canvas = 0;
  int result = 0;
};
Turn draw_turn(Source& source, Outcome& out) {
  Turn turn;
  turn.from = draw_size(source, 1, 140);
  turn.angle = source.between(-18100, 18100) / 100.0;
  turn.canvas = source.between(0, 1);
  turn.result = skew_rotated_size(turn.from.width, turn.from.height, turn.angle, turn.canvas, &turn.to.width,
                                  &turn.to.height);
  out.add(turn.result);
  out.add(turn.to.width);
  out.add(turn.to.height);
  return turn;
}

// Rows of the given bytes, with a few bytes between them; the last row ends the block.
struct Rows {
  std::vector<uint8_t> bytes;
  ptrdiff_t stride;
};
Rows draw_rows(Source& source, size_t row, int height, size_t step) {
  const size_t stride = row + step * static_cast<size_t>(source.between(0, 3));
  Rows rows{std::vector<uint8_t>(height > 0 ? stride * static_cast<size_t>(height - 1) + row : 0),
            static_cast<ptrdiff_t>(stride)};
  if (!rows.bytes.empty()) source.fill(rows.bytes.data(), rows.bytes.size());
  return rows;
}

void call_any_size(Source& source, Outcome& out) {
  int width = -7, height = -7;
  const int from_width = source.between(-2, 70000), from_height = source.between(-2, 70000);
  const double angle = source.between(-18100, 18100) / 100.0;
  const int canvas = source.between(-1, 2);
  out.add(skew_rotated_size(from_width, from_height, angle, canvas, &width, &height));
  out.add(width);
  out.add(height);
}

void call_any_gray(Source& source, Outcome& out) {
  const Turn turn = draw_turn(source, out);
  const Rows from = draw_rows(source, static_cast<size_t>(turn.from.width), turn.from.height, 1);
  Rows to = draw_rows(source, static_cast<size_t>(turn.to.width), turn.to.height, 1);
  out.add(skew_rotate_gray(from.bytes.data(), from.stride, turn.from.width, turn.from.height, turn.angle,
                           turn.canvas, to.bytes.data(), to.stride, static_cast<uint8_t>(source.next())));
  out.add(to.bytes);
}

void call_any_rgb(Source& source, Outcome& out) {
  const Turn turn = draw_turn(source, out);
  const Rows from = draw_rows(source, 3 * static_cast<size_t>(turn.from.width), turn.from.height, 1);
  Rows to = draw_rows(source, 3 * static_cast<size_t>(turn.to.width), turn.to.height, 1);
  const unsigned char fill[3] = {10, 200, 90};
  out.add(skew_rotate_rgb(from.bytes.data(), from.stride, turn.from.width, turn.from.height, turn.angle,
                          turn.canvas, to.bytes.data(), to.stride, fill));
  out.add(to.bytes);
}

void call_any_argb(Source& source, Outcome& out) {
  const Turn turn = draw_turn(source, out);
  const Rows from = draw_rows(source, 4 * static_cast<size_t>(turn.from.width), turn.from.height, 4);
  Rows to = draw_rows(source, 4 * static_cast<size_t>(turn.to.width), turn.to.height, 4);
  out.add(skew_rotate_argb(reinterpret_cast<const uint32_t*>(from.bytes.data()), from.stride, turn.from.width,
                           turn.from.height, turn.angle, turn.canvas,
                           reinterpret_cast<uint32_t*>(to.bytes.data()), to.stride, source.next()));
  out.add(to.bytes);
}

// ---- filters ----

template <int (*kFilter)(unsigned char*, int, int)>
void call_filter(Source& source, Outcome& out) {
  const Size size = draw_size(source, 0, 200);
  const size_t stride = kFilter == GrayStretch_T ? static_cast<size_t>(size.width) : size.padded();
  std::vector<uint8_t> image = draw_raster(source, size, stride);
  out.add(kFilter(image.data(), size.width, size.height));
  out.add(image);
}

void call_extent(Source& source, Outcome& out) {
  const Size size = draw_size(source, 1, 260);
  const std::vector<uint8_t> image = draw_raster(source, size, size.padded());
  const ImgROI box = draw_box(source, size);
  int width = -7, height = -7, scaled = -7;
  const int max_width = source.between(1, 300), max_height = source.between(1, 300);
  const Owned<unsigned char> cut(ImgExtFit_Track_ROI(image.data(), size.width, size.height, &width, &height,
                                                     box, &scaled, static_cast<int16_t>(max_width),
                                                     static_cast<int16_t>(max_height)));
  for (const int value : {width, height, scaled}) out.add(value);
  if (cut) out.add_bytes(cut.get(), area({width, height}));
}

// ---- components and confidence ----

void call_components(Source& source, Outcome& out) {
  Size size = draw_size(source, 1, 200);
  if (source.chance(8)) size = {source.between(3900, 4000), source.between(1, 40)};
  const std::vector<uint8_t> image = draw_edges(source, size, size.padded());
  int count = -7;
  const int eight = source.between(0, 1);
  const Owned<ImgROI> records(CCAnalysis(image.data(), size.width, size.height, &count, eight,
                                         static_cast<uint8_t>(source.chance(3) ? 0 : 255)));
  out.add(count);
  out.add(records != nullptr);
  for (int i = 0; records && i < count; ++i) out.add(records[static_cast<size_t>(i)]);
}

void call_barycenter(Source& source, Outcome& out) {
  const Size size = draw_size(source, 0, 200);
  const std::vector<uint8_t> image = draw_raster(source, size, static_cast<size_t>(size.width));
  int32_t x = -7, y = -7;
  getBarycenter(image.data(), size.width, size.height, &x, &y);
  out.add(x);
  out.add(y);
}

void call_heights(Source& source, Outcome& out) {
  const Size page = draw_size(source, 1, 2000);
  std::vector<ImgROI> records(static_cast<size_t>(source.between(0, 200)));
  const int tall = source.between(1, 60);
  for (auto& record : records) {
    record = draw_box(source, page);
    if (!source.chance(4)) record.bottom = static_cast<uint16_t>(record.top + tall + source.between(-2, 2));
  }
  const ImgROI box = draw_box(source, page);
  std::vector<HeightCluster> clusters(30);
  int count = -7, valid = -7;
  out.add(GetHighConfidenceHeightROI(records.data(), static_cast<int>(records.size()), box, clusters.data(),
                                     &count, &valid));
  out.add(count);
  out.add(valid);
  for (int i = 0; i < count; ++i) {
    out.add(clusters[static_cast<size_t>(i)].count);
    out.add(clusters[static_cast<size_t>(i)].meanHeight);
  }
}

std::vector<double> draw_angles(Source& source) {
  std::vector<double> angles(static_cast<size_t>(source.between(0, 60)));
  const int around = source.between(-200, 200);
  for (auto& angle : angles)
    angle = source.chance(3) ? draw_angle(source) : (around + source.between(-6, 6)) / 5.0;
  return angles;
}

void call_confident_angle(Source& source, Outcome& out) {
  const std::vector<double> angles = draw_angles(source);
  std::vector<AngleCluster> clusters(30);
  int count = -7, valid = -7;
  out.add(GetHighConfidenceSkewAngle(angles.data(), static_cast<int>(angles.size()), clusters.data(), &count,
                                     &valid));
  out.add(count);
  out.add(valid);
  for (int i = 0; i < count; ++i) {
    out.add(clusters[static_cast<size_t>(i)].count);
    out.add(clusters[static_cast<size_t>(i)].meanAngle);
  }
}

void call_median(Source& source, Outcome& out) {
  std::vector<double> angles = draw_angles(source);
  out.add(GetMedianSkewAngle(angles.data(), static_cast<int>(angles.size())));
  for (const double angle : angles) out.add(angle);
}

}  // namespace

const std::vector<Call> kImageCalls = {
    {"RotateGrayImage", Family::kRotate, true, call_rotate_gray},
    {"RotateRGBImage", Family::kRotate, true, call_rotate_rgb},
    {"RotateARGBImage_INT_FOR_JNI", Family::kRotate, true, call_rotate_argb},
    {"RotateImage", Family::kRotate, true, call_rotate_in_place},
    {"RotateImageMT", Family::kRotate, true, call_rotate_band},
    {"skew_rotated_size", Family::kRotate, true, call_any_size},
    {"skew_rotate_gray", Family::kRotate, true, call_any_gray},
    {"skew_rotate_rgb", Family::kRotate, true, call_any_rgb},
    {"skew_rotate_argb", Family::kRotate, true, call_any_argb},
    {"ImgGaussSmooth", Family::kEnhance, true, call_filter<ImgGaussSmooth>},
    {"GrayStretch_T", Family::kEnhance, true, call_filter<GrayStretch_T>},
    {"dilation", Family::kEnhance, true, call_filter<dilation>},
    {"ImgExtFit_Track_ROI", Family::kReduce, true, call_extent},
    {"CCAnalysis", Family::kAnalysis, true, call_components},
    {"getBarycenter", Family::kAnalysis, true, call_barycenter},
    {"GetHighConfidenceHeightROI", Family::kAnalysis, true, call_heights},
    {"GetHighConfidenceSkewAngle", Family::kAnalysis, true, call_confident_angle},
    {"GetMedianSkewAngle", Family::kAnalysis, true, call_median},
};

}  // namespace skew::test
