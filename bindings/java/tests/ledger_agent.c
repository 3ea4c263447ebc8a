/* A Java machine agent that keeps account of what native code obtains: it puts counting functions in the
 * place of the eight acquiring and releasing ones. The tests ask it through the class Ledger, and at the end it
 * stops the machine with exit code 70 if anything is still held. */
#define _GNU_SOURCE /* dladdr */
#include <dlfcn.h>
#include <jvmti.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static jniNativeInterface* original;
static long acquired, held;

/* The Java machine's own libraries use the same functions. */
static int is_library(const void* caller) {
  Dl_info file;
  return dladdr(caller, &file) != 0 && strstr(file.dli_fname, "libSkewCorrection_Lib") != NULL;
}

static void count_acquired(const void* caller, const void* elements) {
  if (elements == NULL || !is_library(caller)) return;
  __atomic_add_fetch(&acquired, 1, __ATOMIC_RELAXED);
  __atomic_add_fetch(&held, 1, __ATOMIC_RELAXED);
}

static void count_released(const void* caller) {
  if (is_library(caller)) __atomic_sub_fetch(&held, 1, __ATOMIC_RELAXED);
}

static jint* JNICALL get_ints(JNIEnv* env, jintArray array, jboolean* copied) {
  jint* elements = original->GetIntArrayElements(env, array, copied);
  count_acquired(__builtin_return_address(0), elements);
  return elements;
}
static jbyte* JNICALL get_bytes(JNIEnv* env, jbyteArray array, jboolean* copied) {
  jbyte* elements = original->GetByteArrayElements(env, array, copied);
  count_acquired(__builtin_return_address(0), elements);
  return elements;
}
static const char* JNICALL get_chars(JNIEnv* env, jstring string, jboolean* copied) {
  const char* chars = original->GetStringUTFChars(env, string, copied);
  count_acquired(__builtin_return_address(0), chars);
  return chars;
}
static void* JNICALL get_critical(JNIEnv* env, jarray array, jboolean* copied) {
  void* elements = original->GetPrimitiveArrayCritical(env, array, copied);
  count_acquired(__builtin_return_address(0), elements);
  return elements;
}
static void JNICALL release_critical(JNIEnv* env, jarray array, void* elements, jint mode) {
  count_released(__builtin_return_address(0));
  original->ReleasePrimitiveArrayCritical(env, array, elements, mode);
}
static void JNICALL release_ints(JNIEnv* env, jintArray array, jint* elements, jint mode) {
  count_released(__builtin_return_address(0));
  original->ReleaseIntArrayElements(env, array, elements, mode);
}
static void JNICALL release_bytes(JNIEnv* env, jbyteArray array, jbyte* elements, jint mode) {
  count_released(__builtin_return_address(0));
  original->ReleaseByteArrayElements(env, array, elements, mode);
}
static void JNICALL release_chars(JNIEnv* env, jstring string, const char* chars) {
  count_released(__builtin_return_address(0));
  original->ReleaseStringUTFChars(env, string, chars);
}

JNIEXPORT jlong JNICALL Java_com_narvo_android_lumetrix_imageprocessing_Ledger_acquired(JNIEnv* env,
                                                                                        jclass self) {
  (void)env, (void)self;
  return __atomic_load_n(&acquired, __ATOMIC_RELAXED);
}
JNIEXPORT jlong JNICALL Java_com_narvo_android_lumetrix_imageprocessing_Ledger_held(JNIEnv* env,
                                                                                    jclass self) {
  (void)env, (void)self;
  return __atomic_load_n(&held, __ATOMIC_RELAXED);
}

static void JNICALL started(jvmtiEnv* jvmti, JNIEnv* env, jthread thread) {
  (void)env, (void)thread;
  jniNativeInterface* counting;
  if ((*jvmti)->GetJNIFunctionTable(jvmti, &original) != JVMTI_ERROR_NONE ||
      (*jvmti)->GetJNIFunctionTable(jvmti, &counting) != JVMTI_ERROR_NONE)
    return;
  counting->GetIntArrayElements = get_ints;
  counting->GetByteArrayElements = get_bytes;
  counting->GetStringUTFChars = get_chars;
  counting->GetPrimitiveArrayCritical = get_critical;
  counting->ReleasePrimitiveArrayCritical = release_critical;
  counting->ReleaseIntArrayElements = release_ints;
  counting->ReleaseByteArrayElements = release_bytes;
  counting->ReleaseStringUTFChars = release_chars;
  (*jvmti)->SetJNIFunctionTable(jvmti, counting);
}

static void JNICALL ended(jvmtiEnv* jvmti, JNIEnv* env) {
  (void)jvmti, (void)env;
  printf("ledger: %ld acquired, %ld not released\n", acquired, held);
  fflush(stdout);
  if (acquired == 0 || held != 0) _exit(70);
}

JNIEXPORT jint JNICALL Agent_OnLoad(JavaVM* machine, char* options, void* reserved) {
  (void)options, (void)reserved;
  jvmtiEnv* jvmti;
  if ((*machine)->GetEnv(machine, (void**)&jvmti, JVMTI_VERSION_11) != JNI_OK) return JNI_ERR;
  jvmtiEventCallbacks callbacks;
  memset(&callbacks, 0, sizeof callbacks);
  callbacks.VMInit = started;
  callbacks.VMDeath = ended;
  (*jvmti)->SetEventCallbacks(jvmti, &callbacks, sizeof callbacks);
  (*jvmti)->SetEventNotificationMode(jvmti, JVMTI_ENABLE, JVMTI_EVENT_VM_INIT, NULL);
  (*jvmti)->SetEventNotificationMode(jvmti, JVMTI_ENABLE, JVMTI_EVENT_VM_DEATH, NULL);
  return JNI_OK;
}
