// A Java machine of six functions, or fourteen: a JNI function table made by hand. Arrays and strings are handed
// out as copies in blocks of their exact size, as a real machine does, and every function notes its call in
// events() (log_capture.h). Any acquisition can be made to fail.
#pragma once

#include <jni.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace skew::test {

// A Java byte[], int[], double[], String or direct buffer. Its name in the events begins with its kind.
struct JavaObject {
  std::string name;
  std::vector<uint8_t> bytes;

  template <class T>
  static JavaObject of(const std::string& name, const std::vector<T>& values) {
    const auto* first = reinterpret_cast<const uint8_t*>(values.data());
    return {name, std::vector<uint8_t>(first, first + values.size() * sizeof(T))};
  }
  jbyteArray as_bytes() { return reinterpret_cast<jbyteArray>(this); }
  jintArray as_ints() { return reinterpret_cast<jintArray>(this); }
  jdoubleArray as_doubles() { return reinterpret_cast<jdoubleArray>(this); }
  jobject as_object() { return reinterpret_cast<jobject>(this); }
  jstring as_string() { return reinterpret_cast<jstring>(this); }
};

class JniTable {
 public:
  // The six functions that the class ImgSkewCorrectionLib was promised, or those that PageLib needs besides; all
  // other entries are null.
  explicit JniTable(bool with_length);
  JniTable(const JniTable&) = delete;
  JniTable& operator=(const JniTable&) = delete;

  JNIEnv* env() { return &env_; }
  int outstanding() const { return static_cast<int>(held_.size()); }

  int failing_acquisition = 0;  // its number, counted from 1 since construction; 0: none

  // For the functions of the table.
  void* acquire(JavaObject* object, const jboolean* copied);
  void release(JavaObject* object, const void* elements, jint mode);

 private:
  struct Env : JNIEnv {
    JniTable* owner;
  };
  friend JniTable* owner_of(JNIEnv* env) { return static_cast<Env*>(env)->owner; }

  // Its name differs between the JDK and Android.
  std::remove_const_t<std::remove_pointer_t<decltype(JNIEnv::functions)>> functions_{};
  Env env_;
  int acquisitions_ = 0;
  std::map<const void*, std::pair<JavaObject*, std::unique_ptr<uint8_t[]>>> held_;
};

}  // namespace skew::test
