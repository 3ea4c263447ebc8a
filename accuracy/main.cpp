// Measures the truth set with every method and prints how far each was off.
#include <cairo.h>
#include <leptonica/allheaders.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>

#include "accuracy/methods.h"
#include "accuracy/scans.h"
#include "accuracy/truth.h"
#include "include/skewcorrection/rotate.h"

namespace accuracy {
namespace {

struct Options {
  uint64_t base = 1;
  int rounds = 3;
  double limit = 15;
  std::string cache, csv, pictures;  // folders and a file; empty: none
  std::string scans, list;           // a folder of scanned pages, and which of them
  std::string only;                  // measure with this method alone
};

struct Row {
  Case truth;
  Answer answers[std::size(kMethods)];
  double residual = 0;  // of the page method
};

double error_of(const Row& row, size_t method) {
  // Up to quarter turns, as the page measurement itself is: a page on its side stays on its side.
  return std::fabs(row.answers[method].angle - row.truth.angle);
}

bool read_cached(const std::string& path, const Case& c, Gray* page) {
  std::ifstream in(path, std::ios::binary);
  *page = Gray(c.width, c.height);
  return in && in.read(reinterpret_cast<char*>(page->pixels.data()),
                       static_cast<std::streamsize>(page->pixels.size()));
}

Gray page_of(const Case& c, const std::string& cache) {
  if (cache.empty()) return make_page(c);
  const std::string path =
      cache + "/" + c.name() + "-" + std::to_string(c.width) + "x" + std::to_string(c.height);
  Gray page;
  if (read_cached(path, c, &page)) return page;
  page = make_page(c);
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(page.pixels.data()),
             static_cast<std::streamsize>(page.pixels.size()));
  return page;
}

void save_picture(const Gray& page, const std::string& path) {
  const int step = std::max(1, (std::max(page.width, page.height) + 399) / 400);
  const int width = page.width / step, height = page.height / step;
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  uint8_t* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      int sum = 0;
      for (int v = 0; v < step; ++v)
        for (int u = 0; u < step; ++u) sum += page.row(y * step + v)[x * step + u];
      std::memset(data + static_cast<ptrdiff_t>(y) * stride + x * 4, sum / (step * step), 4);
    }
  cairo_surface_mark_dirty(surface);
  cairo_surface_write_to_png(surface, path.c_str());
  cairo_surface_destroy(surface);
}

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

// One line of the table: the pages that pass the filter, measured by one method.
void print_line(const std::string& title, const std::vector<Row>& rows, size_t method,
                const std::function<bool(const Row&)>& filter) {
  std::vector<double> errors, times;
  int trusted = 0, within[3] = {0, 0, 0};
  double worst = -1, worst_trusted = 0;
  std::string worst_name;
  for (const Row& row : rows) {
    if (!filter(row)) continue;
    const double error = error_of(row, method);
    errors.push_back(error);
    times.push_back(row.answers[method].milliseconds);
    trusted += row.answers[method].trusted;
    const double bounds[3] = {0.1, 0.2, 0.5};
    for (int i = 0; i < 3; ++i) within[i] += error <= bounds[i];
    if (row.answers[method].trusted) worst_trusted = std::max(worst_trusted, error);
    if (error > worst) {
      worst = error;
      worst_name = row.truth.name();
    }
  }
  if (errors.empty()) return;
  std::sort(errors.begin(), errors.end());
  double sum = 0, best = 0;
  const size_t eighty = std::max<size_t>(1, errors.size() * 8 / 10);
  for (size_t i = 0; i < errors.size(); ++i) {
    sum += errors[i];
    if (i < eighty) best += errors[i];
  }
  const double n = static_cast<double>(errors.size());
  std::printf("| %s | %s | %zu | %.4f | %.4f | %.1f | %.1f | %.1f | %.1f | %.3f | %.3f | %.1f | %s |\n",
              title.c_str(), kMethods[method].name, errors.size(), sum / n,
              best / static_cast<double>(eighty), 100 * within[0] / n, 100 * within[1] / n,
              100 * within[2] / n, 100 * trusted / n, worst_trusted, worst, median(times),
              worst_name.c_str());
}

