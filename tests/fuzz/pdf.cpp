// Levelling a PDF and taking it back: whatever the file holds, another file or a clear failure comes out.
#include "files/failure.h"
#include "files/pdf_level.h"
#include "tests/fuzz/memory_file.h"

namespace {

constexpr int kMostPages = 5;

void level(const std::string& path, const files::PdfOptions& options) {
  files::PdfDocument pdf(path, options);
  const int pages = pdf.pages() < kMostPages ? pdf.pages() : kMostPages;
  pdf.is_signed();
  for (int page = 0; page < pages; ++page) {
    pdf.drawing_dpi(page, 150);
    pdf.level(page, 2.5);
    pdf.level(page, -1);
  }
  pdf.write("/dev/null");
  for (int page = 0; page < pages; ++page) pdf.undo(page);
  pdf.write("/dev/null");
}

}  // namespace

// The first byte chooses how damaged files are treated; the rest is the file.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const MemoryFile file(data + 1, size - 1);
  try {
    level(file.path(), {"", (data[0] & 1) != 0});
  } catch (const files::Failure&) {
    // what a broken file should give
  }
  return 0;
}
