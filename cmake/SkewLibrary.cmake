# The library's targets.
#   skewcorrection_objects  every source once; each folder adds its own through skew_sources()
#   skewcorrection          libSkewCorrection_Lib.so, which exports the published names only, or the archive
#   skewcorrection_static   libSkewCorrection_Lib.a

# True for the NDK and for the Android-shaped build: liblog exists, libraries have no version.
set(SKEW_ANDROID OFF)
if(ANDROID OR SKEW_ANDROID_SHAPE)
  set(SKEW_ANDROID ON)
endif()

add_library(skewcorrection_objects OBJECT)
set_target_properties(skewcorrection_objects PROPERTIES
  POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)

# What every source of the library is compiled with, the reference forms too: without -ffp-contract=off the
# compilers fuse multiplication and addition on some processors, and results would differ between them.
add_library(skewcorrection_flags INTERFACE)
target_compile_options(skewcorrection_flags INTERFACE
  -ffp-contract=off -Wall -Wextra -Wshadow -Wconversion -Wno-sign-conversion -Wno-psabi)
target_include_directories(skewcorrection_flags INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src)
if(NOT SKEW_SIMD)
  target_compile_definitions(skewcorrection_flags INTERFACE SKEW_NO_SIMD=1)
endif()

# The library itself does without what would need a C++ runtime.
add_library(skewcorrection_no_runtime INTERFACE)
target_compile_options(skewcorrection_no_runtime INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
target_link_libraries(skewcorrection_no_runtime INTERFACE skewcorrection_flags)
target_compile_definitions(skewcorrection_no_runtime INTERFACE SKEW_BUILDING=1)
if(SKEW_ANDROID)  # hardened as an NDK's own libraries are
  target_compile_options(skewcorrection_no_runtime INTERFACE -fstack-protector-strong -U_FORTIFY_SOURCE
    -D_FORTIFY_SOURCE=2 $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},aarch64>:-mbranch-protection=standard>)
endif()
target_link_libraries(skewcorrection_objects PRIVATE skewcorrection_no_runtime)

set(SKEW_WIDER_FORMS OFF)
if(SKEW_SIMD AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
  set(SKEW_WIDER_FORMS ON)
  target_compile_definitions(skewcorrection_flags INTERFACE SKEW_WIDER_FORMS=1)
endif()

# Adds sources of the current folder to the library.
function(skew_sources)
  foreach(source ${ARGN})
    target_sources(skewcorrection_objects PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/${source})
  endforeach()
endfunction()

# Adds kernel sources (src/core/forms.h), which are compiled again for longer vectors on x86-64: for AVX2 and, if
# AVX512 is said, for AVX-512. The tests compile them once more without vectors.
function(skew_kernel_sources)
  cmake_parse_arguments(PARSE_ARGV 0 arg "AVX512" "" "")
  set(sources ${arg_UNPARSED_ARGUMENTS})
  skew_sources(${sources})
  list(TRANSFORM sources PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE paths)
  set_property(GLOBAL APPEND PROPERTY SKEW_KERNEL_SOURCES ${paths})
  if(SKEW_WIDER_FORMS)
    skew_wider_form(avx2 SKEW_AVX2_BUILD "-mavx2" ${sources})
    if(arg_AVX512)
      skew_wider_form(avx512 SKEW_AVX512_BUILD "-mavx512f;-mavx512bw;-mavx512vl;-mavx512vbmi" ${sources})
    endif()
  endif()
endfunction()

function(skew_wider_form form definition options)
  foreach(source ${ARGN})
    string(MAKE_C_IDENTIFIER skewcorrection_${form}_${source} name)
    add_library(${name} OBJECT ${source})
    set_target_properties(${name} PROPERTIES
      POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_link_libraries(${name} PRIVATE skewcorrection_no_runtime)
    target_compile_definitions(${name} PRIVATE ${definition}=1)
    target_compile_options(${name} PRIVATE ${options})
    set_property(GLOBAL APPEND PROPERTY SKEW_KERNEL_OBJECTS $<TARGET_OBJECTS:${name}>)
  endforeach()
endfunction()

function(skew_add_library_targets)
  get_property(kernels GLOBAL PROPERTY SKEW_KERNEL_OBJECTS)
  set(objects $<TARGET_OBJECTS:skewcorrection_objects> ${kernels})
  add_library(skewcorrection ${objects})  # shared, unless BUILD_SHARED_LIBS is off
  add_library(skewcorrection::skewcorrection ALIAS skewcorrection)
  set_target_properties(skewcorrection PROPERTIES OUTPUT_NAME SkewCorrection_Lib LINKER_LANGUAGE C)
  target_link_libraries(skewcorrection PRIVATE m $<$<BOOL:${SKEW_ANDROID}>:log>)
  target_include_directories(skewcorrection INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  if(BUILD_SHARED_LIBS)
    skew_link_shared_library()
  else()
    target_compile_definitions(skewcorrection INTERFACE SKEW_STATIC=1)
  endif()

  # The same objects as an archive: for programs that want the library inside, and for the tests, fuzz targets and
  # benchmarks, which also reach into it.
  add_library(skewcorrection_static STATIC ${objects})
  set_target_properties(skewcorrection_static PROPERTIES EXPORT_NAME static LINKER_LANGUAGE C)
  if(BUILD_SHARED_LIBS AND NOT WIN32)
    set_target_properties(skewcorrection_static PROPERTIES OUTPUT_NAME SkewCorrection_Lib)
  endif()
  target_link_libraries(skewcorrection_static PUBLIC m)
  target_compile_definitions(skewcorrection_static PUBLIC SKEW_STATIC=1)
  target_include_directories(skewcorrection_static PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()

# Linked as C: the library needs the C library and libm, and no C++ runtime. -Bsymbolic keeps names as general as SIN
# or dilation in a host program from taking the place of the library's own.
function(skew_link_shared_library)
  if(WIN32)
    return()  # the headers say what a DLL exports
  endif()
  set(map ${PROJECT_SOURCE_DIR}/cmake/exports.map)
  set_target_properties(skewcorrection PROPERTIES LINK_DEPENDS ${map})
  if(NOT SKEW_ANDROID)  # there, file and library have one name, without a version
    set_target_properties(skewcorrection PROPERTIES
      VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  endif()
  target_link_options(skewcorrection PRIVATE
    -Wl,--version-script=${map} -Wl,-Bsymbolic -Wl,-z,now -Wl,-z,relro -Wl,--as-needed)
  if(NOT SKEW_SANITIZE)
    target_link_options(skewcorrection PRIVATE -Wl,--no-undefined)
  endif()
endfunction()
