# Target aar: the Android archive, and beside it the symbols for the crash reports of an app, made of the classes and the four Android-shaped libraries. Each is a build of its
# own inside this one.
set(shape_libraries)
set(shape_targets)
foreach(processor armv7 arm64 x86 x86_64)
  set(build ${PROJECT_BINARY_DIR}/android-${processor})
  add_custom_target(android_shape_${processor}
    COMMAND ${CMAKE_COMMAND} -S ${PROJECT_SOURCE_DIR} -B ${build} -G ${CMAKE_GENERATOR} -DCMAKE_BUILD_TYPE=Release
      "-DCMAKE_CXX_FLAGS_RELEASE=-O3 -DNDEBUG -g -ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
      --toolchain ${PROJECT_SOURCE_DIR}/cmake/toolchains/android-shape-${processor}.cmake
    COMMAND ${CMAKE_COMMAND} --build ${build} --target skewcorrection
    USES_TERMINAL VERBATIM)
  list(APPEND shape_targets android_shape_${processor})
  list(APPEND shape_libraries ${build}/libSkewCorrection_Lib.so)
endforeach()
set(archive ${PROJECT_BINARY_DIR}/skewcorrection-${PROJECT_VERSION}.aar)
add_custom_target(aar
  COMMAND ${PROJECT_SOURCE_DIR}/bindings/android/make_aar ${PROJECT_BINARY_DIR}/java/classes.jar ${PROJECT_VERSION}
    ${shape_libraries} ${archive}
  COMMAND ${PROJECT_SOURCE_DIR}/bindings/android/check_aar ${archive}
  DEPENDS skewcorrection_java ${shape_targets} VERBATIM)
