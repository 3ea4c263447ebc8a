// Moving the boxes of recognised text, there and back: whatever the document holds, another one or a clear failure
// comes out.
#include "files/failure.h"
#include "files/map_boxes.h"
#include "tests/fuzz/memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const MemoryFile file(data + 1, size - 1);
  files::TurnedPage page{1, "page.png", "level.png", {}};
  skew_transform(1000, 800, 4, SKEW_CANVAS_EXPAND, &page.transform);
  try {
    files::map_boxes(file.path(), "/dev/null", {page}, {(data[0] & 1) != 0, (data[0] & 2) != 0});
  } catch (const files::Failure&) {
    // what a broken document should give
  }
  return 0;
}
