// The report: one HTML page that needs nothing beside itself.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "cli/lines.h"
#include "cli/measure.h"
#include "files/raster.h"
#include "files/temp_file.h"

namespace tool {

// The part about one page. after has no pixels if the page is left alone.
std::string report_section(const PageResult& result, const files::Raster& before, const files::Raster& after,
                           const SkewPageDetails& details);

// Collects the parts in a temporary file and puts the overview before them. Throws Failure.
class ReportFile {
 public:
  ReportFile(const std::string& path, bool overwrite);
  ~ReportFile();
  ReportFile(const ReportFile&) = delete;
  ReportFile& operator=(const ReportFile&) = delete;

  void add(const PageResult& result);
  void finish();

 private:
  std::string path_;
  bool overwrite_;
  files::TempFile sections_;
  FILE* out_;
  std::string overview_;
  int pages_ = 0, straightened_ = 0, left_alone_ = 0, failed_ = 0;
};

}  // namespace tool
