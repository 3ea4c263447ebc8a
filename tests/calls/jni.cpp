// The native methods, called through a function table made by hand.
#include <string>

#include "include/skewcorrection/rotate.h"
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

// The facade's methods. Arguments are sound or, now and then, a lie; a table without GetArrayLength is not for
// them. What is measured is not added, so that the outcome stays when the measurement improves.
struct PageCall {
  JniTable table{true};
  jint layout, offset = 0, width, height, row_stride = 1, pixel_stride = 1;
  JavaObject pixels;

  explicit PageCall(Source& source) : layout(source.between(0, 3)) {
    static const char* const kinds[] = {"bytes", "bytes", "ints", "buffer"};
    static const int bytes[] = {1, 3, 4, 1};
    const Size size = draw_size(source, 1, 120);
    width = size.width;
    height = size.height;
    if (layout == 3) {
      pixel_stride = source.between(1, 3);
      row_stride = (width - 1) * pixel_stride + 1 + source.between(0, 2);
      offset = source.between(0, 2);
    }
    const int64_t row = layout == 3 ? row_stride : int64_t{width} * bytes[layout];
    const int64_t last = layout == 3 ? int64_t{width - 1} * pixel_stride + 1 : row;
    std::vector<uint8_t> content(static_cast<size_t>(offset + row * (height - 1) + last));
    source.fill(content.data(), content.size());
    pixels = JavaObject::of(kinds[layout], content);
    if (source.chance(10)) table.failing_acquisition = source.between(1, 2);
    if (source.chance(10)) (source.chance(2) ? width : row_stride) = source.between(-1, 2) * 0x3FFFFFFF;
    if (source.chance(20)) (source.chance(2) ? offset : pixel_stride) = source.between(-1, 1) * 0x7FFFFFFF;
    if (source.chance(20)) layout = source.chance(2) ? 3 : source.chance(2) ? -1 : 4;
  }
  void finish(Outcome& out, jint result) {
    out.add(result);
    out.add(table.outstanding());
    events().clear();
  }
};

void call_plan(Source& source, Outcome& out) {
  PageCall call(source);
  std::vector<double> wishes = {0.05, 45, 0, 180, 0, 1, 0, 0, 4294967295.0};
  if (source.chance(4)) wishes[static_cast<size_t>(source.between(0, 8))] = draw_angle(source);
  if (source.chance(20)) wishes.pop_back();
  JavaObject options = JavaObject::of("doubles options", wishes),
             result = JavaObject::of("doubles result", std::vector<double>(source.chance(8) ? 25 : 26));
  call.finish(out, SKEW_PAGE_METHOD(plan)(call.table.env(), nullptr, call.pixels.as_object(), call.layout,
                                          call.offset, call.width, call.height, call.row_stride,
                                          call.pixel_stride, options.as_doubles(), result.as_doubles()));
}
void call_page_preview(Source& source, Outcome& out) {
  PageCall call(source);
  JavaObject result = JavaObject::of("doubles", std::vector<double>(1, -1.0));
  call.finish(out, SKEW_PAGE_METHOD(preview)(call.table.env(), nullptr, call.pixels.as_object(), call.layout,
                                             call.offset, call.width, call.height, call.row_stride,
                                             call.pixel_stride, result.as_doubles()));
  out.add(result.bytes);
}
void call_rotate(Source& source, Outcome& out) {
  PageCall call(source);
  const double angle = source.between(-18100, 18100) / 100.0;
  const jint canvas = source.between(0, 1), offset = source.between(0, 2);
  int width = 1, height = 1;
  skew_rotated_size(call.width, call.height, angle, canvas, &width, &height);
  const int64_t bytes = int64_t{width} * height * (call.layout == 1 ? 3 : call.layout == 2 ? 4 : 1) + offset;
  JavaObject result = {call.layout == 2   ? "ints result"
                       : call.layout == 3 ? "buffer result"
                                          : "bytes result",
                       std::vector<uint8_t>(bytes < 1000000 ? static_cast<size_t>(bytes) : 5)};
  JavaObject& to = source.chance(12) ? call.pixels : result;
  call.finish(
      out, SKEW_PAGE_METHOD(rotate)(call.table.env(), nullptr, call.pixels.as_object(), call.layout,
                                    call.offset, call.width, call.height, call.row_stride, call.pixel_stride,
                                    angle, canvas, static_cast<jint>(source.next()), to.as_object(),
                                    call.layout, call.layout == 3 ? offset : 0));
  out.add(to.bytes);
}
void call_transform(Source& source, Outcome& out) {
  JniTable table(true);
  JavaObject result = JavaObject::of("doubles", std::vector<double>(10, -1.0));
  const jint width = source.between(0, 5000), height = source.between(0, 5000);
  const double angle = source.between(-181, 181);
  out.add(SKEW_PAGE_METHOD(transform)(table.env(), nullptr, width, height, angle, source.between(0, 1),
                                      result.as_doubles()));
  out.add(result.bytes);
  events().clear();
}

}  // namespace

const std::vector<Call> kJniCalls = {
    {"ImgSkewCorrect_Preview", Family::kJni, false, call_preview},
    {"ImgSkewCorrect_Snapshot", Family::kJni, false, call_snapshot},
    {"ImgSkewCorrect_ImageLoadingMode", Family::kJni, false, call_loading},
    {"ImgSkewCorrect_Snapshot_ByteArray", Family::kJni, false, call_byte_array},
    {"PageLib.plan", Family::kJni, false, call_plan},
    {"PageLib.preview", Family::kJni, false, call_page_preview},
    {"PageLib.rotate", Family::kJni, false, call_rotate},
    {"PageLib.transform", Family::kJni, false, call_transform},
};

}  // namespace skew::test
