// The native methods of the Java class PageLib, behind the facade's levelling, measuring and turning. Nothing
// here keeps state. Pixels come as Java arrays or as direct buffers; the colours of an array are read and its
// image is turned in place, but it is measured through a gray copy, so that the Java machine is held up for
// milliseconds only.
#include "include/skewcorrection/level.h"
#include "jni/guards.h"
#include "level/image.h"
#include "skew/driver.h"

#if defined(SKEW_GENERATED_JNI_HEADERS)
#include "com_narvo_android_lumetrix_imageprocessing_PageLib.h"
#endif

namespace skew {
namespace {

// What holds the pixels, as PageLib numbers it.
enum Layout : jint { kGrayArray = 0, kRgbArray = 1, kArgbArray = 2, kGrayPlane = 3 };

// Pixels in Java: in an array from its first element on, without gaps; in a plane, which is a direct buffer, from
// a byte on and at the given distances.
struct JavaPixels {
  jobject object;
  jint layout, offset, width, height, row_stride, pixel_stride;

  int channels() const { return layout == kRgbArray ? 3 : 1; }
  int pixel_bytes() const { return layout == kArgbArray ? 4 : channels(); }
  bool gathered() const { return layout == kGrayPlane && pixel_stride != 1; }
  bool valid() const {
    return object != nullptr && layout >= kGrayArray && layout <= kGrayPlane && width >= 1 && height >= 1 &&
           offset >= 0 && pixel_stride >= 1 && row_stride >= 1;
  }
  int64_t plane_bytes() const {
    return int64_t{height - 1} * row_stride + int64_t{width - 1} * pixel_stride + 1;
  }
  ptrdiff_t stride() const {
    return layout == kGrayPlane ? row_stride : static_cast<ptrdiff_t>(width) * pixel_bytes();
  }
  uint64_t bytes() const {
    return layout == kGrayPlane ? static_cast<uint64_t>(plane_bytes())
                                : static_cast<uint64_t>(stride()) * static_cast<uint64_t>(height);
  }
};

// Whether the array or buffer is long enough.
bool holds(JNIEnv* env, const JavaPixels& pixels) {
  if (pixels.layout != kGrayPlane)
    return may_hold(env, static_cast<jarray>(pixels.object), pixels.channels(), pixels.width, pixels.height);
  return int64_t{env->GetDirectBufferCapacity(pixels.object)} - pixels.offset >= pixels.plane_bytes();
}

// The pixels of an array or a direct buffer while a scope lasts; null if they could not be obtained.
class HeldPixels {
 public:
  HeldPixels(JNIEnv* env, const JavaPixels& pixels, jint mode)
      : array_(env, pixels.layout == kGrayPlane ? nullptr : static_cast<jarray>(pixels.object), mode),
        plane_(pixels.layout == kGrayPlane ? static_cast<uint8_t*>(env->GetDirectBufferAddress(pixels.object))
                                           : nullptr),
        offset_(pixels.offset) {}
  uint8_t* get() const { return plane_ != nullptr ? plane_ + offset_ : array_.get(); }

