// skew_bench: one table of every hot function beside its plain form and the peers.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <opencv2/core/utility.hpp>
#include <regex>

#include "bench/operations.h"
#include "tests/support/processor.h"

namespace {

using bench::Operation;
using bench::Result;

std::vector<Operation> operations_for(int width, int height) {
  std::vector<Operation> all;
  for (auto* make : {bench::pipeline_operations, bench::search_operations, bench::rotation_operations,
                     bench::conversion_operations, bench::analysis_operations})
    for (Operation& operation : make(width, height)) all.push_back(std::move(operation));
  return all;
}

void print_header() {
  std::printf("%-52s %9s %9s %11s %10s %12s  %s\n", "operation", "ours, ms", "ns/pixel", "plain/ours",
              "peer/ours", "ours/memcpy", "best peer");
}

void print_row(const Result& result) {
  const double ours = result.timings.front().milliseconds;
  const bench::Timing* peer = result.best_peer();
  const double copy = result.times_ours("memcpy");
  std::printf("%-52s %9.3f %9.3f %11.2f %10.2f %12.2f  %s\n", result.operation.c_str(), ours,
              ours * 1e6 / result.pixels, result.times_ours("plain"), peer ? peer->milliseconds / ours : 0.0,
              copy > 0 ? 1 / copy : 0.0, peer ? peer->name.c_str() : "");
  std::fflush(stdout);
}

nlohmann::json as_json(const Result& result, int width, int height) {
  nlohmann::json row = {{"operation", result.operation}, {"width", width}, {"height", height}};
  for (const bench::Timing& timing : result.timings) row["milliseconds"][timing.name] = timing.milliseconds;
  return row;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Measures the library beside its plain forms, OpenCV and Leptonica, on one thread."};
  std::string filter = ".";
  int vector_bytes = 64;
  std::vector<double> megapixels = {12};
  int rounds = 11;
  bool json = false, growth = false;
  app.add_option("--filter", filter, "Only operations whose name matches this expression");
  app.add_option("--rounds", rounds, "Rounds; the medians are reported")->check(CLI::Range(1, 1000));
  app.add_option("--megapixels", megapixels, "Page sizes");
  app.add_option("--vectors", vector_bytes, "Longest vectors that the library may use, bytes")
      ->check(CLI::IsMember({16, 32, 64}));
  app.add_flag("--growth", growth, "Pages of 1, 3, 12 and 48 megapixels");
  app.add_flag("--json", json, "JSON Lines instead of a table");
  CLI11_PARSE(app, argc, argv);
  if (growth) megapixels = {1, 3, 12, 48};
  const skew::test::LimitVectors limit(vector_bytes);

  cv::setNumThreads(1);
  const std::regex wanted(filter);
  for (const double size : megapixels) {
    const int height = static_cast<int>(std::lround(std::sqrt(size * 1e6 * 3 / 4) / 8)) * 8;
    const int width = height / 3 * 4;
    if (!json) {
      std::printf("\n%d x %d, one thread, medians of %d interleaved rounds\n", width, height, rounds);
      print_header();
    }
    for (const Operation& operation : operations_for(width, height)) {
      if (!std::regex_search(operation.name, wanted)) continue;
      if (isatty(2)) std::fprintf(stderr, "\r\033[K%s", operation.name.c_str());
      const Result result = bench::measure(operation, rounds);
      if (isatty(2)) std::fprintf(stderr, "\r\033[K");
      if (json)
        std::printf("%s\n", as_json(result, width, height).dump().c_str());
      else
        print_row(result);
    }
  }
}
