// Java arrays and strings, held while a scope lasts. Whatever was obtained is released on every path, elements
// with mode 0, which hands to Java what was written. A failed acquisition leaves an exception pending in the
// Java machine; nothing but releases may follow it then.
#pragma once

#include <jni.h>

#include <cstdint>

namespace skew {

inline jbyte* acquire(JNIEnv* env, jbyteArray array) { return env->GetByteArrayElements(array, nullptr); }
inline jint* acquire(JNIEnv* env, jintArray array) { return env->GetIntArrayElements(array, nullptr); }
inline void release(JNIEnv* env, jbyteArray array, jbyte* elements) {
  env->ReleaseByteArrayElements(array, elements, 0);
}
inline void release(JNIEnv* env, jintArray array, jint* elements) {
  env->ReleaseIntArrayElements(array, elements, 0);
}

// The elements of a Java array; false if they could not be obtained.
template <class Array, class Element>
class Elements {
 public:
  Elements(JNIEnv* env, Array array) : env_(env), array_(array), elements_(acquire(env, array)) {}
  ~Elements() {
    if (elements_ != nullptr) release(env_, array_, elements_);
  }
  Elements(const Elements&) = delete;
  Elements& operator=(const Elements&) = delete;

  explicit operator bool() const { return elements_ != nullptr; }
  Element* get() const { return elements_; }

 private:
  JNIEnv* env_;
  Array array_;
  Element* elements_;
};

// Bytes are unsigned to the library and signed to Java.
class ByteElements : public Elements<jbyteArray, jbyte> {
 public:
  using Elements::Elements;
  uint8_t* get() const { return reinterpret_cast<uint8_t*>(Elements::get()); }
};

using IntElements = Elements<jintArray, jint>;

// The elements of any primitive array in place, where the Java machine can do that: it may collect no garbage
// meanwhile, so the scope is short, allocates nothing in Java and calls nothing of it.
class CriticalElements {
 public:
  // mode: JNI_ABORT for an array that is only read, 0 for one that is written.
  CriticalElements(JNIEnv* env, jarray array, jint mode)
      : env_(env),
        array_(array),
        mode_(mode),
        elements_(array != nullptr ? env->GetPrimitiveArrayCritical(array, nullptr) : nullptr) {}
  ~CriticalElements() {
    if (elements_ != nullptr) env_->ReleasePrimitiveArrayCritical(array_, elements_, mode_);
  }
  CriticalElements(const CriticalElements&) = delete;
  CriticalElements& operator=(const CriticalElements&) = delete;

  uint8_t* get() const { return static_cast<uint8_t*>(elements_); }

 private:
  JNIEnv* env_;
  jarray array_;
  jint mode_;
  void* elements_;
};

// The characters of a Java string in modified UTF-8; false if they could not be obtained.
class StringChars {
 public:
  StringChars(JNIEnv* env, jstring string)
      : env_(env), string_(string), chars_(env->GetStringUTFChars(string, nullptr)) {}
  ~StringChars() {
    if (chars_ != nullptr) env_->ReleaseStringUTFChars(string_, chars_);
  }
  StringChars(const StringChars&) = delete;
  StringChars& operator=(const StringChars&) = delete;

  explicit operator bool() const { return chars_ != nullptr; }
  const char* get() const { return chars_; }

 private:
  JNIEnv* env_;
  jstring string_;
  const char* chars_;
};

// False if the array is known to have fewer elements than channels * width * height. Its length is asked for
// only where the function table has the entry; without it the caller's promise stands. Sizes are positive.
inline bool may_hold(JNIEnv* env, jarray array, int channels, jint width, jint height) {
  if (env->functions->GetArrayLength == nullptr) return true;
  const int64_t needed = int64_t{width} * height;  // below 2^62, but three times it need not fit
  return int64_t{env->GetArrayLength(array)} / channels >= needed;
}

}  // namespace skew
