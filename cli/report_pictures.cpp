#include "cli/report_pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vips/vips8>

namespace tool {

namespace {

using vips::VImage;

constexpr double kPictureSide = 1100;  // pixels of the longer side

template <class... Values>
std::string print(const char* format, Values... values) {
  char text[400];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

std::string encoded(const VImage& image, const char* suffix, const char* type, vips::VOption* options) {
  void* data = nullptr;
  size_t size = 0;
  image.write_to_buffer(suffix, &data, &size, options);
  gchar* text = g_base64_encode(static_cast<const guchar*>(data), size);
  std::string address = std::string("data:image/") + type + ";base64," + text;
  g_free(text);
  g_free(data);
  return address;
}

struct Box {
  int left, top, right, bottom;
};

int first_above(const std::vector<int>& counts, int few, int from, int step) {
  for (int i = from; i >= 0 && i < static_cast<int>(counts.size()); i += step)
    if (counts[i] > few) return i;
  return from;
}

// Where rows and columns hold more than a few edge points, as the driver looks for content.
Box content_box(const SkewPageDetails& details) {
  constexpr int kFew = 8;
  std::vector<int> rows(details.height), columns(details.width);
  for (int y = 0; y < details.height; ++y) {
    const unsigned char* row = details.pEdges + details.stride * y;
    for (int x = 0; x < details.width; ++x) {
      rows[y] += row[x] != 0;
      columns[x] += row[x] != 0;
    }
  }
  return {first_above(columns, kFew, 0, 1), first_above(rows, kFew, 0, 1),
          first_above(columns, kFew, details.width - 1, -1), first_above(rows, kFew, details.height - 1, -1)};
}

}  // namespace

std::string picture_address(const files::Raster& raster) {
  VImage image = VImage::new_from_memory(const_cast<uint8_t*>(raster.pixels.data()), raster.pixels.size(),
                                         raster.width, raster.height, raster.channels, VIPS_FORMAT_UCHAR);
  image = image.copy(VImage::option()->set(
      "interpretation", raster.channels == 1 ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB));
  const double scale = kPictureSide / std::max(raster.width, raster.height);
  if (scale < 1.0) image = image.resize(scale);
  return encoded(image, ".jpg", "jpeg", VImage::option()->set("Q", 72));
}

std::string edges_svg(const SkewPageDetails& details) {
  const int width = details.width, height = details.height;
  VImage map = VImage::new_from_memory(details.pEdges, static_cast<size_t>(details.stride) * height,
                                       static_cast<int>(details.stride), height, 1, VIPS_FORMAT_UCHAR);
  map = map.extract_area(0, 0, width, height).invert();
  map = map.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W));
  std::string svg = print(
      "<svg class=\"edges\" viewBox=\"0 0 %d %d\" role=\"img\" aria-label=\"Edge map with windows\">"
      "<image width=\"%d\" height=\"%d\" href=\"",
      width, height, width, height);
  svg += encoded(map, ".png", "png", VImage::option()->set("bitdepth", 1)) + "\"/>";
  for (int i = 0; i < details.windowCount; ++i) {
    const SkewPageWindow& w = details.pWindows[i];
    svg += print(
        "<rect class=\"%s\" x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\"><title>%.1f degrees, %d "
        "points</title></rect>",
        w.agrees ? "agrees" : "differs", w.left, w.top, w.right - w.left + 1, w.bottom - w.top + 1, w.angle,
        w.points);
  }
  // Each window's own answer as a short line through its middle.
  for (int i = 0; i < details.windowCount; ++i) {
    const SkewPageWindow& w = details.pWindows[i];
    const double x = (w.left + w.right) / 2.0, y = (w.top + w.bottom) / 2.0,
                 turn = w.angle * std::acos(-1.0) / 180;
    const double dx = 44 * std::cos(turn), dy = 44 * std::sin(turn);
    svg += print("<line class=\"%s\" x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\"/>",
                 w.agrees ? "agrees" : "differs", x - dx, y - dy, x + dx, y + dy);
  }
  const Box box = content_box(details);
  svg += print("<rect class=\"content\" x=\"%d\" y=\"%d\" width=\"%d\" height=\"%d\"/></svg>", box.left,
               box.top, std::max(1, box.right - box.left + 1), std::max(1, box.bottom - box.top + 1));
  return svg;
}

std::string curve_svg(const SkewPageDetails& details, double angle) {
  if (details.scoreCount < 2) return "<p>No angle was scored.</p>";
  constexpr int kWidth = 900, kHeight = 240, kFoot = 200, kTop = 12;
  const SkewPageScore* scores = details.pScores;
  const double first = scores[0].angle, span = scores[details.scoreCount - 1].angle - first;
  double low = scores[0].score, high = low;
  for (int i = 0; i < details.scoreCount; ++i) {
    low = std::min(low, scores[i].score);
    high = std::max(high, scores[i].score);
  }
  const double range = high > low ? high - low : 1.0;
  const auto across = [=](double a) { return (a - first) / span * kWidth; };

  std::string svg =
      print("<svg class=\"curve\" viewBox=\"-30 0 %d %d\" role=\"img\" aria-label=\"Score over the angle\">",
            kWidth + 60, kHeight);
  for (int tick = -45; tick <= 45; tick += 15)
    svg += print(
        "<line class=\"tick\" x1=\"%.1f\" y1=\"%d\" x2=\"%.1f\" y2=\"%d\"/><text x=\"%.1f\" "
        "y=\"%d\">%d°</text>",
        across(tick), kTop, across(tick), kFoot, across(tick), kFoot + 26, tick);
  svg += print("<line class=\"found\" x1=\"%.2f\" y1=\"0\" x2=\"%.2f\" y2=\"%d\"/><polyline points=\"",
               across(angle), across(angle), kFoot);
  for (int i = 0; i < details.scoreCount; ++i)
    svg += print("%.1f,%.1f ", across(scores[i].angle),
                 kFoot - (scores[i].score - low) / range * (kFoot - kTop));
  return svg + "\"/></svg>";
}

}  // namespace tool
