// Writes every stage of one measurement as files that scripts/stage-pictures turns into pictures.
//   stages PAGE.pgm FOLDER
// leaves reduced.pgm, edges.pgm, box.txt (content box and searched square: left top right bottom),
// profiles.txt (points per row, as measured and turned by the answer) and scores.txt (angle, score).
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "core/raster.h"
#include "include/skewcorrection/skew.h"
#include "include/skewcorrection/tables.h"
#include "skew/content_box.h"
#include "skew/driver.h"

namespace {

struct Image {
  int width = 0, height = 0;
  std::vector<uint8_t> pixels;
};

struct Point {
  int x, y;
};

Image read_pgm(const char* path) {
  std::ifstream in(path, std::ios::binary);
  std::string magic;
  int maximum = 0;
  Image image;
  if (!(in >> magic >> image.width >> image.height >> maximum) || magic != "P5" || maximum != 255) return {};
  in.get();
  const auto stride = static_cast<size_t>(skew::padded_stride(image.width));
  image.pixels.resize(stride * static_cast<size_t>(image.height));
  for (int y = 0; y < image.height; ++y)
    in.read(reinterpret_cast<char*>(&image.pixels[static_cast<size_t>(y) * stride]), image.width);
  return in ? image : Image{};
}

void write_pgm(const std::string& path, const Image& image) {
  std::ofstream out(path, std::ios::binary);
  out << "P5\n" << image.width << ' ' << image.height << "\n255\n";
  out.write(reinterpret_cast<const char*>(image.pixels.data()),
            static_cast<std::streamsize>(image.pixels.size()));
}

// Points per turned row or column for one angle index, over the same tables as the search.
std::vector<uint16_t> profile(const std::vector<Point>& points, int index, bool of_rows) {
  std::vector<uint16_t> counts(1024);
  for (const Point& p : points) {
    const int column = std::abs(index);
    const int cosine = A_tCos_256_226[(of_rows ? p.y : p.x) * 256 + column];
    const int sine = A_tSin_256_226[(of_rows ? p.x : p.y) * 256 + column];
    ++counts[static_cast<size_t>(512 + cosine + ((index < 0) == of_rows ? sine : -sine))];
  }
  return counts;
}

double score(const std::vector<Point>& points, int index) {
  const auto rows = profile(points, index, true), columns = profile(points, index, false);
  return GetVariance(rows.data(), 1024) * GetVariance(columns.data(), 1024);
}

Image reduced(const Image& page) {
  const skew::WorkingSize size = skew::working_size(page.width, page.height);
  Image small{static_cast<int>(size.width), static_cast<int>(size.height), {}};
  small.pixels.resize(static_cast<size_t>(size.width * size.height));
  ImgROI whole{};
  whole.right = static_cast<uint16_t>(page.width - 1);
  whole.bottom = static_cast<uint16_t>(page.height - 1);
  ImgShrink_TrackNew(page.pixels.data(), page.width, page.height, whole, small.pixels.data(), small.width,
                     small.height);
  return small;
}

std::vector<Point> points_in(const Image& edges, const skew::Box& square) {
  std::vector<Point> points;
  for (int y = square.top; y <= square.bottom; ++y)
    for (int x = square.left; x <= square.right; ++x)
      if (edges.pixels[static_cast<size_t>(y * edges.width + x)] != 0)
        points.push_back({x - square.left, y - square.top});
  return points;
}

void write_profiles(const std::string& path, const std::vector<Point>& points, double angle) {
  const auto before = profile(points, 0, true),
             after = profile(points, static_cast<int>(std::lround(angle * 5)), true);
  std::ofstream file(path);
  for (int row = -60; row < 256; ++row)
    file << row << ' ' << before[static_cast<size_t>(512 + row)] << ' '
         << after[static_cast<size_t>(512 + row)] << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return std::fprintf(stderr, "usage: stages PAGE.pgm FOLDER\n"), 2;
  const Image page = read_pgm(argv[1]);
  double angle = 0;
  if (SkewCorrection(page.pixels.data(), page.width, page.height, &angle) != SKEW_OK)
    return std::fprintf(stderr, "%s: not an 8-bit PGM of at least 32 x 32 pixels\n", argv[1]), 1;
  const std::string folder = std::string(argv[2]) + "/";

  const Image small = reduced(page);
  Image edges = small;
  CannyEdge(small.pixels.data(), edges.pixels.data(), 60, 120, small.width, small.height, 90);
  write_pgm(folder + "reduced.pgm", small);
  write_pgm(folder + "edges.pgm", edges);

  std::vector<uint8_t> counts(static_cast<size_t>(small.width));
  const skew::Box content =
      skew::find_content_box(edges.pixels.data(), small.width, small.height, counts.data());
  const skew::Box square = skew::square_of(content);
  std::ofstream boxes(folder + "box.txt");
  for (const skew::Box& box : {content, square})
    boxes << box.left << ' ' << box.top << ' ' << box.right << ' ' << box.bottom << '\n';

  const std::vector<Point> points = points_in(edges, square);
  write_profiles(folder + "profiles.txt", points, angle);
  std::ofstream scores(folder + "scores.txt");
  for (int index = -225; index <= 225; ++index) scores << index * 0.2 << ' ' << score(points, index) << '\n';
  std::printf("%.1f\n", angle);
  return 0;
}
