#include <gtest/gtest.h>
#include <jni.h>

#include <cmath>
#include <cstring>
#include <functional>

#include "convert/working_copy.h"
#include "include/skewcorrection/convert.h"
#include "include/skewcorrection/rotate.h"
#include "jni/last_angle.h"
#include "skew/driver.h"
#include "tests/support/allocations.h"
#include "tests/support/jni_methods.h"
#include "tests/support/jni_table.h"
#include "tests/support/log_capture.h"

namespace skew {
namespace {

using test::events;
using Events = std::vector<std::string>;

const std::string kLog = "log 4 SkewCorrectionJni: ";
const std::string kFail = kLog + "[ImgSkewCorrect_Preview] Image skew correction fail~ !);";

enum Method { kPreview, kSnapshot, kLoading, kByteArray };
constexpr Method kMethods[] = {kPreview, kSnapshot, kLoading, kByteArray};
const char* const kNames[] = {"Preview", "Snapshot", "ImageLoadingMode", "Snapshot_ByteArray"};

// A page of broken dark lines that fall to the right by 7 degrees, in colours whose channels differ.
std::vector<jint> page(int width, int height) {
  std::vector<jint> argb(static_cast<size_t>(width) * static_cast<size_t>(height));
  const double sine = std::sin(7 * M_PI / 180), cosine = std::cos(7 * M_PI / 180);
  for (int i = 0; i < width * height; ++i) {
    const double x = i % width, y = i / width;
    const int across = static_cast<int>(y * cosine - x * sine + 24000) % 24;
    const int along = static_cast<int>(x * cosine + y * sine + 1100) % 11;
    argb[static_cast<size_t>(i)] = across < 10 && along < 7 ? 0x40203040 : static_cast<jint>(0xFFF0E8E0);
  }
  return argb;
}

// One call: its Java objects, made from the page, and its arguments, which a case may spoil.
struct Call {
  Call(Method called, int columns, int rows) : method(called), width(columns), height(rows) {
    const auto argb = page(columns, rows);
    const auto gray = [&] {
      std::vector<uint8_t> pixels(argb.size());
      for (size_t i = 0; i < argb.size(); ++i)
        pixels[i] = static_cast<uint8_t>(GetYfromRGB(static_cast<uint8_t>(argb[i] >> 16),
                                                     static_cast<uint8_t>(argb[i] >> 8),
                                                     static_cast<uint8_t>(argb[i])));
      return pixels;
    };
    if (called == kPreview) src = test::JavaObject::of("bytes src", gray());
    if (called == kSnapshot || called == kLoading) src = test::JavaObject::of("ints src", argb);
    if (called == kByteArray) {
      std::vector<uint8_t> rgb(3 * argb.size());
      ConvertImageData_INTtoBYTE(argb.data(), rgb.data(), columns, rows);
      src = test::JavaObject::of("bytes src", rgb);
    }
    dst = {called == kLoading ? "ints dst" : "bytes dst", std::vector<uint8_t>(src.bytes.size(), 0xA5)};
    set_path("page.png");
    expected_gray = gray();
  }

  void set_path(const std::string& text) {
    path = {"path", std::vector<uint8_t>(text.c_str(), text.c_str() + text.size() + 1)};
  }
  bool has_path() const { return method == kPreview || method == kSnapshot; }
  bool has_result() const { return !has_path(); }

  jint run(test::JniTable& table) {
    JNIEnv* env = no_env ? nullptr : table.env();
    const jclass self = no_self ? nullptr : reinterpret_cast<jclass>(this);
    auto* const from = no_src ? nullptr : &src;
    auto* const to = no_dst ? nullptr : &dst;
    const jstring text = no_path ? nullptr : path.as_string();
    const auto bytes = [](test::JavaObject* o) { return o == nullptr ? nullptr : o->as_bytes(); };
    const auto ints = [](test::JavaObject* o) { return o == nullptr ? nullptr : o->as_ints(); };
    events().clear();
    switch (method) {
      case kPreview:
        return SKEW_JAVA_METHOD(ImgSkewCorrect_1Preview)(env, self, bytes(from), width, height, reserved[0],
                                                         reserved[1], reserved[2], reserved[3], text);
      case kSnapshot:
        return SKEW_JAVA_METHOD(ImgSkewCorrect_1Snapshot)(env, self, ints(from), width, height, text);
      case kLoading:
        return SKEW_JAVA_METHOD(ImgSkewCorrect_1ImageLoadingMode)(env, self, ints(from), ints(to), width,
                                                                  height);
      case kByteArray:
        return SKEW_JAVA_METHOD(ImgSkewCorrect_1Snapshot_1ByteArray)(env, self, bytes(from), bytes(to), width,
                                                                     height);
    }
    return -1;
  }

