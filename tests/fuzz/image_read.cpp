// The command-line tool's reading of image files: whatever the file holds, a page or a clear failure comes out.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "files/failure.h"
#include "files/image_read.h"

namespace {

// A file in memory, closed with the scope.
class MemoryFile {
 public:
  MemoryFile(const uint8_t* data, size_t size) : handle_(memfd_create("input", 0)) {
    if (write(handle_, data, size) != static_cast<ssize_t>(size)) abort();
  }
  ~MemoryFile() { close(handle_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  std::string path() const { return "/proc/self/fd/" + std::to_string(handle_); }

 private:
  int handle_;
};

files::ReadOptions options(bool tolerant) {
  files::ReadOptions chosen;
  chosen.max_pixels = 1 << 20;
  chosen.dpi = 30;
  chosen.tolerant = tolerant;
  return chosen;
}

}  // namespace

// The first byte chooses how damaged files are treated; the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool started = (files::start_image_library("fuzz"), true);
  if (size == 0 || !started) return 0;
  const MemoryFile file(data + 1, size - 1);
  try {
    const files::ReadOptions chosen = options((data[0] & 1) != 0);
    const files::SourceFile source = files::open_source(file.path(), "input", chosen);
    for (int page = 0; page < source.pages && page < 3; ++page) files::read_page(source, page, chosen);
  } catch (const files::Failure&) {
    // what a broken file should give
  }
  return 0;
}