void print_table(const std::vector<Row>& rows, const Options& options) {
  std::printf(
      "| pages | method | number | mean error | best 80 %% | within 0.1, %% | 0.2 | 0.5 | trusted, %% | "
      "worst trusted | "
      "worst | ms | worst page |\n|---|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---|\n");
  const auto lines = [&](const std::string& title, const std::function<bool(const Row&)>& filter) {
    for (size_t m = 0; m < std::size(kMethods); ++m)
      if (options.only.empty() || options.only == kMethods[m].name) print_line(title, rows, m, filter);
  };
  for (const Kind kind : kAllKinds)
    if (has_lines(kind)) lines(name_of(kind), [=](const Row& row) { return row.truth.kind == kind; });
  for (int s = 0; s < 5; ++s)
    lines(std::string("text, ") + name_of(static_cast<Spoil>(s)), [=](const Row& row) {
      return has_lines(row.truth.kind) && row.truth.spoil == static_cast<Spoil>(s);
    });
  lines("**all text**", [](const Row& row) { return has_lines(row.truth.kind); });
}

// Pages that give little or nothing to measure: what matters is that none is trusted with a wrong angle.
void print_verdicts(const std::vector<Row>& rows) {
  std::printf(
      "\n| pages with less than three lines | number | blank | uncertain | trusted | worst trusted |\n"
      "|---|---:|---:|---:|---:|---:|\n");
  for (const Kind kind : kAllKinds) {
    if (has_lines(kind)) continue;
    int number = 0, blank = 0, trusted = 0;
    double worst = 0;
    for (const Row& row : rows) {
      if (row.truth.kind != kind) continue;
      ++number;
      blank += row.answers[0].blank;
      if (!row.answers[0].trusted) continue;
      ++trusted;
      worst = std::max(worst, error_of(row, 0));
    }
    std::printf("| %s | %d | %d | %d | %d | %.3f |\n", name_of(kind), number, blank, number - blank - trusted,
                trusted, worst);
  }
}

// What is left after turning the page level by the measured angle and measuring again.
double residual_of(const Gray& page, const Answer& answer) {
  Gray level(page.width, page.height);
  if (skew_rotate_gray(page.pixels.data(), page.width, page.width, page.height, answer.angle,
                       SKEW_CANVAS_KEEP, level.pixels.data(), level.width, border_median(page)) != SKEW_OK)
    throw std::runtime_error("skew_rotate_gray failed");
  return std::fabs(measure_page(level).angle);
}

void print_residuals(const std::vector<Row>& rows) {
  std::vector<double> residuals;
  for (const Row& row : rows)
    if (has_lines(row.truth.kind) && row.answers[0].trusted) residuals.push_back(row.residual);
  if (residuals.empty()) return;
  double sum = 0, worst = 0;
  int within = 0;
  for (const double r : residuals) {
    sum += r;
    worst = std::max(worst, r);
    within += r <= 0.03;
  }
  const double n = static_cast<double>(residuals.size());
  std::printf(
      "\nMeasured again after straightening, %zu trusted pages: mean %.4f, within 0.03: %.1f %%, worst "
      "%.3f\n",
      residuals.size(), sum / n, 100 * within / n, worst);
}

