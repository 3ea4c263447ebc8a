// The five native methods of the Java class ImgSkewCorrectionLib. They check what Java hands over, in a fixed
// order, translate arrays, strings and result codes, and leave the work to plain functions.
#include <cstring>

#include "convert/working_copy.h"
#include "core/buffer.h"
#include "include/skewcorrection/convert.h"
#include "include/skewcorrection/rotate.h"
#include "jni/guards.h"
#include "jni/last_angle.h"
#include "platform/log.h"
#include "skew/driver.h"

// The Java compiler's view of the class: a drifted signature fails here.
#if defined(SKEW_GENERATED_JNI_HEADERS)
#include "com_narvo_android_lumetrix_imageprocessing_ImgSkewCorrectionLib.h"
#endif

#define SKEW_JAVA_METHOD(name) Java_com_narvo_android_lumetrix_imageprocessing_ImgSkewCorrectionLib_##name

namespace skew {

double g_lastSkewAngle = 0.0;

namespace {

// What Java sees; ImgSkewCorrect_Snapshot_ByteArray alone reports bad arguments as 1.
constexpr jint kDone = 0;
constexpr jint kBadArgument = 1;
constexpr jint kNoMemory = 2;
constexpr jint kFailed = 3;

constexpr size_t kLongestPath = 255;  // bytes

// Frees the working copy at the end of a method, on every path.
struct WorkingCopyScope {
  ~WorkingCopyScope() { free_working_copy(); }
};

struct PathMessages {
  const char* missing;
  const char* bad_length;
};

constexpr PathMessages kPreviewMessages = {
    "[ImgSkewCorrect_Preview] Error! NULL == pDataPath",
    "[ImgSkewCorrect_Preview] Error! ( 255 < strlen(pDataPath) || 0 == strlen(pDataPath) )"};
constexpr PathMessages kSnapshotMessages = {
    "[ImgSkewCorrect_Snapshot] JNI error! ; NULL == pDataPath",
    "[ImgSkewCorrect_Snapshot] JNI error! ; 255 < strlen(pDataPath) || 0 == strlen(pDataPath)"};

// Measures the working copy, rotates it and drops the rotated image, which reaches nobody; the angle counts
// only if the rotation succeeded.
jint measure_and_rotate(jint width, jint height) {
  double angle = 0.0;
  if (measure_skew(g_globalBuffer, width, height, width, &angle) != SKEW_OK) return kFailed;
  unsigned char* rotated = nullptr;
  const int result = RotateGrayImage(g_globalBuffer, width, height, angle, &rotated, static_cast<char>(-1));
  const Buffer<unsigned char> owner(rotated);
  if (result != SKEW_OK) return kFailed;
  g_lastSkewAngle = angle;
  return kDone;
}

// A path that cannot be used is logged and ends the method with 0, nothing measured.
jint check_path_and_measure(JNIEnv* env, jstring path, jint width, jint height,
                            const PathMessages& messages) {
  const StringChars chars(env, path);
  if (!chars) {
    log_info(messages.missing);
    return kDone;
  }
  const size_t length = std::strlen(chars.get());
  if (length > kLongestPath || length == 0) {
    log_info(messages.bad_length);
    return kDone;
  }
  return measure_and_rotate(width, height);
}

int copy_gray(JNIEnv* env, jbyteArray data, jint width, jint height) {
  const ByteElements pixels(env, data);
  return pixels ? CopyToGlobalBuffer(pixels.get(), width, height) : kFailed;
}

int copy_argb(JNIEnv* env, jintArray data, jint width, jint height) {
  const IntElements pixels(env, data);
  return pixels ? ConvertImageDataToGray_and_CopyToGlobalBuffer(pixels.get(), width, height) : kFailed;
}

jint preview(JNIEnv* env, jbyteArray data, jint width, jint height, jstring path) {
  free_working_copy();
  const int copied = copy_gray(env, data, width, height);
  if (copied == SKEW_OUT_OF_MEMORY)
    log_info("[ImgSkewCorrect_Preview] Error in CopyToGlobalBuffer(), err = %d", copied);
  if (copied != SKEW_OK) return copied;
  return check_path_and_measure(env, path, width, height, kPreviewMessages);
}

jint deskew_argb(JNIEnv* env, jintArray src, jintArray dst, jint width, jint height) {
  const IntElements source(env, src);
  if (!source) return kFailed;
  const IntElements destination(env, dst);
  if (!destination) return kFailed;
  const int copied = ConvertImageDataToGray_and_CopyToGlobalBuffer(source.get(), width, height);
  if (copied != SKEW_OK) return copied;

  double angle = 0.0;
  if (measure_skew(g_globalBuffer, width, height, width, &angle) != SKEW_OK) return kFailed;
  g_lastSkewAngle = angle;  // kept even if the rotation fails
  const int rotated = RotateARGBImage_INT_FOR_JNI(source.get(), width, height, angle, destination.get(), -1);
  return rotated == SKEW_OK ? kDone : kFailed;
}

// Measures through a gray copy that is gone when this returns.
jint measure_rgb(const uint8_t* rgb, jint width, jint height, double* angle) {
  const Buffer<uint8_t> gray = allocate<uint8_t>(static_cast<uint64_t>(width), static_cast<uint64_t>(height));
  if (!gray) return kNoMemory;
  image_rgb2gray(rgb, width, height, gray.get());
  return measure_skew(gray.get(), width, height, width, angle) == SKEW_OK ? kDone : kFailed;
}

jint deskew_rgb(JNIEnv* env, jbyteArray src, jbyteArray dst, jint width, jint height) {
  const ByteElements source(env, src);
  if (!source) return kFailed;
  double angle = 0.0;
  const jint measured = measure_rgb(source.get(), width, height, &angle);
  if (measured != kDone) return measured;

  const ByteElements destination(env, dst);
  if (!destination) return kFailed;
  if (RotateRGBImage(source.get(), width, height, angle, destination.get(), 0) != SKEW_OK) return kFailed;
  g_lastSkewAngle = angle;
  return kDone;
}

}  // namespace
}  // namespace skew