 private:
  CriticalElements array_;
  uint8_t* plane_;
  jint offset_;
};

Image image_of(const JavaPixels& pixels, const uint8_t* first) {
  return {first, pixels.stride(), pixels.width, pixels.height, pixels.pixel_bytes()};
}

// The gray image of pixels that are held, without gaps; null if there is no memory.
Buffer<uint8_t> gray_of(const JavaPixels& pixels, const uint8_t* first) {
  if (!pixels.gathered()) return gray_copy(image_of(pixels, first));
  Buffer<uint8_t> gray = allocate<uint8_t>(pixels.height, pixels.width);
  uint8_t* out = gray.get();
  for (ptrdiff_t y = 0; gray && y < pixels.height; ++y)
    for (ptrdiff_t x = 0; x < pixels.width; ++x)
      *out++ = first[y * pixels.row_stride + x * pixels.pixel_stride];
  return gray;
}

// The gray copy of a page and the colour of its border. Returns a result code.
int take_page(JNIEnv* env, const JavaPixels& pixels, Buffer<uint8_t>* gray, uint32_t* border) {
  if (!pixels.valid() || !holds(env, pixels)) return SKEW_INVALID_ARGUMENT;
  const HeldPixels held(env, pixels, JNI_ABORT);
  if (held.get() == nullptr) return SKEW_OUT_OF_MEMORY;
  *gray = gray_of(pixels, held.get());
  if (!*gray) return SKEW_OUT_OF_MEMORY;
  *border = border_colour(pixels.gathered() ? Image{gray->get(), pixels.width, pixels.width, pixels.height, 1}
                                            : image_of(pixels, held.get()));
  return SKEW_OK;
}

constexpr jsize kOptions = 9;

// In the order of LevelOptions.
bool read_options(JNIEnv* env, jdoubleArray array, SkewLevelOptions* options) {
  if (array == nullptr || env->GetArrayLength(array) != kOptions) return false;
  jdouble v[kOptions];
  env->GetDoubleArrayRegion(array, 0, kOptions, v);
  for (int i = 4; i < kOptions; ++i)  // those that are whole numbers
    if (!(v[i] >= 0 && v[i] <= UINT32_MAX)) return false;
  skew_level_defaults(options);
  options->smallestAngle = v[0];
  options->largestAngle = v[1];
  options->expectedAngle = v[2];
  options->expectedWithin = v[3];
  options->align = static_cast<int>(static_cast<int64_t>(v[4]));
  options->force = v[5] != 0;
  options->canvas = static_cast<int>(static_cast<int64_t>(v[6]));
  options->fillMode = static_cast<int>(static_cast<int64_t>(v[7]));
  options->fill = static_cast<uint32_t>(v[8]);
  return true;
}

// In the order of Levelled, Turn and PageAngle.
void write_level(JNIEnv* env, const SkewLevel& level, jdoubleArray result) {
  const SkewTransform& t = level.transform;
  const SkewPage& page = level.page;
  const jdouble values[] = {static_cast<jdouble>(level.action),
                            static_cast<jdouble>(level.aligned),
                            level.tilt,
                            static_cast<jdouble>(level.fill),
                            level.angle,
                            static_cast<jdouble>(level.canvas),
                            static_cast<jdouble>(t.outWidth),
                            static_cast<jdouble>(t.outHeight),
                            t.a,
                            t.b,
                            t.c,
                            t.d,
                            t.e,
                            t.f,
                            page.angle,
                            page.confidence,
                            page.lowestAngle,
                            page.highestAngle,
                            page.paperAngle,
                            page.spread,
                            static_cast<jdouble>(page.verdict),
                            static_cast<jdouble>(page.reason),
                            static_cast<jdouble>(page.basis),
                            static_cast<jdouble>(page.paperFound),
                            static_cast<jdouble>(page.windowsMeasured),
                            static_cast<jdouble>(page.windowsAgreeing)};
  env->SetDoubleArrayRegion(result, 0, sizeof values / sizeof *values, values);
}

jint plan(JNIEnv* env, const JavaPixels& pixels, jdoubleArray wishes, jdoubleArray result) {
  SkewLevelOptions options;
  if (result == nullptr || !read_options(env, wishes, &options) || !valid_options(options))
    return SKEW_INVALID_ARGUMENT;
  Buffer<uint8_t> gray;
  uint32_t border = 0;
  int code = take_page(env, pixels, &gray, &border);
  SkewLevel level;
  if (code == SKEW_OK)
    code = judge({gray.get(), pixels.width, pixels.width, pixels.height, 1}, pixels.pixel_bytes(), border,
                 &options, &level);
  if (code == SKEW_OK) write_level(env, level, result);
  return code;
}

jint preview(JNIEnv* env, const JavaPixels& pixels, jdoubleArray result) {
  if (result == nullptr) return SKEW_INVALID_ARGUMENT;
  Buffer<uint8_t> gray;
  uint32_t border = 0;
  int code = take_page(env, pixels, &gray, &border);
  jdouble angle = 0;
  if (code == SKEW_OK) code = measure_skew(gray.get(), pixels.width, pixels.height, pixels.width, &angle);
  if (code == SKEW_OK) env->SetDoubleArrayRegion(result, 0, 1, &angle);
  return code;
}

bool overlap(const uint8_t* a, uint64_t a_bytes, const uint8_t* b, uint64_t b_bytes) {
  const uint64_t first = reinterpret_cast<uintptr_t>(a), second = reinterpret_cast<uintptr_t>(b);
  return first < second ? second - first < a_bytes : first - second < b_bytes;
}

jint rotate_pixels(JNIEnv* env, const JavaPixels& from, jdouble angle, jint canvas, jint fill,
                   JavaPixels to) {
  const int sized = skew_rotated_size(from.width, from.height, angle, canvas, &to.width, &to.height);
  if (sized != SKEW_OK) return sized;
  to.row_stride = to.width;
  if (!from.valid() || !to.valid() || from.pixel_bytes() != to.pixel_bytes() || !holds(env, from) ||
      !holds(env, to))
    return SKEW_INVALID_ARGUMENT;
  const HeldPixels source(env, from, JNI_ABORT), result(env, to, 0);
  if (source.get() == nullptr || result.get() == nullptr) return SKEW_OUT_OF_MEMORY;
  if (overlap(source.get(), from.bytes(), result.get(), to.bytes())) return SKEW_INVALID_ARGUMENT;
  Image image = image_of(from, source.get());
  Buffer<uint8_t> gray;
  if (from.gathered()) {
    gray = gray_of(from, source.get());
    if (!gray) return SKEW_OUT_OF_MEMORY;
    image = {gray.get(), from.width, from.width, from.height, 1};
  }
  return rotate(image, angle, canvas, static_cast<uint32_t>(fill), result.get(), to.stride());
}

jint write_transform(JNIEnv* env, jint width, jint height, jdouble angle, jint canvas, jdoubleArray result) {
  SkewTransform t;
  const int code = skew_transform(width, height, angle, canvas, &t);
  if (code != SKEW_OK || result == nullptr) return code != SKEW_OK ? code : SKEW_INVALID_ARGUMENT;
  const jdouble values[] = {angle,
                            static_cast<jdouble>(canvas),
                            static_cast<jdouble>(t.outWidth),
                            static_cast<jdouble>(t.outHeight),
                            t.a,
                            t.b,
                            t.c,
                            t.d,
                            t.e,
                            t.f};
  env->SetDoubleArrayRegion(result, 0, sizeof values / sizeof *values, values);
  return SKEW_OK;
}

}  // namespace
}  // namespace skew

