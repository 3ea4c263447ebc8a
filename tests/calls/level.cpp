// Levelling and points. What a call measures is not added to the outcome, which so stays the same when the
// measurement improves; what it does with the measurement is.
#include <cstdlib>
#include <memory>

#include "include/skewcorrection/level.h"
#include "tests/calls/lists.h"

namespace skew::test {
namespace {

double draw_degrees(Source& source, int limit) { return source.between(-limit * 100, limit * 100) / 100.0; }

SkewLevelOptions draw_options(Source& source) {
  SkewLevelOptions options;
  skew_level_defaults(&options);
  options.smallestAngle = source.between(source.chance(20) ? -1 : 0, 30) / 20.0;
  options.largestAngle = source.between(1, 46);
  options.expectedAngle = draw_degrees(source, 45);
  if (source.chance(3)) options.expectedWithin = source.between(0, 40);
  options.align = source.between(0, source.chance(20) ? 3 : 2);
  options.force = source.between(0, 1);
  options.canvas = source.between(0, 1);
  options.fillMode = source.between(0, 1);
  options.fill = source.next();
  return options;
}

void add(Outcome& out, const SkewTransform& t) {
  for (const int side : {t.width, t.height, t.outWidth, t.outHeight}) out.add(side);
  for (const double value : {t.a, t.b, t.c, t.d, t.e, t.f}) out.add(value);
}

// Drawn one after the other: the order in which arguments are worked out differs between processors.
struct Drawn {
  int width, height;
  double angle;
  int canvas;
  Drawn(Source& source, int smallest, int largest, int limit, int canvases) {
    width = source.between(smallest, largest);
    height = source.between(smallest, largest);
    angle = draw_degrees(source, limit);
    canvas = source.between(0, canvases - 1);
  }
};

void call_transform(Source& source, Outcome& out) {
  const Drawn drawn(source, -1, 70000, 181, 3);
  SkewTransform turned = {}, in_steps = {};
  out.add(skew_transform(drawn.width, drawn.height, drawn.angle, drawn.canvas, &turned));
  add(out, turned);
  out.add(skew_transform_in_steps(drawn.width, drawn.height, draw_degrees(source, 70), &in_steps));
  add(out, in_steps);
}

void call_map(Source& source, Outcome& out) {
  const Drawn drawn(source, 1, 9000, 180, 2);
  SkewTransform transform = {};
  skew_transform(drawn.width, drawn.height, drawn.angle, drawn.canvas, &transform);
  std::vector<double> points(2 * static_cast<size_t>(source.between(0, 20)));
  for (double& value : points) value = source.between(-90000, 90000) / 8.0;
  const int direction = source.between(0, 2), count = static_cast<int>(points.size() / 2);
  out.add(skew_map_points(&transform, direction, points.data(), count));
  out.add(points);
}

void call_decide(Source& source, Outcome& out) {
  SkewPage page = {};
  page.angle = draw_degrees(source, 46);
  page.paperAngle = draw_degrees(source, 46);
  page.paperFound = source.between(0, 1);
  page.verdict = source.between(0, 2);
  const SkewLevelOptions options = draw_options(source);
  const int width = source.between(0, 5000), height = source.between(0, 5000);
  SkewLevel level = {};
  out.add(skew_decide_level(&page, width, height, &options, &level));
  for (const int value : {level.action, level.aligned, level.canvas}) out.add(value);
  out.add(level.tilt);
  out.add(level.angle);
  out.add(level.fill);
  add(out, level.transform);
}

// An image of one layout in rows with up to three pixels between them; the last row ends the block.
template <class Pixel>
struct Layout {
  using Plan = int(const Pixel*, ptrdiff_t, int, int, const SkewLevelOptions*, SkewLevel*);
  using Level = int(const Pixel*, ptrdiff_t, int, int, const SkewLevelOptions*, Pixel**, SkewLevel*);
  using Border = int(const Pixel*, ptrdiff_t, int, int, uint32_t*);
  Size size = {1, 1};
  ptrdiff_t stride = 0;
  std::vector<Pixel> pixels;

