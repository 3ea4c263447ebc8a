#pragma once
enum { ANDROID_LOG_INFO = 4 };
#ifdef __cplusplus
extern "C" {
#endif
int __android_log_print(int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
#ifdef __cplusplus
}
#endif