  Method method;
  int width, height;
  test::JavaObject src, dst, path;
  bool no_env = false, no_self = false, no_src = false, no_dst = false, no_path = false;
  int reserved[4] = {0, 1, INT32_MAX, 0};
  std::vector<uint8_t> expected_gray;
};

double last_angle() { return SKEW_JAVA_METHOD(AmountOfSkewInImage)(nullptr, nullptr); }

// What must hold after every call.
void expect_nothing_left(const test::JniTable& table) {
  EXPECT_EQ(0, table.outstanding());
  EXPECT_EQ(nullptr, g_globalBuffer);
  EXPECT_EQ(0, test::blocks_held());
}

// The messages among the events.
Events logged() {
  Events messages;
  for (const auto& event : events())
    if (event.rfind(kLog, 0) == 0) messages.push_back(event);
  return messages;
}

Events expected_messages(Method method, jint result) {
  return method == kPreview && result != 0 ? Events{kFail} : Events{};
}

}  // namespace

TEST(Jni, EveryMethodMeasuresTurnsAndGivesBack) {
  const Events orders[] = {
      {"get bytes src", "release bytes src", "get path", "release path"},
      {"get ints src", "release ints src", "get path", "release path"},
      {"get ints src", "get ints dst", "release ints dst", "release ints src"},
      {"get bytes src", "get bytes dst", "release bytes dst", "release bytes src"},
  };
  for (const int width : {320, 321, 322, 323})
    for (const Method method : kMethods) {
      SCOPED_TRACE(testing::Message() << kNames[method] << ' ' << width);
      Call call(method, width, 240);
      const auto original = call.src.bytes;
      double angle = 0.0;
      ASSERT_EQ(SKEW_OK, measure_skew(call.expected_gray.data(), width, 240, width, &angle));
      ASSERT_NEAR(7.0, angle, 0.5);
      g_lastSkewAngle = -1;
      test::JniTable table(false);
      EXPECT_EQ(0, call.run(table));
      EXPECT_EQ(angle, last_angle());
      EXPECT_EQ(orders[method], events());
      expect_nothing_left(table);
      EXPECT_EQ(original, call.src.bytes);

      std::vector<uint8_t> turned(call.dst.bytes.size(), 0xA5);
      if (method == kLoading) {
        ASSERT_EQ(SKEW_OK,
                  RotateARGBImage_INT_FOR_JNI(reinterpret_cast<const int*>(original.data()), width, 240,
                                              angle, reinterpret_cast<int*>(turned.data()), -1));
      } else if (method == kByteArray) {
        ASSERT_EQ(SKEW_OK, RotateRGBImage(original.data(), width, 240, angle, turned.data(), 0));
      }
      EXPECT_EQ(turned, call.dst.bytes);
    }
}

TEST(Jni, BadArgumentsAreRefusedBeforeAnythingIsTouched) {
  struct Case {
    const char* what;
    std::function<bool(Call&)> spoil;  // false: the method has no such argument
  };
  std::vector<Case> cases = {
      {"no environment", [](Call& c) { return c.no_env = true; }},
      {"no object", [](Call& c) { return c.no_self = c.has_result(); }},
      {"no source", [](Call& c) { return c.no_src = true; }},
      {"no destination", [](Call& c) { return c.no_dst = c.has_result(); }},
      {"no path", [](Call& c) { return c.no_path = c.has_path(); }},
      {"no columns", [](Call& c) { return c.width = 0, true; }},
      {"negative columns", [](Call& c) { return c.width = INT32_MIN, true; }},
      {"no rows", [](Call& c) { return c.height = 0, true; }},
      {"two negative sides", [](Call& c) { return c.width = c.height = -40, true; }},
      {"source one short", [](Call& c) { return c.src.bytes.resize(c.src.bytes.size() - 1), true; }},
      {"destination one short",
       [](Call& c) { return c.dst.bytes.resize(c.dst.bytes.size() - 1), c.has_result(); }},
      {"a size whose product wraps", [](Call& c) { return c.width = 65536, c.height = 65536, true; }},
      {"three times the product wraps", [](Call& c) { return c.width = 43691, c.height = 32768, true; }},
  };
  for (int i = 0; i < 4; ++i)
    cases.push_back({"negative reserved", [i](Call& c) { return c.reserved[i] = -1, c.method == kPreview; }});

  for (const Method method : kMethods)
    for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << kNames[method] << ": " << c.what);
      Call call(method, 40, 36);
      if (!c.spoil(call)) continue;
      const auto src = call.src.bytes, dst = call.dst.bytes;
      g_lastSkewAngle = 3.25;
      ASSERT_EQ(SKEW_OK, CopyToGlobalBuffer(call.expected_gray.data(), 4, 4));  // left over from before
      test::JniTable table(true);
      const jint bad = method == kByteArray ? 1 : 3;
      EXPECT_EQ(bad, call.run(table));
      Events touched;
      for (const auto& event : events())
        if (event.rfind("length", 0) != 0) touched.push_back(event);
      EXPECT_EQ(expected_messages(method, bad), touched);
      EXPECT_EQ(3.25, last_angle());
      EXPECT_EQ(dst, call.dst.bytes);
      if (method == kByteArray) {
        EXPECT_NE(nullptr, g_globalBuffer) << "it never uses the working copy";
        free_working_copy();
      }
      expect_nothing_left(table);
    }
}

