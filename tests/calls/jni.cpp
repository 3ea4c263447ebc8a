// The native methods, called through a function table made by hand.
#include <string>

#include "tests/calls/lists.h"
#include "tests/support/jni_methods.h"
#include "tests/support/jni_table.h"
#include "tests/support/log_capture.h"

namespace skew::test {
namespace {

// One call: the table, the arrays and the size given. With GetArrayLength in the table the size may be a lie.
struct JavaCall {
  JniTable table;
  Size size = {0, 0};
  JavaObject src, dst, path;

  JavaCall(Source& source, int bytes_a_pixel, const std::string& type)
      : JavaCall(source, bytes_a_pixel, type, source.chance(2)) {}
  JavaCall(Source& source, int bytes_a_pixel, const std::string& type, bool whole_table)
      : table(whole_table), size(draw_size(source, 28, 260)) {
    const size_t pixels = static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    std::vector<uint8_t> content = draw_raster(source, size, static_cast<size_t>(size.width));
    std::vector<uint8_t> image(pixels * static_cast<size_t>(bytes_a_pixel));
    for (size_t i = 0; i < image.size(); ++i) image[i] = content[i / static_cast<size_t>(bytes_a_pixel)];
    src = JavaObject::of(type + " src", image);
    dst = JavaObject::of(type + " dst", std::vector<uint8_t>(image.size(), 0x5A));
    static const size_t lengths[] = {0, 1, 4, 254, 255, 256, 300, 4};
    std::vector<char> text(lengths[source.between(0, 7)], 'p');
    text.push_back('\0');
    path = JavaObject::of("path", text);
    if (source.chance(12)) table.failing_acquisition = source.between(1, 3);
    if (with_length() && source.chance(6)) lie(source);
  }

  bool with_length() { return table.env()->functions->GetArrayLength != nullptr; }
  void lie(Source& source) {
    static const int lies[] = {0, -1, 1, 5000, 46341, 65536, 0x7FFFFFFF};
    size = {lies[source.between(0, 6)], lies[source.between(0, 6)]};
    const auto pixels = static_cast<int64_t>(size.width) * size.height;
    if (size.width > 0 && size.height > 0 && pixels < 200000) size.width = 0x7FFFFFFF;
  }
  jclass self() { return reinterpret_cast<jclass>(&table); }
  void finish(Outcome& out, jint result) {
    out.add(result);
    out.add(table.outstanding());
    out.add(SKEW_JAVA_METHOD(AmountOfSkewInImage)(table.env(), self()));
    out.add(dst.bytes);
    for (const std::string& event : events()) out.add_bytes(event.data(), event.size());
    events().clear();
  }
};

void call_preview(Source& source, Outcome& out) {
  JavaCall call(source, 1, "bytes");
  const int reserved = source.between(-1, 9);
  out.add(reserved);
  call.finish(out, SKEW_JAVA_METHOD(ImgSkewCorrect_1Preview)(
                       call.table.env(), call.self(), call.src.as_bytes(), call.size.width, call.size.height,
                       0, 1, 2, reserved, call.path.as_string()));
}
void call_snapshot(Source& source, Outcome& out) {
  JavaCall call(source, 4, "ints");
  call.finish(out, SKEW_JAVA_METHOD(ImgSkewCorrect_1Snapshot)(call.table.env(), call.self(),
                                                              call.src.as_ints(), call.size.width,
                                                              call.size.height, call.path.as_string()));
}
void call_loading(Source& source, Outcome& out) {
  JavaCall call(source, 4, "ints");
  call.finish(out, SKEW_JAVA_METHOD(ImgSkewCorrect_1ImageLoadingMode)(call.table.env(), call.self(),
                                                                      call.src.as_ints(), call.dst.as_ints(),
                                                                      call.size.width, call.size.height));
}
void call_byte_array(Source& source, Outcome& out) {
  JavaCall call(source, 3, "bytes");
  call.finish(out, SKEW_JAVA_METHOD(ImgSkewCorrect_1Snapshot_1ByteArray)(
                       call.table.env(), call.self(), call.src.as_bytes(), call.dst.as_bytes(),
                       call.size.width, call.size.height));
}

void call_rotate_gray(Source& source, Outcome& out) {
  JavaCall call(source, 1, "bytes", true);
  call.finish(out, SKEW_PAGE_METHOD(rotateGray)(call.table.env(), call.self(), call.src.as_bytes(),
                                                call.dst.as_bytes(), call.size.width, call.size.height,
                                                draw_angle(source)));
}
void call_measure_gray(Source& source, Outcome& out) {
  JavaCall call(source, 1, "bytes", true);
  // One element too few now and then: Java raises an exception then, and no value arrives.
  call.dst = JavaObject::of("doubles", std::vector<double>(source.chance(8) ? 4 : 5, -1.0));
  call.finish(out, SKEW_PAGE_METHOD(measureGray)(call.table.env(), call.self(), call.src.as_bytes(),
                                                 call.size.width, call.size.height, call.dst.as_doubles()));
}

}  // namespace

const std::vector<Call> kJniCalls = {
    {"ImgSkewCorrect_Preview", Family::kJni, false, call_preview},
    {"ImgSkewCorrect_Snapshot", Family::kJni, false, call_snapshot},
    {"ImgSkewCorrect_ImageLoadingMode", Family::kJni, false, call_loading},
    {"ImgSkewCorrect_Snapshot_ByteArray", Family::kJni, false, call_byte_array},
    {"PageLib.rotateGray", Family::kJni, false, call_rotate_gray},
    {"PageLib.measureGray", Family::kJni, false, call_measure_gray},
};

}  // namespace skew::test
