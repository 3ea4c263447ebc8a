#include "accuracy/sets.h"

#include <leptonica/allheaders.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <tuple>

namespace accuracy {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kTaps = 6;
constexpr int kPhases = 64;
constexpr int kTurnsEach = 6;
constexpr double kLimit = 15;
constexpr double kSureError = 0.1;

Gray load(const std::string& path) {
  PIX* file = pixRead(path.c_str());
  if (file == nullptr) throw std::runtime_error("cannot read " + path);
  PIX* gray = pixConvertTo8(file, 0);
  pixDestroy(&file);
  Gray page(pixGetWidth(gray), pixGetHeight(gray));
  for (int y = 0; y < page.height; ++y) {
    const l_uint32* line = pixGetData(gray) + static_cast<size_t>(y) * pixGetWpl(gray);
    for (int x = 0; x < page.width; ++x) page.row(y)[x] = GET_DATA_BYTE(line, x);
  }
  pixDestroy(&gray);
  return page;
}

Gray part(const Gray& page, const std::string& box) {
  int x, y, width, height;
  if (std::sscanf(box.c_str(), "%d,%d,%d,%d", &x, &y, &width, &height) != 4) return page;
  if (x < 0 || y < 0 || width < 1 || height < 1 || x + width > page.width || y + height > page.height)
    throw std::runtime_error("no such part: " + box);
  Gray out(width, height);
  for (int v = 0; v < height; ++v) std::copy_n(page.row(y + v) + x, width, out.row(v));
  return out;
}

struct Kernel {
  float weights[kPhases + 1][kTaps];
  Kernel() {
    for (int p = 0; p <= kPhases; ++p) {
      float sum = 0;
      for (int i = 0; i < kTaps; ++i) {
        const double t = i - (kTaps / 2 - 1) - p / double(kPhases);
        const auto sinc = [](double v) { return v == 0 ? 1.0 : std::sin(kPi * v) / (kPi * v); };
        sum += weights[p][i] = float(std::fabs(t) < kTaps / 2 ? sinc(t) * sinc(t / (kTaps / 2)) : 0);
      }
      for (float& w : weights[p]) w /= sum;
    }
  }
};

bool is_bilevel(const Gray& page) {
  return std::all_of(page.pixels.begin(), page.pixels.end(), [](uint8_t p) { return p == 0 || p == 255; });
}

using Record = std::map<std::string, std::string>;

std::vector<std::string> cells_of(std::string line) {
  if (!line.empty() && line.back() == '\r') line.pop_back();
  std::vector<std::string> cells;
  std::istringstream in(line);
  for (std::string cell; std::getline(in, cell, ',');) cells.push_back(cell);
  return cells;
}

// The lines of a CSV file by the names of its columns; empty if there is no such file. Cells hold no commas.
std::vector<Record> read_csv(const std::string& path) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  const std::vector<std::string> names = cells_of(line);
  std::vector<Record> records;
  while (std::getline(in, line)) {
    const std::vector<std::string> cells = cells_of(line);
    Record record;
    for (size_t i = 0; i < std::min(names.size(), cells.size()); ++i) record[names[i]] = cells[i];
    records.push_back(record);
  }
  return records;
}

// The first of two columns that holds something.
std::string cell(const Record& record, const char* name, const char* other = "") {
  for (const char* n : {name, other}) {
    const auto found = record.find(n);
    if (found != record.end() && !found->second.empty()) return found->second;
  }
  return "";
}

double number(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

}  // namespace

uint8_t border_median(const Gray& page) {
  std::vector<uint8_t> border;
  for (int x = 0; x < page.width; ++x)
    border.insert(border.end(), {page.row(0)[x], page.row(page.height - 1)[x]});
  for (int y = 0; y < page.height; ++y)
    border.insert(border.end(), {page.row(y)[0], page.row(y)[page.width - 1]});
  std::nth_element(border.begin(), border.begin() + border.size() / 2, border.end());
  return border[border.size() / 2];
}

