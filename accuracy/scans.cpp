#include "accuracy/scans.h"

#include <leptonica/allheaders.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "accuracy/methods.h"

namespace accuracy {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kTaps = 6;
constexpr int kPhases = 64;
constexpr int kTurnsEach = 8;
constexpr double kLimit = 15;

Gray load(const std::string& path) {
  PIX* file = pixRead(path.c_str());
  if (file == nullptr) throw std::runtime_error("cannot read " + path);
  PIX* gray = pixConvertTo8(file, 0);
  Gray page(pixGetWidth(gray), pixGetHeight(gray));
  for (int y = 0; y < page.height; ++y) {
    const l_uint32* line = pixGetData(gray) + static_cast<size_t>(y) * pixGetWpl(gray);
    for (int x = 0; x < page.width; ++x) page.row(y)[x] = GET_DATA_BYTE(line, x);
  }
  pixDestroy(&gray);
  pixDestroy(&file);
  return page;
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

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

// What one method says about one scan at all its angles.
struct Line {
  double own = 0, mean = 0, worst = 0;  // the page's own skew, and how far the answers stray from it
  int trusted = 0, blank = 0, near = 0;
};

Line summarise(const std::vector<double>& angles, const std::vector<Answer>& answers) {
  std::vector<double> own;
  Line line;
  for (size_t i = 0; i < angles.size(); ++i) {
    own.push_back(answers[i].angle - angles[i]);
    line.trusted += answers[i].trusted;
    line.blank += answers[i].blank;
  }
  line.own = median(own);
  for (const double o : own) {
    line.mean += std::fabs(o - line.own) / static_cast<double>(own.size());
    line.worst = std::max(line.worst, std::fabs(o - line.own));
    line.near += std::fabs(o - line.own) <= 0.1;
  }
  return line;
}

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

void measure_scans(const std::string& folder, const std::string& list) {
  constexpr size_t kCount = std::size(kMethods);
  std::printf(
      "\n| scan | page: own skew | stray | worst | trusted | Leptonica: own skew | stray | worst | "
      "driver: worst |\n|---|---:|---:|---:|---:|---:|---:|---:|---:|\n");
  std::ifstream names(list);
  Random random(11);
  double mean[kCount] = {};
  int near[kCount] = {}, total = 0, scans = 0;
  for (std::string name; names >> name;) {
    const Gray page = load(folder + "/" + name);
    std::vector<double> angles;
    std::vector<Answer> answers[kCount];
    for (int i = 0; i < kTurnsEach; ++i) {
      angles.push_back(std::round(random.uniform(-kLimit, kLimit) * 1000) / 1000);
      const Gray turned = turn(page, angles.back());
      for (size_t m = 0; m < kCount; ++m) answers[m].push_back(kMethods[m].measure(turned));
    }
    Line lines[kCount];
    for (size_t m = 0; m < kCount; ++m) {
      lines[m] = summarise(angles, answers[m]);
      mean[m] += lines[m].mean;
      near[m] += lines[m].near;
    }
    total += kTurnsEach;
    ++scans;
    std::printf("| %s | %.3f | %.4f | %.3f | %d of %d%s | %.3f | %.4f | %.3f | %.3f |\n", name.c_str(),
                lines[0].own, lines[0].mean, lines[0].worst, lines[0].trusted, kTurnsEach,
                lines[0].blank > 0 ? ", some blank" : "", lines[2].own, lines[2].mean, lines[2].worst,
                lines[1].worst);
    std::fflush(stdout);
  }
  std::printf("\n| method | scans | turnings | mean stray | within 0.1, %% |\n|---|---:|---:|---:|---:|\n");
  for (size_t m = 0; m < kCount; ++m)
    std::printf("| %s | %d | %d | %.4f | %.1f |\n", kMethods[m].name, scans, total, mean[m] / scans,
                100.0 * near[m] / total);
}

}  // namespace accuracy
