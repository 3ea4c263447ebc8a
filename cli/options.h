// What the command line asks for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "files/targets.h"
#include "skewcorrection/level.h"

namespace tool {

enum class Command { kMeasure, kDeskew, kRotate, kReport, kUndo, kMap };

struct Background {
  bool sampled = true;  // take the colour from the page's own border
  uint8_t rgb[3] = {255, 255, 255};
};

// The command map.
struct MapOptions {
  std::string sidecar;
  int page = 0;  // of the sidecar, from 1; 0: all, in order
  bool back = false;
  bool whole = false;
};

struct Options {
  Command command = Command::kMeasure;
  std::vector<std::string> inputs;
  files::Target target;
  bool overwrite = false;
  bool keep_time = false;  // results get the time of their sources
  bool resume = false;     // skip pages whose output stands already
  bool recursive = false;
  bool dry_run = false;

  double angle = 0.0;  // rotate: the angle to undo, degrees
  double min_angle = 0.05;
  double max_angle = 45.0;
  int align = SKEW_ALIGN_AUTO;  // SKEW_ALIGN_...
  bool force = false;           // straighten although the angle is not trusted
  bool fast = false;
  Background background;
  int canvas = SKEW_CANVAS_KEEP;  // SKEW_CANVAS_...

  std::string format;  // extension to write, empty: that of the source
  int quality = 92;
  double dpi = 0.0;      // at which PDF pages are drawn; 0: as their own images
  std::string password;  // of PDF files
  int64_t max_pixels = 200'000'000;
  bool tolerant = false;
  int page_timeout = 300;  // seconds that decoding a page may take, 0 for no limit

  bool sidecar = false;  // write the JSON line of each page beside its result
  MapOptions map;

  bool json = false;
  bool quiet = false;
  int jobs = 1;
};

}  // namespace tool
