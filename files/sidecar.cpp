#include "files/sidecar.h"

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>

#include "files/failure.h"

namespace files {

namespace {

using nlohmann::json;

TurnedPage page_of(const json& line) {
  TurnedPage page;
  page.page = line.at("page").get<int>();
  page.source = line.at("file").get<std::string>();
  page.result = line.value("output", "");
  SkewTransform& t = page.transform;
  t.width = line.at("width").get<int>();
  t.height = line.at("height").get<int>();
  t.outWidth = line.at("size_out").at(0).get<int>();
  t.outHeight = line.at("size_out").at(1).get<int>();
  double* const six[] = {&t.a, &t.b, &t.c, &t.d, &t.e, &t.f};
  for (int i = 0; i < 6; ++i) *six[i] = line.at("transform").at(i).get<double>();
  const double size = t.a * t.d - t.b * t.c;
  if (t.width < 1 || t.height < 1 || t.outWidth < 1 || t.outHeight < 1 || !(std::fabs(size - 1) < 0.01))
    throw Failure("is no sidecar of this tool: its numbers describe no rotation");
  return page;
}

}  // namespace

std::string sidecar_of(const std::string& result) { return result + ".json"; }

std::vector<TurnedPage> read_sidecar(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw Failure("cannot be opened");
  std::vector<TurnedPage> pages;
  try {
    for (std::string line; std::getline(file, line);)
      if (!line.empty()) pages.push_back(page_of(json::parse(line)));
  } catch (const json::exception&) {
    throw Failure("is no sidecar of this tool");
  }
  if (pages.empty()) throw Failure("is empty");
  return pages;
}

}  // namespace files
