// Tables, conversions, the driver, its stages and the three-step searches.
#include <pthread.h>

#include "include/skewcorrection/convert.h"
#include "include/skewcorrection/skew.h"
#include "include/skewcorrection/tables.h"
#include "tests/calls/lists.h"

namespace skew::test {
namespace {

// ---- tables ----

void call_tables(Source&, Outcome& out) {
  out.add_bytes(SIN, sizeof SIN);
  out.add_bytes(COS, sizeof COS);
  out.add_bytes(A_tSin_256_226, sizeof A_tSin_256_226);
  out.add_bytes(A_tCos_256_226, sizeof A_tCos_256_226);
}
void call_sine(Source& source, Outcome& out) { out.add(SIN_sin(draw_angle(source))); }
void call_cosine(Source& source, Outcome& out) { out.add(COS_cos(draw_angle(source))); }

// ---- conversions ----

Size draw_any_size(Source& source) { return draw_size(source, 0, 200); }
size_t area(Size size) { return static_cast<size_t>(size.width) * static_cast<size_t>(size.height); }

void call_luma(Source& source, Outcome& out) {
  const uint32_t bits = source.next();
  out.add(GetYfromRGB(static_cast<uint8_t>(bits), static_cast<uint8_t>(bits >> 8),
                      static_cast<uint8_t>(bits >> 16)));
}
void call_rgb_to_gray(Source& source, Outcome& out) {
  const Size size = draw_any_size(source);
  std::vector<uint8_t> rgb(3 * area(size)), gray(area(size));
  if (!rgb.empty()) source.fill(rgb.data(), rgb.size());
  ImageConvert_RGB888toGray(rgb.data(), gray.data(), size.width, size.height);
  out.add(gray);
}
void call_rgb2gray(Source& source, Outcome& out) {
  const Size size = draw_any_size(source);
  std::vector<uint8_t> rgb(3 * area(size)), gray(area(size));
  if (!rgb.empty()) source.fill(rgb.data(), rgb.size());
  image_rgb2gray(rgb.data(), size.width, size.height, gray.data());
  out.add(gray);
}
void call_argb_to_rgb(Source& source, Outcome& out) {
  const Size size = draw_any_size(source);
  const std::vector<int> argb = draw_pixels(source, size);
  std::vector<uint8_t> rgb(3 * area(size));
  ConvertImageData_INTtoBYTE(argb.data(), rgb.data(), size.width, size.height);
  out.add(rgb);
}
void call_copy(Source& source, Outcome& out) {
  const Size size = draw_any_size(source);
  std::vector<uint8_t> gray(area(size));
  if (!gray.empty()) source.fill(gray.data(), gray.size());
  out.add(CopyToGlobalBuffer(gray.data(), size.width, size.height));
  out.add(CopyToGlobalBuffer(gray.data(), -1, 1));  // leaves no working copy behind
}
void call_copy_argb(Source& source, Outcome& out) {
  const Size size = draw_any_size(source);
  const std::vector<int> argb = draw_pixels(source, size);
  out.add(ConvertImageDataToGray_and_CopyToGlobalBuffer(argb.data(), size.width, size.height));
  out.add(ConvertImageDataToGray_and_CopyToGlobalBuffer(argb.data(), -1, 1));
}

// ---- the driver and its stages ----

void call_driver(Source& source, Outcome& out) {
  Size size = draw_size(source, 28, 400);
  if (source.chance(16)) size = {source.between(28, 40), source.between(3000, 9000)};
  if (source.chance(16)) size = {source.between(3000, 9000), source.between(28, 40)};
  const std::vector<uint8_t> page = draw_raster(source, size, size.padded());
  double angle = -1000;
  out.add(SkewCorrection(page.data(), size.width, size.height, &angle));
  out.add(angle);
}
void call_reduction(Source& source, Outcome& out) {
  const Size from = draw_size(source, 1, 300), to = draw_size(source, 0, 300);
  const std::vector<uint8_t> raster = draw_raster(source, from, from.padded());
  std::vector<uint8_t> reduced(to.padded() * static_cast<size_t>(to.height), 0xA5);
  const ImgROI box = draw_box(source, from);
  out.add(
      ImgShrink_TrackNew(raster.data(), from.width, from.height, box, reduced.data(), to.width, to.height));
  out.add(reduced);
}
void call_canny(Source& source, Outcome& out) {
  const Size size = draw_size(source, 1, 260);
  const std::vector<uint8_t> raster = draw_raster(source, size, size.padded());
  std::vector<uint8_t> edges(raster.size(), 0xA5);
  const int low = source.between(-20, 300), high = source.between(-20, 600), cap = source.between(-5, 120);
  out.add(CannyEdge(raster.data(), edges.data(), low, high, size.width, size.height, cap));
  out.add(edges);
}
void call_one_step(Source& source, Outcome& out) {
  const Size size = draw_size(source, 1, source.chance(6) ? 400 : 220);
  const size_t stride = static_cast<size_t>(size.width + source.between(0, 9));
  const std::vector<uint8_t> edges = draw_edges(source, size, stride);
  const ImgROI box = draw_box(source, size);
  double angle = -1000;
  out.add(SkewAngleDetect_HOR_OneStep(edges.data(), static_cast<int>(stride), box, &angle));
  out.add(angle);
}
void call_variance(Source& source, Outcome& out) {
  std::vector<uint16_t> counts(static_cast<size_t>(source.between(0, 700)));
  if (!counts.empty()) source.fill(reinterpret_cast<uint8_t*>(counts.data()), counts.size() * 2);
  out.add(GetVariance(counts.data(), static_cast<int>(counts.size())));
}

// ---- three-step searches ----

// Row k: each coordinate times a sine or cosine, rounded down or up.
std::vector<uint16_t> projection_table(const int32_t* values, int rows, int step, int length, int round) {
  std::vector<uint16_t> table;
  for (int k = 0; k < rows; ++k)
    for (int c = 0; c < length; ++c)
      table.push_back(static_cast<uint16_t>((static_cast<int64_t>(c) * values[k * step] + round) >> 16));
  return table;
}

struct SearchTables {
  std::vector<uint16_t> coarse_sine, coarse_cosine, fine_sine, fine_cosine;
  SearchTables(int sine_length, int cosine_length, int round)
      : coarse_sine(projection_table(SIN, 40, 5, sine_length, round)),
        coarse_cosine(projection_table(COS, 40, 5, cosine_length, round)),
        fine_sine(projection_table(SIN, 200, 1, sine_length, round)),
        fine_cosine(projection_table(COS, 200, 1, cosine_length, round)) {}
};

struct SearchCase {
  Size size = {1, 1};
  std::vector<uint8_t> edges;
  ImgROI box = {};
  int round = 0;
  int box_width() const { return box.right - box.left + 1; }
  int box_height() const { return box.bottom - box.top + 1; }
};
SearchCase draw_search(Source& source) {
  SearchCase drawn;
  drawn.size = draw_size(source, 1, 150);
  drawn.edges = draw_edges(source, drawn.size, drawn.size.padded());
  drawn.box = draw_box(source, drawn.size);
  drawn.round = source.between(0, 1) * 65535;
  return drawn;
}

using Search = decltype(SkewAngleDetect_ThreeSteps_F);

void call_search(Search& search, const SearchCase& drawn, const SearchTables& tables, Outcome& out) {
  double angle = -1000, score = -1000, copy = -1000;
  out.add(search(drawn.edges.data(), drawn.size.width, drawn.box, &angle, tables.coarse_sine.data(),
                 tables.coarse_cosine.data(), tables.fine_sine.data(), tables.fine_cosine.data(), &score,
                 &copy));
  out.add(angle);
  out.add(score);
  out.add(copy);
}
void call_horizontal(Source& source, Outcome& out) {
  const SearchCase drawn = draw_search(source);
  call_search(SkewAngleDetect_ThreeSteps_F, drawn, {drawn.box_width(), drawn.box_height(), drawn.round}, out);
}
void call_vertical(Source& source, Outcome& out) {
  const SearchCase drawn = draw_search(source);
  call_search(SkewAngleDetect_Vert_ThreeSteps_F, drawn, {drawn.box_height(), drawn.box_width(), drawn.round},
              out);
}
void call_either(Source& source, Outcome& out) {
  const SearchCase drawn = draw_search(source);
  const SearchTables hor(drawn.box_width(), drawn.box_height(), drawn.round);
  const SearchTables vert(drawn.box_height(), drawn.box_width(), drawn.round);
  double values[5] = {-1000, -1000, -1000, -1000, -1000};
  SkewDetectParam block = {};
  block.pEdge = drawn.edges.data();
  block.width = drawn.size.width;
  block.roi = drawn.box;
  block.pAngle = &values[0];
  block.direction = source.between(0, 3);
  block.pHorCoarseSin = hor.coarse_sine.data();
  block.pHorCoarseCos = hor.coarse_cosine.data();
  block.pHorFineSin = hor.fine_sine.data();
  block.pHorFineCos = hor.fine_cosine.data();
  block.pHorScore = &values[1];
  block.pHorAngle = &values[2];
  block.pVertCoarseSin = vert.coarse_sine.data();
  block.pVertCoarseCos = vert.coarse_cosine.data();
  block.pVertFineSin = vert.fine_sine.data();
  block.pVertFineCos = vert.fine_cosine.data();
  block.pVertScore = &values[3];
  block.pVertAngle = &values[4];
  out.add(SkewAngleDetectJpnMT(&block) == nullptr);
  for (const double value : values) out.add(value);
}

// A score worker's block over a list of random points.
void call_worker(void (*worker)(VarianceParam*), Source& source, Outcome& out) {
  const Size box = draw_size(source, 1, 120);
  const SearchTables tables(box.width, box.height, 0);
  std::vector<uint16_t> points(2 * static_cast<size_t>(source.between(0, 300)));
  for (size_t i = 0; i < points.size(); i += 2) {
    points[i] = static_cast<uint16_t>(source.between(0, box.height - 1));
    points[i + 1] = static_cast<uint16_t>(source.between(0, box.width - 1));
  }
  std::vector<uint16_t> histogram(2 * static_cast<size_t>(box.width + box.height + 3), 0xA5A5);
  double score = -1000;
  VarianceParam block = {};
  block.pPoints = points.data();
  block.valueCount = static_cast<int32_t>(points.size());
  block.xRowLength = box.width;
  block.yRowLength = box.height;
  block.pHistogram = histogram.data();
  block.binCount = static_cast<int32_t>(histogram.size());
  block.pXTable = tables.fine_sine.data();
  block.pYTable = tables.fine_cosine.data();
  block.mode = source.between(0, 2);
  block.row = source.between(0, 199);
  block.pResult = &score;
  worker(&block);
  out.add(score);
  out.add(histogram);
}
void call_worker_sp(Source& source, Outcome& out) {
  call_worker([](VarianceParam* block) { GetVariance_sp(block); }, source, out);
}
void call_worker_mt(Source& source, Outcome& out) {
  call_worker([](VarianceParam* block) { GetVarianceMT(block); }, source, out);
}

void call_join(Source& source, Outcome& out) {
  const int count = source.between(0, 3);
  std::vector<int32_t> status;
  std::vector<pthread_t> threads(static_cast<size_t>(count));
  for (auto& thread : threads) {
    const bool started = source.chance(2);
    if (started)
      pthread_create(
          &thread, nullptr, [](void* block) { return block; }, nullptr);
    status.push_back(started ? 0 : source.between(1, 100));
  }
  out.add(multi_pthread_join(count, status.data(), threads.data()));
}

}  // namespace

const std::vector<Call> kMeasureCalls = {
    {"tables", Family::kTables, true, call_tables},
    {"SIN_sin", Family::kTables, true, call_sine},
    {"COS_cos", Family::kTables, true, call_cosine},
    {"GetYfromRGB", Family::kConvert, true, call_luma},
    {"ImageConvert_RGB888toGray", Family::kConvert, true, call_rgb_to_gray},
    {"image_rgb2gray", Family::kConvert, true, call_rgb2gray},
    {"ConvertImageData_INTtoBYTE", Family::kConvert, true, call_argb_to_rgb},
    {"CopyToGlobalBuffer", Family::kConvert, false, call_copy},
    {"ConvertImageDataToGray_and_CopyToGlobalBuffer", Family::kConvert, false, call_copy_argb},
    {"SkewCorrection", Family::kDriver, true, call_driver},
    {"ImgShrink_TrackNew", Family::kReduce, true, call_reduction},
    {"CannyEdge", Family::kSearch, true, call_canny},
    {"SkewAngleDetect_HOR_OneStep", Family::kSearch, true, call_one_step},
    {"GetVariance", Family::kSearch, true, call_variance},
    {"SkewAngleDetect_ThreeSteps_F", Family::kSearch, true, call_horizontal},
    {"SkewAngleDetect_Vert_ThreeSteps_F", Family::kSearch, true, call_vertical},
    {"SkewAngleDetectJpnMT", Family::kSearch, true, call_either},
    {"GetVariance_sp", Family::kSearch, true, call_worker_sp},
    {"GetVarianceMT", Family::kSearch, true, call_worker_mt},
    {"multi_pthread_join", Family::kSearch, true, call_join},
};

}  // namespace skew::test