  Layout(Source& source, int channels) {
    size = draw_size(source, 1, source.chance(6) ? 300 : 90);
    const size_t row = static_cast<size_t>(size.width * channels),
                 step = row + static_cast<size_t>(source.between(0, 3));
    const std::vector<uint8_t> drawn = draw_raster(source, {static_cast<int>(step), size.height}, step);
    stride = static_cast<ptrdiff_t>(step * sizeof(Pixel));
    for (size_t i = 0; i < step * static_cast<size_t>(size.height - 1) + row; ++i)
      pixels.push_back(static_cast<Pixel>(sizeof(Pixel) == 1 ? drawn[i] : drawn[i] * 0x01010101u));
  }
};

template <class Pixel, int kChannels, typename Layout<Pixel>::Border* kBorder>
void call_border(Source& source, Outcome& out) {
  const Layout<Pixel> image(source, kChannels);
  uint32_t fill = 0;
  out.add(kBorder(image.pixels.data(), image.stride, image.size.width, image.size.height, &fill));
  out.add(fill);
}

bool same(const SkewLevel& a, const SkewLevel& b) {
  return a.action == b.action && a.angle == b.angle && a.fill == b.fill && a.canvas == b.canvas &&
         a.transform.outWidth == b.transform.outWidth && a.transform.e == b.transform.e;
}

// Turns a page as level.h says a caller may do it.
int turn(const SkewLevel& plan, const unsigned char* pixels, ptrdiff_t stride, int channels,
         unsigned char* out) {
  const SkewTransform& t = plan.transform;
  const unsigned char fill[] = {static_cast<uint8_t>(plan.fill >> 16), static_cast<uint8_t>(plan.fill >> 8),
                                static_cast<uint8_t>(plan.fill)};
  if (channels == 1)
    return skew_rotate_gray(pixels, stride, t.width, t.height, plan.angle, plan.canvas, out, t.outWidth,
                            fill[2]);
  return skew_rotate_rgb(pixels, stride, t.width, t.height, plan.angle, plan.canvas, out, 3 * t.outWidth,
                         fill);
}
int turn(const SkewLevel& plan, const uint32_t* pixels, ptrdiff_t stride, int, uint32_t* out) {
  const SkewTransform& t = plan.transform;
  return skew_rotate_argb(pixels, stride, t.width, t.height, plan.angle, plan.canvas, out, 4 * t.outWidth,
                          plan.fill);
}

template <class Pixel, int kChannels, typename Layout<Pixel>::Plan* kPlan,
          typename Layout<Pixel>::Level* kLevel>
void call_level(Source& source, Outcome& out) {
  const Layout<Pixel> image(source, kChannels);
  const SkewLevelOptions options = draw_options(source);
  SkewLevel planned = {}, levelled = {};
  Pixel* made = nullptr;
  const auto& [width, height] = image.size;
  const int code = kPlan(image.pixels.data(), image.stride, width, height, &options, &planned);
  out.add(code);
  out.add(kLevel(image.pixels.data(), image.stride, width, height, &options, &made, &levelled) == code);
  const std::unique_ptr<Pixel, void (*)(void*)> owner(made, std::free);
  const bool turned = code == 0 && planned.action == SKEW_LEVELLED;
  out.add(same(planned, levelled) && turned == (made != nullptr));
  if (!turned || made == nullptr) return out.add(0);
  std::vector<Pixel> own(static_cast<size_t>(planned.transform.outWidth) * planned.transform.outHeight *
                         kChannels);
  turn(planned, image.pixels.data(), image.stride, kChannels, own.data());
  out.add(std::memcmp(own.data(), made, own.size() * sizeof(Pixel)) != 0 ? 1 : 0);
}

}  // namespace

const std::vector<Call> kLevelCalls = {
    {"skew_transform", Family::kLevel, true, call_transform},
    {"skew_map_points", Family::kLevel, true, call_map},
    {"skew_decide_level", Family::kLevel, true, call_decide},
    {"skew_border_gray", Family::kLevel, true, call_border<unsigned char, 1, skew_border_gray>},
    {"skew_border_rgb", Family::kLevel, true, call_border<unsigned char, 3, skew_border_rgb>},
    {"skew_border_argb", Family::kLevel, true, call_border<uint32_t, 1, skew_border_argb>},
    {"skew_level_gray", Family::kLevel, true, call_level<unsigned char, 1, skew_plan_gray, skew_level_gray>},
    {"skew_level_rgb", Family::kLevel, true, call_level<unsigned char, 3, skew_plan_rgb, skew_level_rgb>},
    {"skew_level_argb", Family::kLevel, true, call_level<uint32_t, 1, skew_plan_argb, skew_level_argb>},
};

}  // namespace skew::test
