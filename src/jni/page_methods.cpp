// The native methods of the Java class PageLib: what the facade needs beyond the five published methods.
// Nothing here keeps state.
#include "include/skewcorrection/page.h"
#include "include/skewcorrection/rotate.h"
#include "jni/guards.h"

#if defined(SKEW_GENERATED_JNI_HEADERS)
#include "com_narvo_android_lumetrix_imageprocessing_PageLib.h"
#endif

namespace skew {
namespace {

constexpr jint kArrayFailed = 3;  // the elements of an array could not be obtained
constexpr unsigned char kWhite = 255;

jint rotate_gray(JNIEnv* env, jbyteArray src, jbyteArray dst, jint width, jint height, jdouble angle) {
  if (src == nullptr || dst == nullptr || width <= 0 || height <= 0 ||
      !may_hold(env, src, 1, width, height) || !may_hold(env, dst, 1, width, height))
    return SKEW_INVALID_ARGUMENT;
  const ByteElements source(env, src);
  if (!source) return kArrayFailed;
  const ByteElements destination(env, dst);
  if (!destination) return kArrayFailed;
  return skew_rotate_gray(source.get(), width, width, height, angle, SKEW_CANVAS_KEEP, destination.get(),
                          width, kWhite);
}

jint measure_gray(JNIEnv* env, jbyteArray gray, jint width, jint height, jdoubleArray result) {
  if (gray == nullptr || result == nullptr || width <= 0 || height <= 0 ||
      !may_hold(env, gray, 1, width, height))
    return SKEW_INVALID_ARGUMENT;
  SkewPage page;
  {
    const ByteElements pixels(env, gray);
    if (!pixels) return kArrayFailed;
    const int measured = skew_measure_page(pixels.get(), width, height, width, &page);
    if (measured != SKEW_OK) return measured;
  }
  const jdouble values[] = {page.angle, static_cast<jdouble>(page.verdict),
                            static_cast<jdouble>(page.windowsMeasured),
                            static_cast<jdouble>(page.windowsAgreeing), page.spread};
  env->SetDoubleArrayRegion(result, 0, sizeof values / sizeof *values, values);
  return SKEW_OK;
}

}  // namespace
}  // namespace skew

extern "C" {

JNIEXPORT jint JNICALL Java_com_narvo_android_lumetrix_imageprocessing_PageLib_rotateGray(
    JNIEnv* env, jclass, jbyteArray src, jbyteArray dst, jint width, jint height, jdouble angle) {
  return skew::rotate_gray(env, src, dst, width, height, angle);
}

JNIEXPORT jint JNICALL Java_com_narvo_android_lumetrix_imageprocessing_PageLib_measureGray(
    JNIEnv* env, jclass, jbyteArray gray, jint width, jint height, jdoubleArray result) {
  return skew::measure_gray(env, gray, width, height, result);
}

}  // extern "C"
