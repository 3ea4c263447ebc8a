// Measures sets of pages whose angle is known, with the library and with Leptonica, and prints how far each was off.
//   skew_accuracy pages FOLDER CSV            images with a truth.csv (sets.h says what it holds)
//   skew_accuracy scans FOLDER LIST CSV       scanned pages, each turned by known angles
//   skew_accuracy drawn CACHE ROUNDS CSV      drawn pages, kept in CACHE; the worst ones as pictures beside the CSV
//   skew_accuracy time                        pages of 12 megapixels, each method in turn
#include <leptonica/allheaders.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "accuracy/report.h"
#include "accuracy/truth.h"
#include "include/skewcorrection/rotate.h"

namespace accuracy {
namespace {

SkewPage measure_level(const Gray& page, double angle) {
  Gray level(page.width, page.height);
  if (skew_rotate_gray(page.pixels.data(), page.width, page.width, page.height, angle, SKEW_CANVAS_KEEP,
                       level.pixels.data(), level.width, border_median(page)) != SKEW_OK)
    throw std::runtime_error("skew_rotate_gray failed");
  double ignored;
  return measure_page(level, &ignored);
}

std::vector<Row> measure(const std::vector<Page>& pages) {
  std::vector<Row> rows;
  for (const Page& page : pages) {
    const Gray image = page.load();
    Row row;
    row.page = page;
    row.found = measure_page(image, &row.milliseconds);
    if (row.found.verdict == SKEW_PAGE_TRUSTED) row.again = measure_level(image, row.found.angle);
    row.leptonica = measure_leptonica(image);
    row.driver = measure_driver(image);
    rows.push_back(row);
  }
  return rows;
}

void save_worst(std::vector<Row> rows, const std::string& folder) {
  constexpr size_t kPictures = 6;
  constexpr float kSize = 400;
  const auto by = [](const Row& row) { return row.page.lines ? off(row.page, row.found.angle) : 0; };
  std::sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) { return by(a) > by(b); });
  for (size_t i = 0; i < std::min(kPictures, rows.size()); ++i) {
    const Gray page = rows[i].page.load();
    PIX* full = to_pix(page);
    const float scale = std::min(1.0f, kSize / static_cast<float>(std::max(page.width, page.height)));
    PIX* small = pixScale(full, scale, scale);
    pixWrite((folder + "/worst-" + rows[i].page.name + ".png").c_str(), small, IFF_PNG);
    pixDestroy(&small);
    pixDestroy(&full);
  }
}

void time_methods() {
  constexpr int kRounds = 9;
  std::printf(
      "| 12 megapixels, processor time in ms | page | Leptonica | ratio | driver "
      "|\n|---|---:|---:|---:|---:|\n");
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
    std::vector<double> ours, leptonica, driver;
    for (int round = 0; round < kRounds; ++round) {
      double milliseconds;
      measure_page(page, &milliseconds);
      ours.push_back(milliseconds);
      leptonica.push_back(measure_leptonica(page).milliseconds);
      driver.push_back(measure_driver(page).milliseconds);
    }
    std::printf("| %s | %.1f | %.0f | %.1f | %.1f |\n", name_of(kind), median(ours), median(leptonica),
                median(leptonica) / median(ours), median(driver));
  }
}

int run(int count, char** values) {
  setMsgSeverity(L_SEVERITY_NONE);
  const std::vector<std::string> words(values + 1, values + count);
  const std::string what = words.empty() ? "" : words[0];
  std::vector<Page> pages;
  if (what == "time" && count == 2)
    return time_methods(), 0;
  else if (what == "pages" && count == 4)
    pages = folder_set(words[1]);
  else if (what == "scans" && count == 5)
    pages = scan_set(words[1], words[2]);
  else if (what == "drawn" && count == 5)
    pages = drawn_set(words[1], std::atoi(words[2].c_str()));
  else
    throw std::runtime_error(
        "usage: pages FOLDER CSV | scans FOLDER LIST CSV | drawn CACHE ROUNDS CSV | time");
  const std::vector<Row> rows = measure(pages);
  print_report(rows);
  write_csv(rows, words.back());
  if (what == "drawn") save_worst(rows, words.back().substr(0, words.back().find_last_of('/')));
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
