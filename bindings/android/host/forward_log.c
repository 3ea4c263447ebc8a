/* Stands in for Android's liblog.so: messages go to standard error. */
#include <stdarg.h>
#include <stdio.h>

int __android_log_print(int priority, const char* tag, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  fprintf(stderr, "%d/%s: ", priority, tag);
  vfprintf(stderr, format, arguments);
  fputc('\n', stderr);
  va_end(arguments);
  return 1;
}
