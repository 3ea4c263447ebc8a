#include "accuracy/report.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <stdexcept>

namespace accuracy {
namespace {

using Filter = std::function<bool(const Row&)>;

bool trusted(const Row& row) { return row.found.verdict == SKEW_PAGE_TRUSTED; }
bool counts(const Row& row) { return row.page.sure && row.page.lines; }

// One method on some pages: what a cell of the table shows.
struct Summary {
  std::vector<double> errors, times;  // errors sorted
  double mean = 0;
  int trusted = 0, wrong[3] = {0, 0, 0};  // trusted, yet off by more than 0.25, 0.3, 0.5

  void add(const Page& page, double angle, bool sure, double milliseconds) {
    errors.push_back(apart(angle, page.truth));
    times.push_back(milliseconds);
    trusted += sure;
    const double bounds[3] = {0.25, 0.3, 0.5}, by = off(page, angle);
    for (int i = 0; i < 3; ++i) wrong[i] += sure && by > bounds[i];
  }
  void finish() {
    std::sort(errors.begin(), errors.end());
    for (const double e : errors) mean += e / static_cast<double>(errors.size());
  }
  double quantile(double share) const {
    return errors[std::min(errors.size() - 1,
                           static_cast<size_t>(share * static_cast<double>(errors.size())))];
  }
  double within(double bound) const {
    return percent(std::upper_bound(errors.begin(), errors.end(), bound) - errors.begin());
  }
  double percent(ptrdiff_t count) const {
    return 100.0 * static_cast<double>(count) / static_cast<double>(errors.size());
  }
};

void print_line(const std::string& title, const std::vector<Row>& rows, const Filter& filter) {
  Summary ours, theirs;
  for (const Row& row : rows) {
    if (!filter(row)) continue;
    ours.add(row.page, row.found.angle, trusted(row), row.milliseconds);
    theirs.add(row.page, row.leptonica.angle, row.leptonica.trusted, row.leptonica.milliseconds);
  }
  if (ours.errors.empty()) return;
  ours.finish();
  theirs.finish();
  const Summary& a = ours;
  const Summary& b = theirs;
  std::printf("| %s | %zu | %.3f / %.3f | %.3f / %.3f | %.3f / %.3f | %.2f / %.2f ", title.c_str(),
              a.errors.size(), a.mean, b.mean, a.quantile(0.5), b.quantile(0.5), a.quantile(0.9),
              b.quantile(0.9), a.errors.back(), b.errors.back());
  for (const double bound : {0.1, 0.2, 0.5}) std::printf("| %.1f / %.1f ", a.within(bound), b.within(bound));
  std::printf("| %.1f / %.1f ", a.percent(a.trusted), b.percent(b.trusted));
  for (int i = 0; i < 3; ++i) std::printf("| %d / %d ", a.wrong[i], b.wrong[i]);
  std::printf("| %.1f / %.0f |\n", median(a.times), median(b.times));
}

// The groups in the order in which they first appear; a key that is empty puts a page into none.
void print_table(const std::vector<Row>& rows, const char* what, std::string Page::*key) {
  std::vector<std::string> groups;
  for (const Row& row : rows)
    if (!(row.page.*key).empty() && std::find(groups.begin(), groups.end(), row.page.*key) == groups.end())
      groups.push_back(row.page.*key);
  if (groups.empty()) return;
  std::printf(
      "\n| %s | pages | mean | median | 90 %% | worst | <= 0.1, %% | <= 0.2 | <= 0.5 | trusted, %% | "
      "trusted, off by "
      "> 0.25 | > 0.3 | > 0.5 | ms "
      "|\n|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n",
      what);
  for (const std::string& group : groups)
    print_line(group, rows, [&](const Row& row) { return counts(row) && row.page.*key == group; });
  print_line("**all**", rows, [&](const Row& row) { return counts(row) && !(row.page.*key).empty(); });
  print_line("unsure truth", rows, [](const Row& row) { return row.page.lines && !row.page.sure; });
}

// Pages that give little or nothing to measure: what matters is that none is trusted with a wrong angle.
void print_verdicts(const std::vector<Row>& rows) {
  std::vector<std::string> groups;
  for (const Row& row : rows)
    if (!row.page.lines && std::find(groups.begin(), groups.end(), row.page.group) == groups.end())
      groups.push_back(row.page.group);
  if (groups.empty()) return;
  std::printf(
      "\n| less than three lines | pages | blank | uncertain | trusted | trusted, off by > 0.25 | worst "
      "trusted |\n"
      "|---|---:|---:|---:|---:|---:|---:|\n");
  for (const std::string& group : groups) {
    int number = 0, blank = 0, sure = 0, wrong = 0;
    double worst = 0;
    for (const Row& row : rows) {
      if (row.page.lines || row.page.group != group) continue;
      ++number;
      blank += row.found.verdict == SKEW_PAGE_BLANK;
      if (!trusted(row)) continue;
      const double error = apart(row.found.angle, row.page.truth);
      ++sure;
      wrong += error > 0.25;
      worst = std::max(worst, error);
    }
    std::printf("| %s | %d | %d | %d | %d | %d | %.3f |\n", group.c_str(), number, blank,
                number - blank - sure, sure, wrong, worst);
  }
}

void print_again(const std::vector<Row>& rows) {
  constexpr double kLeftAlone = 0.05;  // the tool's own limit
  std::vector<double> rest;
  int near = 0, alone = 0;
  for (const Row& row : rows) {
    if (!trusted(row) || !row.page.lines) continue;
    rest.push_back(apart(row.again.angle, 0));
    near += rest.back() <= 0.03;
    alone += rest.back() < kLeftAlone || row.again.verdict != SKEW_PAGE_TRUSTED;
  }
  if (rest.empty()) return;
  const double n = static_cast<double>(rest.size());
  double mean = 0;
  for (const double r : rest) mean += r / n;
  std::printf(
      "\n| trusted pages, straightened and measured again | mean | within 0.03, %% | worst | left alone by a "
      "second "
      "`deskew`, %% |\n|---:|---:|---:|---:|---:|\n| %zu | %.4f | %.1f | %.3f | %.1f |\n",
      rest.size(), mean, 100 * near / n, *std::max_element(rest.begin(), rest.end()), 100 * alone / n);
}

// Pages whose lines are not parallel: right is an answer among their directions, or a warning.
void print_ranges(const std::vector<Row>& rows) {
  int number = 0, sure = 0, among = 0, said = 0;
  for (const Row& row : rows) {
    if (row.page.lowest >= row.page.highest) continue;
    ++number;
    sure += trusted(row);
    among += trusted(row) && off(row.page, row.found.angle) == 0;
    said += row.found.reason == SKEW_REASON_TWO_DIRECTIONS || row.found.reason == SKEW_REASON_NOT_PARALLEL;
  }
  if (number > 0)
    std::printf(
        "\nOf %d pages whose lines are not parallel %d are trusted, %d of these with an angle among their "
        "lines'; %d are "
        "said to have two directions or lines that are not parallel.\n",
        number, sure, among, said);
}

void print_paper(const std::vector<Row>& rows) {
  std::vector<double> errors;
  int known = 0, near = 0;
  for (const Row& row : rows) {
    known += row.page.paper != Page::kUnknown;
    if (row.page.paper == Page::kUnknown || row.found.paperFound == 0) continue;
    errors.push_back(apart(row.found.paperAngle, row.page.paper));
    near += errors.back() <= 0.1;
  }
  if (known > 0)
    std::printf(
        "\nThe sheet's edges, in view on %d pages, were found on %zu, their angle within 0.1 on %d, median "
        "error "
        "%.3f.\n",
        known, errors.size(), near, median(errors));
}

void print_driver(const std::vector<Row>& rows) {
  Summary driver;
  for (const Row& row : rows)
    if (counts(row)) driver.add(row.page, row.driver.angle, row.driver.trusted, row.driver.milliseconds);
  if (driver.errors.empty()) return;
  driver.finish();
  std::printf(
      "\n`SkewCorrection`, the quick driver, on all these pages: mean %.3f, median %.3f, within 0.5: %.1f "
      "%%, %.1f ms.\n",
      driver.mean, driver.quantile(0.5), driver.within(0.5), median(driver.times));
}

const char* word(int verdict) {
  static const char* const words[] = {"trusted", "uncertain", "blank"};
  return words[verdict];
}

}  // namespace

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

void print_report(const std::vector<Row>& rows) {
  print_table(rows, "kind", &Page::group);
  print_table(rows, "spoilt by", &Page::way);
  print_verdicts(rows);
  print_again(rows);
  print_ranges(rows);
  print_paper(rows);
  print_driver(rows);
}

void write_csv(const std::vector<Row>& rows, const std::string& path) {
  std::ofstream out(path);
  out << "file,group,way,truth,lowest,highest,sure,lines,angle,off,verdict,confidence,reason,basis,found "
         "lowest,found "
         "highest,paper found,paper,again,milliseconds,leptonica,leptonica trusted,leptonica "
         "milliseconds,driver\n";
  for (const Row& row : rows) {
    const Page& p = row.page;
    const SkewPage& f = row.found;
    out << p.name << "," << p.group << "," << p.way << "," << p.truth << "," << p.lowest << "," << p.highest
        << "," << p.sure << "," << p.lines << "," << f.angle << "," << off(p, f.angle) << ","
        << word(f.verdict) << "," << f.confidence << "," << f.reason << "," << f.basis << "," << f.lowestAngle
        << "," << f.highestAngle << "," << f.paperFound << "," << f.paperAngle << ","
        << (trusted(row) ? std::to_string(row.again.angle) : "") << "," << row.milliseconds << ","
        << row.leptonica.angle << "," << row.leptonica.trusted << "," << row.leptonica.milliseconds << ","
        << row.driver.angle << "\n";
  }
  if (!out.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace accuracy
