// Every function that allocates, and every native method, with its first allocation failing, then its second,
// until it succeeds: each time the documented result and outputs, and not one block left over.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <set>

#include "include/skewcorrection/skewcorrection.h"
#include "tests/support/allocations.h"
#include "tests/support/jni_methods.h"
#include "tests/support/jni_table.h"
#include "tests/support/log_capture.h"

namespace skew::test {
namespace {

constexpr int kWidth = 320, kHeight = 288;  // larger than the driver's working size
constexpr double kUntouched = -1000;
constexpr uint8_t kMark = 0xA5;
using Bytes = std::vector<uint8_t>;

// Lines that fall by one row in twenty columns.
Bytes lined_page() {
  Bytes page(size_t{kWidth} * kHeight);
  for (int i = 0; i < kWidth * kHeight; ++i)
    page[static_cast<size_t>(i)] = (i / kWidth * 20 - i % kWidth + 8000) % 240 < 90 && i % 7 < 5 ? 20 : 240;
  return page;
}

struct Case {
  const char* what;
  std::set<int> failures;               // the codes that must be seen, and no others
  std::function<int()> call;            // prepares the outputs, calls, frees what it was given; 0 on success
  std::function<bool()> outputs_stand;  // after a failure
};

// Fails one allocation, or that one and all later ones, in turn.
template <class Fail>
void exhaust(const Case& c) {
  SCOPED_TRACE(c.what);
  std::set<int> seen;
  for (long number = 1; number < 1000; ++number) {
    SCOPED_TRACE(number);
    const long held = blocks_held();
    long asked = 0;
    int result = 0;
    {
      const Fail fail(number);
      const long before = allocation_count();
      result = c.call();
      asked = allocation_count() - before;
    }
    ASSERT_EQ(blocks_held(), held);
    if (asked < number) {
      EXPECT_EQ(result, 0);
      EXPECT_EQ(seen, c.failures);
      return;
    }
    seen.insert(result);
    EXPECT_TRUE(c.outputs_stand());
  }
  FAIL() << "never succeeded";
}

void exhaust_all(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    exhaust<FailOnly>(c);
    exhaust<FailFrom>(c);
  }
}

// A call and what it must leave read best side by side.
// clang-format off
TEST(OutOfMemory, MeasuringAndSearching) {
  const Bytes page = lined_page();
  Bytes edges(page.size()), reduced;
  ASSERT_EQ(CannyEdge(page.data(), edges.data(), 60, 120, kWidth, kHeight, 90), 0);
  const ImgROI all = {0, kWidth - 1, 0, kHeight - 1, 0, 0, 0, 0, 0}, box = {10, 209, 10, 209, 0, 0, 0, 0, 0};
  std::vector<uint16_t> tables(200 * 200);  // all zero: every point lands in one bin
  double angle = 0, score = 0, copy = 0;
  const auto reset = [&] { angle = score = copy = kUntouched; };
  const auto marked = [](const Bytes& bytes) { return bytes == Bytes(bytes.size(), kMark); };
  const auto search = [&](decltype(SkewAngleDetect_ThreeSteps_F)& function) {
    reset();
    return function(edges.data(), kWidth, box, &angle, tables.data(), tables.data(), tables.data(), tables.data(),
                    &score, &copy);
  };
  const auto only_angle_is_zero = [&] { return angle == 0 && score == kUntouched && copy == kUntouched; };

  exhaust_all({
      {"SkewCorrection", {2, 3, 5},
       [&] { reset(); return SkewCorrection(page.data(), kWidth, kHeight, &angle); },
       [&] { return angle == kUntouched; }},
      {"ImgShrink_TrackNew", {260},
       [&] { reduced.assign(80 * 80, kMark);
             return ImgShrink_TrackNew(page.data(), kWidth, kHeight, all, reduced.data(), 80, 80); },
       [&] { return marked(reduced); }},
      {"CannyEdge", {-1},
       [&] { reduced.assign(page.size(), kMark);
             return CannyEdge(page.data(), reduced.data(), 60, 120, kWidth, kHeight, 90); },
       [&] { return marked(reduced); }},
      {"SkewAngleDetect_HOR_OneStep", {260},
       [&] { reset(); return SkewAngleDetect_HOR_OneStep(edges.data(), kWidth, box, &angle); },
       [&] { return angle == 0; }},
      {"SkewAngleDetect_ThreeSteps_F", {260}, [&] { return search(SkewAngleDetect_ThreeSteps_F); },
       only_angle_is_zero},
      {"SkewAngleDetect_Vert_ThreeSteps_F", {260}, [&] { return search(SkewAngleDetect_Vert_ThreeSteps_F); },
       only_angle_is_zero},
  });
}

TEST(OutOfMemory, RotatingFilteringAndConverting) {
  const Bytes page = lined_page();
  const std::vector<int> argb(page.size(), 0x40506070);
  const ImgROI box = {0, 200, 0, 200, 0, 0, 0, 0, 0};
  Bytes image;
  std::vector<int> points_x, points_y;
  unsigned char* turned = nullptr;
  int width = 0, height = 0, scaled = 0, count = 0;
  const auto in_place = [&](int (*filter)(unsigned char*, int, int)) {
    image = page;
    return filter(image.data(), kWidth, kHeight);
  };
  const auto unchanged = [&] { return image == page; };
  const auto cut = [&](int16_t limit) {
    width = height = scaled = count = -7;
    uint8_t* result =
        ImgExtFit_Track_ROI(page.data(), kWidth, kHeight, &width, &height, box, &scaled, limit, limit);
    free(result);
    return result == nullptr;
  };

  exhaust_all({
      {"RotateGrayImage", {2},
       [&] { static unsigned char other; turned = &other;
             const int result = RotateGrayImage(page.data(), kWidth, kHeight, 7, &turned, 0);
             if (result == 0) free(turned);
             return result; },
       [&] { return turned == nullptr; }},
      {"RotateImage", {260},
       [&] { image = page; points_x = points_y = {1, 2, 3, 4};
             return RotateImage(image.data(), kWidth, kHeight, 7, 0, points_x.data(), points_y.data()); },
       [&] { return unchanged() && points_x == points_y && points_x == std::vector<int>{1, 2, 3, 4}; }},
      {"ImgGaussSmooth", {260}, [&] { return in_place(ImgGaussSmooth); }, unchanged},
      {"dilation", {260}, [&] { return in_place(dilation); }, unchanged},
      {"ImgExtFit_Track_ROI, copied", {1}, [&] { return cut(1000); },
       [&] { return width == -7 && height == -7 && scaled == 0; }},
      {"ImgExtFit_Track_ROI, reduced", {1}, [&] { return cut(60); },
       [&] { return width == -7 && height == -7 && scaled == 1; }},
      {"CCAnalysis", {1},
       [&] { count = -7;
             ImgROI* records = CCAnalysis(page.data(), kWidth, kHeight, &count, 1, 20);
             free(records);
             return records == nullptr; },
       [&] { return count == -7; }},
      {"CopyToGlobalBuffer", {2},
       [&] { const int result = CopyToGlobalBuffer(page.data(), kWidth, kHeight);
             if (result == 0) CopyToGlobalBuffer(page.data(), -1, 1);  // drops the copy
             return result; },
       [] { return true; }},
      {"ConvertImageDataToGray_and_CopyToGlobalBuffer", {2},
       [&] { const int result = ConvertImageDataToGray_and_CopyToGlobalBuffer(argb.data(), kWidth, kHeight);
             if (result == 0) CopyToGlobalBuffer(page.data(), -1, 1);
             return result; },
       [] { return true; }},
  });
}

TEST(OutOfMemory, MeasuringAPage) {
  const Bytes page = lined_page();
  SkewPage found;
  SkewPageDetails details;
  const auto untouched = [&] { return found.angle == kUntouched && found.verdict == 77; };
  const auto reset = [&] { found = SkewPage{}; found.angle = kUntouched; found.verdict = 77; };

  exhaust_all({
      {"skew_measure_page", {2},
       [&] { reset(); return skew_measure_page(page.data(), kWidth, kHeight, kWidth, &found); }, untouched},
      {"skew_measure_page_details", {2},
       [&] { reset();
             std::memset(&details, kMark, sizeof details);
             const int result = skew_measure_page_details(page.data(), kWidth, kHeight, kWidth, &found, &details);
             if (result == 0) skew_free_page_details(&details);
             return result; },
       [&] { return untouched() && details.pWorking == nullptr && details.pEdges == nullptr &&
                    details.pWindows == nullptr && details.pScores == nullptr && details.windowCount == 0 &&
                    details.scoreCount == 0; }},
  });

  // Forced, so that the page is turned whatever the measurement makes of it.
  SkewLevelOptions options;
  skew_level_defaults(&options);
  options.force = 1;
  options.smallestAngle = 0;
  SkewLevel level;
  const std::vector<uint32_t> argb(page.begin(), page.end());
  uint32_t* turned = nullptr;
  exhaust_all({
      {"skew_level_argb", {2},
       [&] { level.action = 77;
             const int result =
                 skew_level_argb(argb.data(), 4 * kWidth, kWidth, kHeight, &options, &turned, &level);
             free(turned);
             return result; },
       [&] { return level.action == 77 && turned == nullptr; }},
  });
  EXPECT_EQ(level.action, SKEW_LEVELLED);
}

TEST(OutOfMemory, NativeMethods) {
  const Bytes page = lined_page();
  std::vector<jint> argb;
  Bytes rgb;
  for (const uint8_t value : page) {
    argb.push_back(static_cast<jint>(0xFF000000u | value * 0x010101u));
    rgb.insert(rgb.end(), 3, value);
  }
  JavaObject gray_array = JavaObject::of("bytes gray", page), rgb_array = JavaObject::of("bytes rgb", rgb),
             argb_array = JavaObject::of("ints argb", argb), path = JavaObject::of<char>("path", {'p', '\0'}),
             wishes = JavaObject::of("doubles", std::vector<double>{0.05, 45, 0, 180, 0, 0, 0, 0, 0}),
             measured = JavaObject::of("doubles", Bytes(26 * sizeof(double))),
             rgb_result = JavaObject::of("bytes result", rgb), argb_result = JavaObject::of("ints result", argb);
  JniTable table(true);
  JNIEnv* env = table.env();
  const auto self = reinterpret_cast<jclass>(&table);
  const auto nothing_held = [&] { return table.outstanding() == 0; };

  exhaust_all({
      {"Preview", {2, 3},
       [&] { return SKEW_JAVA_METHOD(ImgSkewCorrect_1Preview)(env, self, gray_array.as_bytes(), kWidth, kHeight, 0,
                                                              0, 0, 0, path.as_string()); },
       nothing_held},
      {"Snapshot", {2, 3},
       [&] { return SKEW_JAVA_METHOD(ImgSkewCorrect_1Snapshot)(env, self, argb_array.as_ints(), kWidth, kHeight,
                                                               path.as_string()); },
       nothing_held},
      {"ImageLoadingMode", {2, 3},
       [&] { return SKEW_JAVA_METHOD(ImgSkewCorrect_1ImageLoadingMode)(
                 env, self, argb_array.as_ints(), argb_result.as_ints(), kWidth, kHeight); },
       nothing_held},
      {"Snapshot_ByteArray", {2, 3},
       [&] { return SKEW_JAVA_METHOD(ImgSkewCorrect_1Snapshot_1ByteArray)(
                 env, self, rgb_array.as_bytes(), rgb_result.as_bytes(), kWidth, kHeight); },
       nothing_held},
      {"PageLib.plan", {2},
       [&] { measured.bytes.assign(26 * sizeof(double), kMark);
             return SKEW_PAGE_METHOD(plan)(env, self, argb_array.as_object(), 2, 0, kWidth, kHeight, 1, 1,
                                           wishes.as_doubles(), measured.as_doubles()); },
       [&] { return nothing_held() && measured.bytes == Bytes(26 * sizeof(double), kMark); }},
  });
  EXPECT_EQ(table.outstanding(), 0);
  events().clear();
}

// clang-format on
}  // namespace
}  // namespace skew::test
