// TIFF files that outgrow their offsets, with a limit of some kilobytes instead of four gigabytes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "files/failure.h"
#include "files/image_read.h"
#include "files/tiff_file.h"

namespace {

using namespace files;

Raster page_of(int width, int height, int seed) {
  Raster raster = make_raster(width, height, 1);
  for (size_t i = 0; i < raster.pixels.size(); ++i)
    raster.pixels[i] = static_cast<uint8_t>((i * 7 + seed) % 251);
  return raster;
}

Directory tags_of(int seed) {
  Directory tags;
  Directory exif;
  exif.set_number(34855, kShort, 100 + seed);
  tags.below[kTagExif] = exif;
  tags.set_number(65000, kLong, 7000 + seed);  // a private tag
  return tags;
}

TEST(TiffWriter, BecomesABigTiffWhereOffsetsEnd) {
  start_image_library("test");
  const struct {
    const char* what;
    uint64_t largest;
    bool big;
  } cases[] = {{"room for all", 1 << 30, false},
               {"with the last page", (1 << 20) + 45000, true},
               {"at once", 1000, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    char path[] = "/tmp/skew-files-XXXXXX";
    close(mkstemp(path));
    constexpr int kPages = 4;
    TiffWriter writer(path, nullptr, c.largest);
    for (int i = 0; i < kPages; ++i) writer.add(page_of(100 + i, 100, i), false, {1, true, 90}, tags_of(i));
    writer.finish();
    {
      const MappedFile file(path);
      EXPECT_EQ(Block::open(file.data(), file.size()).big, c.big);
    }
    const SourceFile source = open_source(path, "book", {});
    ASSERT_EQ(source.pages, kPages);
    for (int i = 0; i < kPages; ++i) {
      const Page page = read_page(source, i, {});
      const Raster expected = page_of(100 + i, 100, i);
      ASSERT_EQ(page.raster.pixels.size(), expected.pixels.size());
      EXPECT_EQ(std::memcmp(page.raster.pixels.data(), expected.pixels.data(), expected.pixels.size()), 0)
          << i;
      EXPECT_EQ(page.about.tags.number(65000, 0), 7000u + i);
      EXPECT_EQ(page.about.tags.below.at(kTagExif).number(34855, 0), 100u + i);
    }
    std::remove(path);
  }
}

}  // namespace