namespace {

// Turns by Lanczos interpolation over six pixels each way; what lies outside is the median of the border.
// A page of two values stays one of two values.
Gray turn(const Gray& page, double degrees) {
  static const Kernel kernel;
  const double radians = degrees * kPi / 180, c = std::cos(radians), s = std::sin(radians);
  const uint8_t fill = border_median(page);
  const bool bilevel = is_bilevel(page);
  Gray out(page.width, page.height, fill);
  for (int y = 0; y < page.height; ++y)
    for (int x = 0; x < page.width; ++x) {
      const double dx = x + 0.5 - page.width / 2.0, dy = y + 0.5 - page.height / 2.0;
      const double sx = dx * c + dy * s + page.width / 2.0 - 0.5,
                   sy = dy * c - dx * s + page.height / 2.0 - 0.5;
      const int ix = static_cast<int>(std::floor(sx)), iy = static_cast<int>(std::floor(sy));
      if (ix < 0 || iy < 0 || ix >= page.width || iy >= page.height) continue;
      const float* wx = kernel.weights[std::lround((sx - ix) * kPhases)];
      const float* wy = kernel.weights[std::lround((sy - iy) * kPhases)];
      float sum = 0;
      for (int v = 0; v < kTaps; ++v) {
        const int row = std::clamp(iy + v - (kTaps / 2 - 1), 0, page.height - 1);
        const uint8_t* source = page.row(row);
        float line = 0;
        for (int u = 0; u < kTaps; ++u)
          line += wx[u] * source[std::clamp(ix + u - (kTaps / 2 - 1), 0, page.width - 1)];
        sum += wy[v] * line;
      }
      out.row(y)[x] =
          bilevel ? (sum < 128 ? 0 : 255) : static_cast<uint8_t>(std::clamp(sum + 0.5f, 0.f, 255.f));
    }
  return out;
}

}  // namespace

double apart(double a, double b) {
  const double d = std::fmod(std::fabs(a - b), 90);
  return std::min(d, 90 - d);
}

double off(const Page& page, double angle) {
  constexpr double kSlack = 0.1;
  const bool among =
      page.lowest < page.highest && angle >= page.lowest - kSlack && angle <= page.highest + kSlack;
  return among ? 0 : apart(angle, page.truth);
}

std::vector<Page> folder_set(const std::string& folder) {
  std::map<std::string, Record> ranges;
  for (const Record& r : read_csv(folder + "/meta.csv")) ranges[cell(r, "file")] = r;
  std::vector<Page> pages;
  for (const Record& r : read_csv(folder + "/truth.csv")) {
    Page page;
    page.name = cell(r, "file");
    if (page.name.empty() || cell(r, "truth", "true_angle").empty())
      throw std::runtime_error(folder + "/truth.csv: a line without file or truth");
    page.truth = page.lowest = page.highest = number(cell(r, "truth", "true_angle"));
    page.sure = number(cell(r, "standard_error")) <= kSureError;
    page.group = cell(r, "collection", "class");
    page.lines = page.group != "no_text";
    const Record& range = ranges[page.name];
    if (!cell(range, "lo").empty() && !cell(range, "hi").empty()) {
      std::tie(page.lowest, page.highest) =
          std::minmax({number(cell(range, "lo")), number(cell(range, "hi"))});
    }
    page.load = [path = folder + "/" + page.name] { return load(path); };
    pages.push_back(page);
  }
  if (pages.empty()) throw std::runtime_error("no pages in " + folder + "/truth.csv");
  return pages;
}

std::vector<Page> scan_set(const std::string& folder, const std::string& list) {
  std::ifstream in(list);
  std::vector<Page> pages;
  Random random(11);
  std::string file, group, box;
  for (double own; in >> file >> group >> own >> box;)
    for (int i = 0; i < kTurnsEach; ++i) {
      const double angle = std::round(random.uniform(-kLimit, kLimit) * 1000) / 1000;
      Page page;
      page.name = file + "-" + std::to_string(i);
      page.group = group;
      page.sure = group != "unsure";
      page.truth = page.lowest = page.highest = own + angle;
      page.load = [path = folder + "/" + file, box, angle] { return turn(part(load(path), box), angle); };
      pages.push_back(page);
    }
  return pages;
}

}  // namespace accuracy
