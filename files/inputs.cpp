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

class Collector {
 public:
  Collector(const std::string& top, const std::string& results) : top_(top), results_(results) {}

  std::vector<Input> collect(bool recursive) {
    list(top_, recursive);
    if (found_.empty()) found_.push_back({top_, top_, "", "holds no page images"});
    std::sort(found_.begin(), found_.end(),
              [](const Input& a, const Input& b) { return fs::path(a.path) < fs::path(b.path); });
    return std::move(found_);
  }

 private:
  void list(const fs::path& folder, bool recursive) {
    std::error_code error, ignored;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
      const fs::path& path = it->path();
      if (it->is_regular_file(ignored)) {
        if (looks_like_image(path)) found_.push_back({path, path, path.lexically_relative(top_), ""});
      } else if (recursive && !it->is_symlink(ignored) && it->is_directory(ignored)) {
        if (results_.empty() || !fs::equivalent(path, results_, ignored)) list(path, true);
      }
    }
    if (error) found_.push_back({folder, folder, "", "cannot be listed: " + error.message()});
  }

  const fs::path top_, results_;
  std::vector<Input> found_;
};

}  // namespace

std::vector<Input> find_inputs(const std::vector<std::string>& named, bool recursive,
                               const std::string& results, const std::string& spool) {
  std::vector<Input> inputs;
  for (const std::string& given : named) {
    std::error_code ignored;
    if (given == "-") {
      inputs.push_back({spool, "standard input", "stdin", ""});
    } else if (!fs::is_directory(given, ignored)) {
      inputs.push_back({given, given, fs::path(given).filename(), ""});
    } else {
      const std::vector<Input> found = Collector(given, results).collect(recursive);
      inputs.insert(inputs.end(), found.begin(), found.end());
    }
  }
  return inputs;
}

}  // namespace files
