/* Loads an Android-shaped library as Android would find it and calls every JNI method through a function
 * table made by hand. The page it draws has a known angle. Prints what failed; exit code 0 when nothing did. */
#include <dlfcn.h>
#include <jni.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kWidth = 640, kHeight = 480, kPixels = kWidth * kHeight };

static int failures, held;

static void expect(int fine, const char* what, double angle) {
  if (fine) return;
  printf("page at %.1f degrees: %s\n", angle, what);
  ++failures;
}

/* The arrays and strings handed to the library are plain memory; taken and given back are counted. */
static jbyte* get_bytes(JNIEnv* env, jbyteArray array, jboolean* copied) {
  (void)env, (void)copied;
  ++held;
  return (jbyte*)array;
}
static void release_bytes(JNIEnv* env, jbyteArray array, jbyte* elements, jint mode) {
  (void)env, (void)array, (void)elements, (void)mode;
  --held;
}
static jint* get_ints(JNIEnv* env, jintArray array, jboolean* copied) {
  (void)env, (void)copied;
  ++held;
  return (jint*)array;
}
static void release_ints(JNIEnv* env, jintArray array, jint* elements, jint mode) {
  (void)env, (void)array, (void)elements, (void)mode;
  --held;
}
static const char* get_chars(JNIEnv* env, jstring string, jboolean* copied) {
  (void)env, (void)copied;
  ++held;
  return (const char*)string;
}
static void release_chars(JNIEnv* env, jstring string, const char* chars) {
  (void)env, (void)string, (void)chars;
  --held;
}

static void* library;

static void* find(const char* name) {
  void* symbol = dlsym(library, name);
  if (symbol == NULL) {
    printf("%s\n", dlerror());
    exit(1);
  }
  return symbol;
}

static void* method(const char* name) {
  char symbol[200];
  snprintf(symbol, sizeof symbol, "Java_com_narvo_android_lumetrix_imageprocessing_ImgSkewCorrectionLib_%s",
           name);
  return find(symbol);
}

/* Broken dark lines, 24 pixels apart, that fall to the right by the angle. */
static void draw_page(double angle, unsigned char* gray, unsigned char* rgb, jint* argb) {
  const double turn = angle * 3.14159265358979323846 / 180, s = sin(turn), c = cos(turn);
  for (int i = 0; i < kPixels; ++i) {
    const double x = i % kWidth, y = i / kWidth;
    const int across = (int)floor(y * c - x * s + 24000) % 24, along = (int)floor(x * c + y * s + 11000) % 11;
    gray[i] = across < 10 && along < 7 ? 30 : 240;
    memset(rgb + 3 * i, gray[i], 3);
    argb[i] = (jint)(0xFF000000u | gray[i] * 0x010101u);
  }
}

static unsigned char gray[kPixels], rgb[3 * kPixels], turned_rgb[3 * kPixels];
static jint argb[kPixels], turned_argb[kPixels];

static void check_page(JNIEnv* env, double angle) {
  jint (*preview)(JNIEnv*, jobject, void*, jint, jint, jint, jint, jint, jint, const char*) =
      method("ImgSkewCorrect_1Preview");
  jint (*snapshot)(JNIEnv*, jobject, void*, jint, jint, const char*) = method("ImgSkewCorrect_1Snapshot");
  jint (*loading)(JNIEnv*, jobject, void*, void*, jint, jint) = method("ImgSkewCorrect_1ImageLoadingMode");
  jint (*bytes)(JNIEnv*, jobject, void*, void*, jint, jint) = method("ImgSkewCorrect_1Snapshot_1ByteArray");
  jdouble (*amount)(JNIEnv*, jobject) = method("AmountOfSkewInImage");
  const jobject self = (jobject)gray;

  draw_page(angle, gray, rgb, argb);
  expect(preview(env, self, gray, kWidth, kHeight, 0, 0, 0, 0, "page") == 0, "preview failed", angle);
  const double measured = amount(env, self);
  expect(fabs(measured - angle) <= 0.4, "preview measured another angle", angle);
  expect(snapshot(env, self, argb, kWidth, kHeight, "page") == 0, "snapshot failed", angle);
  expect(amount(env, self) == measured, "snapshot measured another angle", angle);
  expect(loading(env, self, argb, turned_argb, kWidth, kHeight) == 0, "loading mode failed", angle);
  expect(amount(env, self) == measured, "loading mode measured another angle", angle);
  expect(bytes(env, self, rgb, turned_rgb, kWidth, kHeight) == 0, "byte array failed", angle);
  expect(amount(env, self) == measured, "byte array measured another angle", angle);
  expect(held == 0, "an array or string was not given back", angle);

  const int turned = measured != 0;
  expect(!turned || turned_argb[0] == -1, "uncovered ARGB corner is not white", angle);
  expect(!turned || turned_rgb[0] == 0, "uncovered RGB corner is not black", angle);
  int differing = 0; /* RGB is rounded to nearest, ARGB down; the fill colours differ */
  for (int i = 0; i < kPixels; ++i) {
    const int from_rgb = turned_rgb[3 * i], from_argb = turned_argb[i] & 255;
    if (from_rgb != from_argb && from_rgb != from_argb + 1 && (turned_argb[i] != -1 || from_rgb != 0))
      ++differing;
  }
  expect(differing == 0, "RGB and ARGB results differ", angle);
  expect(preview(env, self, gray, 31, 31, 0, 0, 0, 0, "page") == 3, "a 31 x 31 image was accepted", angle);
  expect(preview(env, self, gray, kWidth, kHeight, 0, 0, 0, 0, "") == 0, "an empty path was an error", angle);
  expect(bytes(env, self, NULL, turned_rgb, kWidth, kHeight) == 1, "a null array was accepted", angle);
  expect(held == 0 && amount(env, self) == measured, "a refused call changed the state", angle);
}

int main(int count, char** arguments) {
  library = count == 2 ? dlopen(arguments[1], RTLD_NOW) : NULL;
  if (library == NULL) {
    printf("cannot load: %s\n", dlerror());
    return 1;
  }
  struct JNINativeInterface table;
  memset(&table, 0, sizeof table);
  table.GetByteArrayElements = get_bytes;
  table.ReleaseByteArrayElements = release_bytes;
  table.GetIntArrayElements = get_ints;
  table.ReleaseIntArrayElements = release_ints;
  table.GetStringUTFChars = get_chars;
  table.ReleaseStringUTFChars = release_chars;
  JNIEnv env = &table;

  int (*luma)(unsigned char, unsigned char, unsigned char) = find("_Z11GetYfromRGBhhh");
  expect(luma(255, 0, 0) == 76 && luma(255, 255, 255) == 255, "luma is wrong", 0);
  const double angles[] = {0, 3, -7.4, 21.8, -38.2};
  for (size_t i = 0; i < sizeof angles / sizeof *angles; ++i) check_page(&env, angles[i]);
  printf("%zu pages through four methods, %d failures\n", sizeof angles / sizeof *angles, failures);
  return failures != 0;
}