// Pages of 12 megapixels, the methods in turn, medians.
int time_methods() {
  constexpr int kRounds = 9;
  std::printf("| 12 megapixels, processor time in ms | page | driver | leptonica |\n|---|---:|---:|---:|\n");
  for (const Kind kind :
       {Kind::kSerif, Kind::kSans, Kind::kTable, Kind::kThreeLines, Kind::kPictures, Kind::kBlank}) {
    Case c;
    c.kind = kind;
    c.spoil = Spoil::kPhone;
    c.seed = 77;
    c.angle = 6.3;
    c.width = 3000;
    c.height = 4000;
    const Gray page = make_page(c);
    std::vector<double> times[std::size(kMethods)];
    for (int round = 0; round < kRounds; ++round)
      for (size_t m = 0; m < std::size(kMethods); ++m)
        times[m].push_back(kMethods[m].measure(page).milliseconds);
    std::printf("| %s | %.1f | %.1f | %.1f |\n", name_of(kind), median(times[0]), median(times[1]),
                median(times[2]));
  }
  return 0;
}

void write_csv(const std::vector<Row>& rows, const std::string& path) {
  std::ofstream out(path);
  out << "file,kind,spoil,truth";
  for (const Method& method : kMethods) out << "," << method.name << "," << method.name << " verdict";
  out << "\n";
  for (const Row& row : rows) {
    out << row.truth.name() << "," << name_of(row.truth.kind) << "," << name_of(row.truth.spoil) << ","
        << row.truth.angle;
    for (const Answer& a : row.answers)
      out << "," << a.angle << "," << (a.blank ? "blank" : a.trusted ? "trusted" : "uncertain");
    out << "\n";
  }
}

void save_worst(const std::vector<Row>& rows, const Options& options) {
  std::vector<const Row*> order;
  for (const Row& row : rows)
    if (has_lines(row.truth.kind)) order.push_back(&row);
  std::sort(order.begin(), order.end(),
            [](const Row* a, const Row* b) { return error_of(*a, 0) > error_of(*b, 0); });
  for (size_t i = 0; i < order.size() && i < 6; ++i)
    save_picture(page_of(order[i]->truth, options.cache),
                 options.pictures + "/" + order[i]->truth.name() + ".png");
}

Options parse(int count, char** values) {
  Options options;
  for (int i = 1; i + 1 < count; i += 2) {
    const std::string key = values[i], value = values[i + 1];
    if (key == "--base")
      options.base = std::strtoull(value.c_str(), nullptr, 10);
    else if (key == "--rounds")
      options.rounds = std::atoi(value.c_str());
    else if (key == "--limit")
      options.limit = std::atof(value.c_str());
    else if (key == "--cache")
      options.cache = value;
    else if (key == "--csv")
      options.csv = value;
    else if (key == "--pictures")
      options.pictures = value;
    else if (key == "--scans")
      options.scans = value;
    else if (key == "--list")
      options.list = value;
    else if (key == "--only")
      options.only = value;
    else
      throw std::runtime_error("unknown option " + key);
  }
  return options;
}

int run(int count, char** values) {
  if (count == 2 && std::strcmp(values[1], "--time") == 0) {
    setMsgSeverity(L_SEVERITY_NONE);
    return time_methods();
  }
  const Options options = parse(count, values);
  setMsgSeverity(L_SEVERITY_NONE);
  if (!options.scans.empty()) {
    measure_scans(options.scans, options.list);
    return 0;
  }
  std::vector<Row> rows;
  for (const Case& c : truth_set(options.base, options.limit, options.rounds)) {
    const Gray page = page_of(c, options.cache);
    Row row;
    row.truth = c;
    for (size_t m = 0; m < std::size(kMethods); ++m)
      if (options.only.empty() || options.only == kMethods[m].name)
        row.answers[m] = kMethods[m].measure(page);
    if (row.answers[0].trusted) row.residual = residual_of(page, row.answers[0]);
    rows.push_back(row);
  }
  print_table(rows, options);
  print_verdicts(rows);
  print_residuals(rows);
  if (!options.csv.empty()) write_csv(rows, options.csv);
  if (!options.pictures.empty()) save_worst(rows, options);
  return 0;
}

}  // namespace
}  // namespace accuracy

int main(int count, char** values) {
  try {
    return accuracy::run(count, values);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "skew_accuracy: %s\n", failure.what());
    return 1;
  }
}
