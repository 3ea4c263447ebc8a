// On Android the log function comes from liblog. Elsewhere it is a weak reference: a program that has liblog,
// or brings a function of that name to collect the messages, is served by it; otherwise the message is
// printed, so that a desktop needs no Android library.
#include "platform/log.h"

#if !defined(__ANDROID__)
#include <cstdio>
#endif

#if defined(__ANDROID__)
#define SKEW_LOG_REFERENCE
#else
#define SKEW_LOG_REFERENCE __attribute__((weak))
#endif

// NOLINTNEXTLINE(bugprone-reserved-identifier): Android's name
extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...)
    __attribute__((visibility("default"))) SKEW_LOG_REFERENCE;

namespace skew {
namespace {

constexpr int kInfo = 4;
constexpr const char* kTag = "SkewCorrectionJni";

}  // namespace

void log_info(const char* format, int value) {
#if !defined(__ANDROID__)
  if (&__android_log_print == nullptr) {
    char line[160];  // the longest message has 91 characters
    std::snprintf(line, sizeof line, format, value);
    std::fprintf(stderr, "I %s: %s\n", kTag, line);
    return;
  }
#endif
  __android_log_print(kInfo, kTag, format, value);
}

}  // namespace skew