TEST(Jni, FailuresInsideKeepTheAngleAndGiveEverythingBack) {
  for (const Method method : kMethods) {
    SCOPED_TRACE(kNames[method]);
    Call tiny(method, 31, 31);
    g_lastSkewAngle = 3.25;
    test::JniTable table(true);
    EXPECT_EQ(3, tiny.run(table)) << "the driver refuses 31 x 31";
    EXPECT_EQ(expected_messages(method, 3),
              Events(events().end() - (method == kPreview ? 1 : 0), events().end()));
    EXPECT_EQ(3.25, last_angle());
    expect_nothing_left(table);

    for (int failing = 1; failing <= 2; ++failing) {
      SCOPED_TRACE(testing::Message() << "acquisition " << failing << " fails");
      Call call(method, 64, 48);
      const auto dst = call.dst.bytes;
      test::JniTable failing_table(false);
      failing_table.failing_acquisition = failing;
      const bool path = failing == 2 && call.has_path();
      const jint result = path ? 0 : 3;
      EXPECT_EQ(result, call.run(failing_table));
      Events messages = expected_messages(method, result);
      if (path)
        messages = {kLog + (method == kPreview ? "[ImgSkewCorrect_Preview] Error! NULL == pDataPath"
                                               : "[ImgSkewCorrect_Snapshot] JNI error! ; NULL == pDataPath")};
      EXPECT_EQ(messages, logged());
      EXPECT_EQ(3.25, last_angle());
      EXPECT_EQ(dst, call.dst.bytes);
      expect_nothing_left(failing_table);
    }
  }
}

TEST(Jni, EveryFailedAllocationHasItsCode) {
  for (const Method method : kMethods) {
    SCOPED_TRACE(kNames[method]);
    jint result = -1;
    long number = 0;
    while (result != 0) {
      ASSERT_LT(++number, 50);
      SCOPED_TRACE(testing::Message() << "allocation " << number);
      Call call(method, 200, 210);
      g_lastSkewAngle = 3.25;
      test::JniTable table(false);
      const long before = test::allocation_count();
      {
        const test::FailOnly fail(number);
        result = call.run(table);
      }
      if (test::allocation_count() - before < number) {
        EXPECT_EQ(0, result);
        break;
      }
      EXPECT_EQ(number == 1 ? 2 : 3, result) << "2 for the gray copy, 3 for all that follows";
      Events expected = expected_messages(method, result);
      if (method == kPreview && number == 1)
        expected.insert(expected.begin(),
                        kLog + "[ImgSkewCorrect_Preview] Error in CopyToGlobalBuffer(), err = 2");
      EXPECT_EQ(expected, logged());
      EXPECT_EQ(3.25, last_angle());
      expect_nothing_left(table);
    }
    EXPECT_GT(number, 2);
  }
}

TEST(Jni, PathsOfAWrongLengthEndTheMethodWithNothingMeasured) {
  const struct {
    size_t length;
    bool accepted;
  } cases[] = {{0, false}, {1, true}, {255, true}, {256, false}};
  const std::string messages[] = {
      "[ImgSkewCorrect_Preview] Error! ( 255 < strlen(pDataPath) || 0 == strlen(pDataPath) )",
      "[ImgSkewCorrect_Snapshot] JNI error! ; 255 < strlen(pDataPath) || 0 == strlen(pDataPath)"};
  for (const Method method : {kPreview, kSnapshot})
    for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << kNames[method] << ' ' << c.length);
      Call call(method, 320, 240);
      call.set_path(std::string(c.length, 'a'));
      g_lastSkewAngle = 3.25;
      test::JniTable table(false);
      EXPECT_EQ(0, call.run(table));
      EXPECT_EQ(c.accepted, last_angle() != 3.25);
      Events expected = {"get " + call.src.name, "release " + call.src.name, "get path"};
      if (!c.accepted) expected.push_back(kLog + messages[method]);
      expected.push_back("release path");
      EXPECT_EQ(expected, events());
      expect_nothing_left(table);
    }
}

TEST(Jni, LoadingModeNeedsTheGrayCopyAndLittleMore) {
  Call call(kLoading, 2000, 1500);
  test::JniTable table(true);
  test::reset_peak();
  const size_t before = test::bytes_held();
  EXPECT_EQ(0, call.run(table));
  EXPECT_LE(test::peak_bytes_held() - before, 2000U * 1500U + (2U << 20));
}

}  // namespace skew
