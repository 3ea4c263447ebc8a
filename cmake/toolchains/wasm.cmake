# WebAssembly by Debian's emscripten, with 128-bit vectors in the place of SSE2. Programs run in node.
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
set(CMAKE_C_FLAGS_INIT "-msimd128 -msse2")
set(CMAKE_CXX_FLAGS_INIT "-msimd128 -msse2")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-sALLOW_MEMORY_GROWTH=1 -sNODERAWFS=1 -sEXIT_RUNTIME=1 -sTOTAL_STACK=1MB")
