#include "files/targets.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "files/failure.h"

namespace files {

namespace fs = std::filesystem;

std::string output_path(const Input& input, const Target& target, const std::string& extension) {
  if (!target.file.empty()) return target.file;
  if (target.in_place) return input.path;
  fs::path path = fs::path(target.folder) / input.relative;
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

bool is_stream(const std::string& path) {
  if (path == "-") return true;
  struct stat found {};
  if (stat(path.c_str(), &found) == 0 && !S_ISREG(found.st_mode) && !S_ISDIR(found.st_mode)) return true;
  std::error_code error;
  fs::path step = path;
  for (int links = 0; links < 40; ++links) {
    const fs::path folder =
        fs::weakly_canonical(step.parent_path().empty() ? "." : step.parent_path(), error);
    if (!error && *std::next(folder.begin(), folder.has_root_directory()) == "proc" &&
        fs::exists(step, error))
      return true;
    if (!fs::is_symlink(step, error)) return false;
    step = folder / fs::read_symlink(step, error);
  }
  return false;
}

bool Claims::is_source(const Identity& file) {
  if (!sources_known_) {
    for (const Input& input : inputs_) {
      struct stat found {};
      if (input.error.empty() && stat(input.path.c_str(), &found) == 0)
        sources_.insert({found.st_dev, found.st_ino});
    }
    sources_known_ = true;
  }
  return sources_.count(file) > 0;
}

void Claims::claim(const std::string& path, bool in_place) {
  if (is_stream(path)) return;
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error).lexically_normal();
  // A source that is a link is replaced where it points to; a result takes the place of the link's file too.
  std::string name =
      fs::is_symlink(absolute, error)
          ? fs::weakly_canonical(absolute, error).string()
          : (fs::weakly_canonical(absolute.parent_path(), error) / absolute.filename()).string();
  struct stat found {};
  const bool exists = stat(path.c_str(), &found) == 0;
  const Identity file{found.st_dev, found.st_ino};

  const std::lock_guard<std::mutex> lock(mutex_);
  if (exists && S_ISDIR(found.st_mode))
    throw Failure("not written: " + path + " is a folder (use --output-dir)");
  if (!in_place && exists && is_source(file))
    throw Failure("not written: " + path + " is a source of this run (only --in-place replaces sources)");
  // A file with several names keeps its place on the disk, so that its other names are the same result.
  const bool again = in_place && exists && found.st_nlink > 1 && !replaced_.insert(file).second;
  if (!names_.insert(name).second || again)
    throw Failure("not written: " + path + " was written for another input of this run");
}

}  // namespace files
