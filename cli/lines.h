// What is said about each page: a line of text or a line of JSON on standard output, an error on standard
// error, and progress where somebody watches.
#pragma once

#include <string>

#include "cli/measure.h"
#include "cli/options.h"
#include "skewcorrection/level.h"

namespace tool {

enum class Action { kMeasured, kStraightened, kLeftAlone, kSkipped, kFailed };

struct PageResult {
  std::string file;
  int page = 1, pages = 1;  // page counts from 1
  bool measured = false;
  int width = 0, height = 0;  // pixels, upright
  double dpi = 0.0;           // 0 if the file does not tell
  Measurement measurement;
  double turned = 0.0;    // straightened: by how much, degrees
  bool by_paper = false;  // the paper's edge decided
  Action action = Action::kFailed;
  std::string why;            // left alone, skipped or failed: the reason
  std::string output;         // the file written
  SkewTransform transform{};  // from the page to its result; no width where there is none
  int canvas = SKEW_CANVAS_KEEP;
  std::string html;  // report: the page's part of it
};

// "scan.tif" or "scan.tif, page 2".
std::string page_name(const PageResult& result);

std::string text_line(const PageResult& result, const Options& options);
std::string json_line(const PageResult& result, const Options& options);

// The measurement in a few words: "4.28 degrees, trusted".
std::string in_words(const Measurement& measurement);

// Text with control characters spelled out, which on a terminal could do anything.
std::string printable(const std::string& text);

class Reporter {
 public:
  explicit Reporter(const Options& options);
  void show_progress(size_t done, size_t total, const std::string& name);
  void show(const PageResult& result);
  void clear_progress();
  bool failed() const { return failed_; }

  // Why lines can no longer be written, empty while they can.
  const std::string& lost() const { return lost_; }

 private:
  const Options& options_;
  bool watched_;  // standard error is a terminal
  bool pending_ = false;
  bool failed_ = false;
  std::string lost_;
};

}  // namespace tool