#define SKEW_PAGE_METHOD(name) Java_com_narvo_android_lumetrix_imageprocessing_PageLib_##name

extern "C" {

JNIEXPORT jint JNICALL SKEW_PAGE_METHOD(plan)(JNIEnv* env, jclass, jobject pixels, jint layout, jint offset,
                                              jint width, jint height, jint rowStride, jint pixelStride,
                                              jdoubleArray options, jdoubleArray result) {
  return skew::plan(env, {pixels, layout, offset, width, height, rowStride, pixelStride}, options, result);
}

JNIEXPORT jint JNICALL SKEW_PAGE_METHOD(preview)(JNIEnv* env, jclass, jobject pixels, jint layout,
                                                 jint offset, jint width, jint height, jint rowStride,
                                                 jint pixelStride, jdoubleArray result) {
  return skew::preview(env, {pixels, layout, offset, width, height, rowStride, pixelStride}, result);
}

JNIEXPORT jint JNICALL SKEW_PAGE_METHOD(rotate)(JNIEnv* env, jclass, jobject pixels, jint layout, jint offset,
                                                jint width, jint height, jint rowStride, jint pixelStride,
                                                jdouble angle, jint canvas, jint fill, jobject result,
                                                jint resultLayout, jint resultOffset) {
  return skew::rotate_pixels(env, {pixels, layout, offset, width, height, rowStride, pixelStride}, angle,
                             canvas, fill, {result, resultLayout, resultOffset, 0, 0, 1, 1});
}

JNIEXPORT jint JNICALL SKEW_PAGE_METHOD(transform)(JNIEnv* env, jclass, jint width, jint height,
                                                   jdouble angle, jint canvas, jdoubleArray result) {
  return skew::write_transform(env, width, height, angle, canvas, result);
}

}  // extern "C"
