// The native methods of the Java classes ImgSkewCorrectionLib and PageLib, as the Java machine finds them: by name.
#pragma once

#include <jni.h>

#define SKEW_JAVA_METHOD(name) Java_com_narvo_android_lumetrix_imageprocessing_ImgSkewCorrectionLib_##name
#define SKEW_PAGE_METHOD(name) Java_com_narvo_android_lumetrix_imageprocessing_PageLib_##name

extern "C" {
jint SKEW_JAVA_METHOD(ImgSkewCorrect_1Preview)(JNIEnv*, jclass, jbyteArray, jint, jint, jint, jint, jint,
                                               jint, jstring);
jint SKEW_JAVA_METHOD(ImgSkewCorrect_1Snapshot)(JNIEnv*, jclass, jintArray, jint, jint, jstring);
jint SKEW_JAVA_METHOD(ImgSkewCorrect_1ImageLoadingMode)(JNIEnv*, jclass, jintArray, jintArray, jint, jint);
jint SKEW_JAVA_METHOD(ImgSkewCorrect_1Snapshot_1ByteArray)(JNIEnv*, jclass, jbyteArray, jbyteArray, jint,
                                                           jint);
jdouble SKEW_JAVA_METHOD(AmountOfSkewInImage)(JNIEnv*, jclass);
jint SKEW_PAGE_METHOD(plan)(JNIEnv*, jclass, jobject, jint, jint, jint, jint, jint, jint, jdoubleArray,
                            jdoubleArray);
jint SKEW_PAGE_METHOD(preview)(JNIEnv*, jclass, jobject, jint, jint, jint, jint, jint, jint, jdoubleArray);
jint SKEW_PAGE_METHOD(rotate)(JNIEnv*, jclass, jobject, jint, jint, jint, jint, jint, jint, jdouble, jint,
                              jint, jobject, jint, jint);
jint SKEW_PAGE_METHOD(transform)(JNIEnv*, jclass, jint, jint, jdouble, jint, jdoubleArray);
}
