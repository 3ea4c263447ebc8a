#include "tests/support/log_capture.h"

#include <cstdarg>
#include <cstdio>

namespace skew::test {

std::vector<std::string>& events() {
  static auto* list = new std::vector<std::string>;
  return *list;
}

}  // namespace skew::test

// Takes the place of Android's log function in the test program.
extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
  char text[500];
  va_list values;
  va_start(values, format);
  vsnprintf(text, sizeof text, format, values);
  va_end(values);
  skew::test::events().push_back("log " + std::to_string(priority) + " " + tag + ": " + text);
  return 1;
}
