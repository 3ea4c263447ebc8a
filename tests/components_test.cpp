#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include "include/skewcorrection/analysis.h"
#include "reference/components.h"
#include "tests/support/allocations.h"
#include "tests/support/random.h"

namespace skew {
namespace {

struct Raster {
  Raster(int w, int h, uint8_t value = 0, uint8_t padding = 1)
      : width(w), height(h), stride((w + 3) & ~3), bytes(static_cast<size_t>(stride) * h, padding) {
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) at(x, y) = value;
  }
  uint8_t& at(int x, int y) { return bytes[static_cast<size_t>(y) * stride + x]; }

  int width, height, stride;
  std::vector<uint8_t> bytes;
};

// '#' is 1, anything else 0; the padding is full of ones.
Raster drawn(const std::vector<std::string>& rows) {
  Raster raster(static_cast<int>(rows[0].size()), static_cast<int>(rows.size()));
  for (int y = 0; y < raster.height; ++y)
    for (int x = 0; x < raster.width; ++x) raster.at(x, y) = rows[y][x] == '#';
  return raster;
}

using Record = std::tuple<int, int, int, int, int64_t, int64_t, int, int, int64_t>;

std::vector<Record> taken(ImgROI* records, int count) {
  std::vector<Record> out;
  for (int i = 0; i < count; ++i) {
    const ImgROI& r = records[i];
    out.emplace_back(r.left, r.right, r.top, r.bottom, r.area, r.link, r.maxRun, r.scratchIndex, r.reserved);
  }
  std::free(records);
  return out;
}

std::vector<Record> components(const Raster& raster, int eight, uint8_t foreground = 1) {
  int count = -7;
  ImgROI* records = CCAnalysis(raster.bytes.data(), raster.width, raster.height, &count, eight, foreground);
  EXPECT_EQ(records == nullptr, count == 0);
  return taken(records, count);
}

std::vector<Record> literal(const Raster& raster, int eight, uint8_t foreground = 1) {
  int count = -7;
  ImgROI* records =
      reference::cc_analysis(raster.bytes.data(), raster.width, raster.height, &count, eight, foreground);
  return taken(records, count);
}

Record record(int left, int right, int top, int bottom, int64_t area, int max_run) {
  return {left, right, top, bottom, area, 2, max_run, 0, 0};
}

TEST(Components, BoxesAreasAndOrder) {
  const struct {
    const char* what;
    int eight;
    std::vector<std::string> rows;
    std::vector<Record> records;
  } cases[] = {{"a U, a corner and a stair, corners connect",
                1,
                {"#.#....#", "#.#...#.", "###.....", "....##..", ".....##."},
                {record(0, 2, 0, 2, 7, 3), record(6, 7, 0, 1, 2, 1), record(4, 6, 3, 4, 4, 2)}},
               {"the same, sides only",
                0,
                {"#.#....#", "#.#...#.", "###.....", "....##..", ".....##."},
                {record(0, 2, 0, 2, 7, 3), record(7, 7, 0, 0, 1, 1), record(6, 6, 1, 1, 1, 1),
                 record(4, 6, 3, 4, 4, 2)}},
               {"the last and first column touch neither the padding nor one another",
                1,
                {"#...#", ".....", "#...#"},
                {record(0, 0, 0, 0, 1, 1), record(4, 4, 0, 0, 1, 1), record(0, 0, 2, 2, 1, 1),
                 record(4, 4, 2, 2, 1, 1)}},
               {"one row",
                1,
                {"##.#.###"},
                {record(0, 1, 0, 0, 2, 2), record(3, 3, 0, 0, 1, 1), record(5, 7, 0, 0, 3, 3)}},
               {"the left end of the joining run names the survivor, whatever was opened first",
                1,
                {"...#..#", "...#...", "#..#...", "####..."},
                {record(6, 6, 0, 0, 1, 1), record(0, 3, 0, 3, 8, 4)}},
               {"one record meets a run twice and counts once",
                0,
                {"#####.#", "#...#.#", "#.#.#.#", "#######"},
                {record(0, 6, 0, 3, 20, 7)}},
               {"merged in a chain in one row, from both sides",
                0,
                {"..#...#...#.", "..#.#.#.#.#.", "###.###.####", "#.###.###..#"},
                {record(0, 11, 0, 3, 26, 4)}},
               {"nothing", 1, {"....", "...."}, {}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Raster raster = drawn(c.rows);
    EXPECT_EQ(c.records, components(raster, c.eight));
    EXPECT_EQ(c.records, literal(raster, c.eight));
  }
}

TEST(Components, AreThePixelsOfExactlyOneValue) {
  const std::vector<Record> one = {record(1, 1, 0, 0, 1, 1)};
  for (const auto& [foreground, other] :
       {std::pair<int, int>{0, 1}, {0, 255}, {255, 254}, {128, 0}, {1, 255}}) {
    Raster raster(5, 2, static_cast<uint8_t>(other), static_cast<uint8_t>(foreground));
    raster.at(1, 0) = static_cast<uint8_t>(foreground);
    EXPECT_EQ(one, components(raster, 1, static_cast<uint8_t>(foreground))) << foreground << " in " << other;
  }
}

TEST(Components, AgreeWithTheLiteralForm) {
  test::Random random(4);
  for (int width = 1; width <= 200; width += width < 140 ? 1 : 17)
    for (const int chance : {2, 15, 50, 85, 98}) {
      Raster raster(width, 23);
      raster.bytes = random.bytes(raster.bytes.size());
      for (auto& byte : raster.bytes) byte = byte * 100 / 256 < chance ? 9 : byte;
      for (const int eight : {0, 1})
        EXPECT_EQ(literal(raster, eight, 9), components(raster, eight, 9)) << width << ", " << chance << " %";
    }
}

TEST(Components, TakeTheLargestRasterAndRefuseLargerOnes) {
  Raster wide(3995, 3);
  for (int x = 0; x < wide.width; x += 2) wide.at(x, 0) = 1;
  for (int x = 0; x < wide.width; ++x) wide.at(x, 2) = 1;
  const auto found = components(wide, 1);
  ASSERT_EQ(1999u, found.size());
  EXPECT_EQ(record(3994, 3994, 0, 0, 1, 1), found[1997]);
  EXPECT_EQ(record(0, 3994, 2, 2, 3995, 3995), found[1998]);

  Raster tall(1, 65536, 1);
  EXPECT_EQ(std::vector<Record>{record(0, 0, 0, 65535, 65536, 1)}, components(tall, 1));

  const struct {
    int width, height;
  } refused[] = {{3996, 1}, {0, 5}, {-3, 5}, {5, 0}, {5, -1}, {1, 65537}, {INT32_MIN, INT32_MAX}};
  for (const auto& c : refused) {
    int count = 5;
    EXPECT_EQ(nullptr, CCAnalysis(nullptr, c.width, c.height, &count, 1, 1)) << c.width << " x " << c.height;
    EXPECT_EQ(0, count);
  }
}

// Rows of single pixels, empty rows and taller marks between them, more than the table can hold.
TEST(Components, NeverOverrunTheTable) {
  Raster dots(3995, 40);
  for (int y = 0; y < dots.height; y += 2)
    for (int x = 0; x < dots.width; x += 2) dots.at(x, y) = 1;
  const auto kept = components(dots, 1);
  // Rows 0, 2, 4, 6 and 8 hold 9990 dots: all but row 8's go. Rows 8 to 14 and 16, to 22 and 24, to 30 and 32
  // do the same; rows 32, 34, 36 and 38 stay.
  ASSERT_EQ(4u * 1998, kept.size());
  EXPECT_EQ(record(0, 0, 32, 32, 1, 1), kept.front());
  EXPECT_EQ(record(3994, 3994, 38, 38, 1, 1), kept.back());

  Raster strokes(3995, 60);  // two by two: never dropped
  for (int y = 0; y < strokes.height; ++y)
    for (int x = 0; x < strokes.width; ++x) strokes.at(x, y) = x % 3 != 2 && y % 3 != 2;
  const auto many = components(strokes, 0);
  // 1332 to a row: six rows fit in 8000; the first line of the seventh row is the last one looked at.
  ASSERT_EQ(7u * 1332, many.size());
  EXPECT_EQ(record(3993, 3994, 15, 16, 4, 2), many[6 * 1332 - 1]);
  EXPECT_EQ(record(0, 1, 18, 18, 2, 2), many[6 * 1332]);
}

TEST(Components, DropSpecksFromTheFirstRecordAbove8000) {
  const auto run = [](Raster* raster, int x, int y, int length) {
    for (int i = 0; i < length; ++i) raster->at(x + i, y) = 1;
  };
  for (const int more : {8, 9}) {
    Raster dots(3995, 9);
    for (int y = 0; y < 8; y += 2)
      for (int x = 0; x < dots.width; x += 2) run(&dots, x, y, 1);
    for (int i = 0; i < more; ++i) run(&dots, 2 * i, 8, 1);
    EXPECT_EQ(more == 8 ? 8000u : 9u, components(dots, 1).size());
  }

  Raster bars(3995, 27);  // 799 bars of 4 pixels in each of ten rows
  for (int y = 0; y < 20; y += 2)
    for (int x = 0; x < 3995; x += 5) run(&bars, x, y, 4);
  for (int i = 0; i < 8; ++i) run(&bars, 5 * i, 20, 4);
  run(&bars, 100, 20, 1);  // dropped by row 22, which leaves exactly 8000
  run(&bars, 0, 22, 4);
  run(&bars, 5, 22, 4);
  run(&bars, 0, 24, 1);  // one too many: row 26 is not looked at
  run(&bars, 0, 26, 1);
  const auto kept = components(bars, 1);
  ASSERT_EQ(8001u, kept.size());
  EXPECT_EQ(record(35, 38, 20, 20, 4, 4), kept[7997]);
  EXPECT_EQ(record(0, 3, 22, 22, 4, 4), kept[7998]);
  EXPECT_EQ(record(0, 0, 24, 24, 1, 1), kept[8000]);
}

TEST(Components, KeepTheirIdentityWhenTheTableIsCompacted) {
  test::Random random(8);
  for (int round = 0; round < 6; ++round) {
    Raster raster(3000 + round, 90);
    const int chance = 20 + 8 * round;
    for (auto& byte : raster.bytes) byte = random.below(100) < chance;
    for (int y = 0; y < raster.height; ++y)  // strokes that live through every compaction and meet at the end
      for (int x = 3; x < raster.width; x += 100) raster.at(x, y) = 1;
    if (round % 2 != 0)
      for (int x = 0; x < raster.width; ++x) raster.at(x, 89) = 1;
    for (const int eight : {0, 1}) EXPECT_EQ(literal(raster, eight), components(raster, eight)) << round;
  }
}

TEST(Components, LeaveTheCountAloneWhenThereIsNoMemory) {
  const Raster raster = drawn({"#.#"});
  ImgROI* records = nullptr;
  for (long number = 1; records == nullptr; ++number) {
    ASSERT_LT(number, 6);
    const long before = test::blocks_held();
    int count = -7;
    {
      const test::FailFrom fail(number);
      records = CCAnalysis(raster.bytes.data(), 3, 1, &count, 1, 1);
    }
    EXPECT_EQ(before + (records != nullptr), test::blocks_held());
    EXPECT_EQ(records != nullptr ? 2 : -7, count);
  }
  test::reset_peak();
  const size_t before = test::peak_bytes_held();
  std::free(records);
  int count;
  std::free(CCAnalysis(raster.bytes.data(), 3, 1, &count, 1, 1));
  EXPECT_LE(test::peak_bytes_held() - before, 32000u);  // beyond the array itself
}

struct Point {
  int32_t x, y;
  bool operator==(const Point& other) const { return x == other.x && y == other.y; }
};
std::ostream& operator<<(std::ostream& out, const Point& p) { return out << p.x << ", " << p.y; }

Point barycenter(const std::vector<uint8_t>& image, int width, int height) {
  Point point = {-5, -5};
  getBarycenter(image.data(), width, height, &point.x, &point.y);
  return point;
}

TEST(Barycenter, RoundsTheMeans) {
  const struct {
    const char* what;
    int width, height;
    std::vector<Point> pixels;
    Point centre;
  } cases[] = {{"a half goes up", 9, 8, {{0, 0}, {1, 0}}, {1, 0}},
               {"one pixel", 9, 8, {{3, 7}}, {3, 7}},
               {"a third goes down", 9, 8, {{0, 1}, {0, 1}, {1, 1}, {0, 2}}, {0, 1}},
               {"the last pixel", 9, 8, {{8, 7}}, {8, 7}},
               {"black", 9, 8, {}, {0, 0}},
               {"no columns", 0, 8, {}, {0, 0}},
               {"fewer than none", -1, 8, {}, {0, 0}},
               {"no rows", 9, -1, {}, {0, 0}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::vector<uint8_t> image(static_cast<size_t>(c.width < 0 || c.height < 0 ? 0 : c.width * c.height));
    for (const Point& p : c.pixels) image[static_cast<size_t>(p.y * c.width + p.x)] = 1;
    EXPECT_EQ(c.centre, barycenter(image, c.width, c.height));
  }
}

TEST(Barycenter, AgreesWithTheLiteralForm) {
  test::Random random(3);
  for (int width = 1; width < 9000; width += width < 150 ? 1 : 611)
    for (const int zeros : {0, 1, 128, 250, 255}) {
      const int height = width < 150 ? 7 : 3;
      std::vector<uint8_t> image = random.bytes(static_cast<size_t>(width) * height);
      for (auto& byte : image) byte = byte < zeros ? 0 : byte;
      Point expected;
      reference::barycenter(image.data(), width, height, &expected.x, &expected.y);
      EXPECT_EQ(expected, barycenter(image, width, height)) << width << ", " << zeros;
    }
}

}  // namespace
}  // namespace skew