extern "C" {

JNIEXPORT jint JNICALL SKEW_JAVA_METHOD(ImgSkewCorrect_1Preview)(JNIEnv* env, jclass, jbyteArray data,
                                                                 jint width, jint height, jint reserved1,
                                                                 jint reserved2, jint reserved3,
                                                                 jint reserved4, jstring pDataPath) {
  const skew::WorkingCopyScope scope;
  jint result = skew::kFailed;
  if (env != nullptr && data != nullptr && width > 0 && height > 0 && reserved1 >= 0 && reserved2 >= 0 &&
      reserved3 >= 0 && reserved4 >= 0 && pDataPath != nullptr && skew::may_hold(env, data, 1, width, height))
    result = skew::preview(env, data, width, height, pDataPath);
  if (result != skew::kDone) skew::log_info("[ImgSkewCorrect_Preview] Image skew correction fail~ !);");
  return result;
}

JNIEXPORT jint JNICALL SKEW_JAVA_METHOD(ImgSkewCorrect_1Snapshot)(JNIEnv* env, jclass, jintArray data,
                                                                  jint width, jint height,
                                                                  jstring pDataPath) {
  const skew::WorkingCopyScope scope;
  if (env == nullptr || data == nullptr || width <= 0 || height <= 0 || pDataPath == nullptr ||
      !skew::may_hold(env, data, 1, width, height))
    return skew::kFailed;
  skew::free_working_copy();
  const int copied = skew::copy_argb(env, data, width, height);
  if (copied != SKEW_OK) return copied;
  return skew::check_path_and_measure(env, pDataPath, width, height, skew::kSnapshotMessages);
}

JNIEXPORT jint JNICALL SKEW_JAVA_METHOD(ImgSkewCorrect_1ImageLoadingMode)(JNIEnv* env, jclass self,
                                                                          jintArray src, jintArray dst,
                                                                          jint width, jint height) {
  const skew::WorkingCopyScope scope;
  if (env == nullptr || self == nullptr || src == nullptr || dst == nullptr || width <= 0 || height <= 0 ||
      !skew::may_hold(env, src, 1, width, height) || !skew::may_hold(env, dst, 1, width, height))
    return skew::kFailed;
  return skew::deskew_argb(env, src, dst, width, height);
}

JNIEXPORT jint JNICALL SKEW_JAVA_METHOD(ImgSkewCorrect_1Snapshot_1ByteArray)(JNIEnv* env, jclass self,
                                                                             jbyteArray src, jbyteArray dst,
                                                                             jint width, jint height) {
  if (env == nullptr || self == nullptr || src == nullptr || dst == nullptr || width <= 0 || height <= 0 ||
      !skew::may_hold(env, src, 3, width, height) || !skew::may_hold(env, dst, 3, width, height))
    return skew::kBadArgument;
  return skew::deskew_rgb(env, src, dst, width, height);
}

JNIEXPORT jdouble JNICALL SKEW_JAVA_METHOD(AmountOfSkewInImage)(JNIEnv*, jclass) {
  return skew::g_lastSkewAngle;
}

}  // extern "C"
