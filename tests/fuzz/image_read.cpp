// The command-line tool's reading of image files: whatever the file holds, a page or a clear failure comes out.
#include "files/image_read.h"
#include "files/failure.h"
#include "tests/fuzz/memory_file.h"

namespace {

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
