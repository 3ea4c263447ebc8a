#include <algorithm>
#include <cstddef>
#include <limits>

#include "tests/calls/calls.h"

namespace skew::test {

void Outcome::add(const ImgROI& record) {
  for (const uint16_t value : {record.left, record.right, record.top, record.bottom}) add(value);
  for (const uint32_t value : {record.area, record.link, record.reserved}) add(value);
  add(record.maxRun);
  add(record.scratchIndex);
}

Size draw_size(Source& source, int smallest, int largest) {
  if (source.small()) largest = std::min(largest, std::max(smallest, 96));
  switch (source.between(0, 7)) {
    case 0:
      return {source.between(smallest, std::min(smallest + 8, largest)),
              source.between(smallest, std::min(smallest + 8, largest))};
    case 1:
      return {source.between(smallest, std::min(smallest + 3, largest)), source.between(smallest, largest)};
    case 2:
      return {source.between(smallest, largest), source.between(smallest, std::min(smallest + 3, largest))};
    default:
      return {source.between(smallest, largest), source.between(smallest, largest)};
  }
}

namespace {

// Dark and light stripes along (run, rise), broken like words.
void draw_stripes(Source& source, Size size, size_t stride, std::vector<uint8_t>& raster) {
  const int run = source.between(1, 40), rise = source.between(-40, 40);
  const int period = source.between(4, 30) * (run + (rise < 0 ? -rise : rise));
  const auto dark = static_cast<uint8_t>(source.between(0, 120)),
             light = static_cast<uint8_t>(source.between(90, 255));
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x) {
      const int across = ((y * run - x * rise) % period + period) % period;
      const bool word = (x * 7 + y * 3) % 64 < 45;
      raster[static_cast<size_t>(y) * stride + static_cast<size_t>(x)] =
          word && across < period / 3 ? dark : light;
    }
}

void draw_blocks(Source& source, Size size, size_t stride, std::vector<uint8_t>& raster) {
  for (int i = source.between(1, 30); i > 0; --i) {
    const ImgROI box = draw_box(source, size);
    const int value = source.between(0, 255);
    for (size_t y = box.top; y <= box.bottom; ++y)
      std::fill_n(raster.begin() + static_cast<ptrdiff_t>(y * stride + box.left), box.right - box.left + 1,
                  static_cast<uint8_t>(value));
  }
}

}  // namespace

std::vector<uint8_t> draw_raster(Source& source, Size size, size_t stride) {
  std::vector<uint8_t> raster(stride * static_cast<size_t>(size.height));
  if (raster.empty()) return raster;
  switch (source.between(0, 5)) {
    case 0:
      source.fill(raster.data(), raster.size());
      break;
    case 1:
      std::fill(raster.begin(), raster.end(), static_cast<uint8_t>(source.between(0, 255)));
      break;
    case 2:
      draw_blocks(source, size, stride, raster);
      break;
    case 3: {
      source.fill(raster.data(), raster.size());
      const auto keep = static_cast<uint8_t>(source.between(1, 255));
      for (auto& byte : raster) byte &= keep;
      break;
    }
    default:
      draw_stripes(source, size, stride, raster);
  }
  return raster;
}

std::vector<uint8_t> draw_edges(Source& source, Size size, size_t stride) {
  std::vector<uint8_t> edges = draw_raster(source, size, stride);
  const int limit = source.between(0, 254);
  for (auto& byte : edges) byte = byte > limit ? 255 : 0;
  return edges;
}

ImgROI draw_box(Source& source, Size size) {
  ImgROI box{};
  const auto side = [&](int length, uint16_t& first, uint16_t& last) {
    const int end = std::min(length, 65536) - 1;
    first = static_cast<uint16_t>(source.chance(3) ? 0 : source.between(0, end));
    last = static_cast<uint16_t>(source.chance(3) ? end : source.between(first, end));
  };
  side(size.width, box.left, box.right);
  side(size.height, box.top, box.bottom);
  return box;
}

double draw_angle(Source& source) {
  if (source.chance(40)) {
    constexpr double rare[] = {0.0,
                               -0.0,
                               0.19999,
                               -0.2,
                               65.99,
                               -65.99,
                               66.0,
                               -66.0,
                               1e300,
                               -1e10,
                               std::numeric_limits<double>::quiet_NaN(),
                               std::numeric_limits<double>::infinity()};
    return rare[source.between(0, 11)];
  }
  return source.between(-6600, 6600) / (source.chance(2) ? 100.0 : 1000.0);
}

std::vector<int> draw_pixels(Source& source, Size size) {
  std::vector<int> pixels(static_cast<size_t>(size.width) * static_cast<size_t>(size.height));
  if (!pixels.empty()) source.fill(reinterpret_cast<uint8_t*>(pixels.data()), pixels.size() * sizeof(int));
  return pixels;
}

}  // namespace skew::test
