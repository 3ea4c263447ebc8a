#include "files/inputs.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <set>

namespace files {

namespace fs = std::filesystem;

namespace {

bool looks_like_image(const fs::path& path) {
  static const std::set<std::string> kKnown = {".jpg",  ".jpeg", ".jpe",  ".jfif", ".png", ".tif", ".tiff",
                                               ".webp", ".heic", ".heif", ".avif", ".pnm", ".ppm", ".pgm",
                                               ".pbm",  ".pdf",  ".jp2",  ".jxl",  ".gif"};
  std::string extension = path.extension();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return std::tolower(c); });
  return path.filename().string()[0] != '.' && kKnown.count(extension) > 0;
}

template <class Iterator>
void collect(const std::string& folder, std::vector<Input>& inputs) {
  std::error_code error;
  std::vector<fs::path> found;
  for (Iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    std::error_code ignored;
    if (it->is_regular_file(ignored) && looks_like_image(it->path())) found.push_back(it->path());
  }
  if (error) {
    inputs.push_back({folder, folder, "", "cannot be listed: " + error.message()});
    return;
  }
  std::sort(found.begin(), found.end());
  for (const auto& path : found) inputs.push_back({path, path, path.lexically_relative(folder), ""});
  if (found.empty()) inputs.push_back({folder, folder, "", "holds no page images"});
}

}  // namespace

std::vector<Input> find_inputs(const std::vector<std::string>& named, bool recursive,
                               const std::string& spool) {
  std::vector<Input> inputs;
  for (const std::string& given : named) {
    std::error_code ignored;
    if (given == "-")
      inputs.push_back({spool, "standard input", "stdin", ""});
    else if (!fs::is_directory(given, ignored))
      inputs.push_back({given, given, fs::path(given).filename(), ""});
    else if (recursive)
      collect<fs::recursive_directory_iterator>(given, inputs);
    else
      collect<fs::directory_iterator>(given, inputs);
  }
  return inputs;
}

std::string output_path(const Input& input, const Target& target, const std::string& extension) {
  fs::path path;
  if (!target.file.empty()) return target.file;
  path = target.in_place ? fs::path(input.path) : fs::path(target.folder) / input.relative;
  std::string old = path.extension();
  std::transform(old.begin(), old.end(), old.begin(), [](unsigned char c) { return std::tolower(c); });
  static const std::set<std::string> kSame[] = {
      {".jpg", ".jpeg", ".jpe", ".jfif"}, {".tif", ".tiff"}, {".ppm", ".pgm", ".pbm", ".pnm"}};
  const std::string wanted = "." + extension;
  for (const auto& names : kSame)
    if (names.count(old) && names.count(wanted)) return path;
  if (old != wanted) path.replace_extension(wanted);
  return path;
}

}  // namespace files
