#include "cli/map.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "files/failure.h"
#include "files/inputs.h"
#include "files/map_boxes.h"
#include "files/temp_file.h"

namespace tool {

namespace {

std::vector<files::TurnedPage> pages_of(const Options& options) {
  std::vector<files::TurnedPage> pages;
  try {
    pages = files::read_sidecar(options.map.sidecar);
  } catch (const files::Failure& failure) {
    throw files::Failure(options.map.sidecar + " " + failure.what());
  }
  const int wanted = options.map.page;
  if (wanted == 0) return pages;
  const auto found =
      std::find_if(pages.begin(), pages.end(), [=](const auto& page) { return page.page == wanted; });
  if (found == pages.end())
    throw files::Failure(options.map.sidecar + " says nothing about page " + std::to_string(wanted));
  return {*found};
}

void map_file(const files::Input& input, const Options& options, files::Claims& claims) {
  const auto pages = pages_of(options);
  const std::string& output = options.target.file;
  claims.claim(output, false);
  files::TempFile temp(output, "");
  try {
    files::map_boxes(input.path, temp.path(), pages, {options.map.back, options.map.whole});
  } catch (const files::Failure& failure) {
    throw files::Failure(input.name + " " + failure.what());
  }
  temp.commit({options.overwrite, false, ""});
}

}  // namespace

int map(const Options& options) {
  files::clean_up_on_signals();
  std::unique_ptr<files::TempFile> spool;
  files::Input input{options.inputs[0], options.inputs[0], "", ""};
  if (input.path == "-") {
    spool = std::make_unique<files::TempFile>("", "");
    files::copy_bytes("/dev/stdin", spool->path());
    input = {spool->path(), "standard input", "", ""};
  }
  const std::vector<files::Input> inputs = {input, {options.map.sidecar, options.map.sidecar, "", ""}};
  files::Claims claims(inputs);
  map_file(input, options, claims);
  return 0;
}

}  // namespace tool
