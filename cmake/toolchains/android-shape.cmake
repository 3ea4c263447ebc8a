# Android-shaped ELF files without an NDK: clang's own Android target and lld, headers and link stubs from
# bindings/android/. Not an NDK build: that one uses the NDK's headers, start files and compiler-rt (preset android-ndk).
# jni.h is Android's own, from Debian's android-libnativehelper-dev.
# Included by the toolchain file of one processor, which sets SKEW_ANDROID_TARGET and SKEW_ANDROID_PAGE_SIZE.
set(CMAKE_SYSTEM_NAME Linux)
set(SKEW_ANDROID_SHAPE ON)
set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_C_COMPILER_TARGET ${SKEW_ANDROID_TARGET})
set(CMAKE_CXX_COMPILER_TARGET ${SKEW_ANDROID_TARGET})
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES SKEW_ANDROID_TARGET SKEW_ANDROID_PAGE_SIZE)

set(skew_headers ${CMAKE_CURRENT_LIST_DIR}/../../bindings/android/include)
set(skew_compile "-nostdlibinc -isystem \"${skew_headers}\" -isystem /usr/include/android/nativehelper -ffunction-sections -fdata-sections")
set(CMAKE_C_FLAGS_INIT "${skew_compile}")
set(CMAKE_CXX_FLAGS_INIT "${skew_compile}")
string(CONCAT CMAKE_SHARED_LINKER_FLAGS_INIT
  "-nostdlib -fuse-ld=lld -Wl,--build-id=sha1 -Wno-unused-command-line-argument -Wl,--gc-sections -Wl,--hash-style=both "
  "-Wl,--no-rosegment -Wl,-z,noexecstack -Wl,-z,max-page-size=${SKEW_ANDROID_PAGE_SIZE} -Wl,--exclude-libs,ALL")
set(CMAKE_C_STANDARD_LIBRARIES "")
set(CMAKE_CXX_STANDARD_LIBRARIES "")
