#include "tests/support/jni_table.h"

#include <algorithm>
#include <cstring>

#include "tests/support/log_capture.h"

namespace skew::test {

JniTable* owner_of(JNIEnv* env);

namespace {

JavaObject* object(jobject handle) { return reinterpret_cast<JavaObject*>(handle); }

jsize array_length(JNIEnv*, jarray array) {
  const std::string& name = object(array)->name;
  events().push_back("length " + name);
  const size_t element = name[0] == 'i' ? sizeof(jint) : name[0] == 'd' ? sizeof(jdouble) : 1;
  return static_cast<jsize>(object(array)->bytes.size() / element);
}

jbyte* get_bytes(JNIEnv* env, jbyteArray array, jboolean* copied) {
  return static_cast<jbyte*>(owner_of(env)->acquire(object(array), copied));
}
jint* get_ints(JNIEnv* env, jintArray array, jboolean* copied) {
  return static_cast<jint*>(owner_of(env)->acquire(object(array), copied));
}
const char* get_chars(JNIEnv* env, jstring string, jboolean* copied) {
  return static_cast<char*>(owner_of(env)->acquire(object(string), copied));
}
void release_bytes(JNIEnv* env, jbyteArray array, jbyte* elements, jint mode) {
  owner_of(env)->release(object(array), elements, mode);
}
void release_ints(JNIEnv* env, jintArray array, jint* elements, jint mode) {
  owner_of(env)->release(object(array), elements, mode);
}
void release_chars(JNIEnv* env, jstring string, const char* chars) {
  owner_of(env)->release(object(string), chars, 0);
}

// A region beyond the array raises an exception in Java and writes nothing.
void set_doubles(JNIEnv*, jdoubleArray array, jsize start, jsize count, const jdouble* values) {
  JavaObject* to = object(array);
  events().push_back("set " + to->name);
  const size_t begin = static_cast<size_t>(start) * sizeof(jdouble),
               size = static_cast<size_t>(count) * sizeof(jdouble);
  if (start >= 0 && begin + size <= to->bytes.size()) std::memcpy(to->bytes.data() + begin, values, size);
}

void get_doubles(JNIEnv*, jdoubleArray array, jsize start, jsize count, jdouble* values) {
  const std::vector<uint8_t>& from = object(array)->bytes;
  const size_t begin = static_cast<size_t>(start) * sizeof(jdouble),
               size = static_cast<size_t>(count) * sizeof(jdouble);
  if (start >= 0 && begin + size <= from.size()) std::memcpy(values, from.data() + begin, size);
}

void* get_critical(JNIEnv* env, jarray array, jboolean* copied) {
  return owner_of(env)->acquire(object(array), copied);
}
void release_critical(JNIEnv* env, jarray array, void* elements, jint mode) {
  owner_of(env)->release(object(array), elements, mode);
}

bool is_buffer(jobject handle) { return object(handle)->name.rfind("buffer", 0) == 0; }
void* buffer_address(JNIEnv*, jobject buffer) {
  return is_buffer(buffer) ? object(buffer)->bytes.data() : nullptr;
}
jlong buffer_capacity(JNIEnv*, jobject buffer) {
  return is_buffer(buffer) ? static_cast<jlong>(object(buffer)->bytes.size()) : -1;
}

}  // namespace

JniTable::JniTable(bool with_length) {
  if (with_length) {
    functions_.GetArrayLength = array_length;
    functions_.SetDoubleArrayRegion = set_doubles;
    functions_.GetDoubleArrayRegion = get_doubles;
    functions_.GetPrimitiveArrayCritical = get_critical;
    functions_.ReleasePrimitiveArrayCritical = release_critical;
    functions_.GetDirectBufferAddress = buffer_address;
    functions_.GetDirectBufferCapacity = buffer_capacity;
  }
  functions_.GetByteArrayElements = get_bytes;
  functions_.ReleaseByteArrayElements = release_bytes;
  functions_.GetIntArrayElements = get_ints;
  functions_.ReleaseIntArrayElements = release_ints;
  functions_.GetStringUTFChars = get_chars;
  functions_.ReleaseStringUTFChars = release_chars;
  env_.functions = &functions_;
  env_.owner = this;
}

void* JniTable::acquire(JavaObject* object, const jboolean* copied) {
  const bool fails = ++acquisitions_ == failing_acquisition;
  events().push_back((fails ? "fail " : "get ") + object->name + (copied != nullptr ? " with is-copy" : ""));
  if (fails) return nullptr;
  std::unique_ptr<uint8_t[]> copy(new uint8_t[object->bytes.size()]);
  std::copy(object->bytes.begin(), object->bytes.end(), copy.get());
  void* elements = copy.get();
  held_[elements] = {object, std::move(copy)};
  return elements;
}

void JniTable::release(JavaObject* object, const void* elements, jint mode) {
  const auto found = held_.find(elements);
  if (found == held_.end() || found->second.first != object) {
    events().push_back("WRONG release " + object->name);
    return;
  }
  events().push_back("release " + object->name + (mode != 0 ? " with a mode" : ""));
  if (mode != JNI_ABORT) std::copy_n(found->second.second.get(), object->bytes.size(), object->bytes.begin());
  held_.erase(found);
}

}  // namespace skew::test
