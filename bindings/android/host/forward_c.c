/* Stands in for Android's libc.so and libm.so when the library runs on a desktop's emulator: linked with glibc,
 * it hands on every name. Only the loading matters; the function keeps the dependency from being dropped. */
#include <stddef.h>

extern void* memcpy(void*, const void*, size_t);
extern double sqrt(double);
void* keep_libc(void* block) { return memcpy(block, block, 0); }
double keep_libm(double value) { return sqrt(value); }
