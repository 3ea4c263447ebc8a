# Target maven: what a Maven repository takes, in the folder maven/ and laid out as a repository: the jar with a library
# for each processor, the sources, the Javadoc, and the descriptor. Each library is a build of its own inside this one.
set(natives ${PROJECT_BINARY_DIR}/natives)
set(native_targets)
foreach(processor x86_64 aarch64 armhf riscv64)
  set(build ${natives}/${processor})
  set(toolchain)
  if(NOT processor STREQUAL CMAKE_SYSTEM_PROCESSOR)
    set(toolchain --toolchain ${PROJECT_SOURCE_DIR}/cmake/toolchains/${processor}.cmake)
  endif()
  add_custom_target(native_${processor}
    COMMAND ${CMAKE_COMMAND} -S ${PROJECT_SOURCE_DIR} -B ${build} -G ${CMAKE_GENERATOR} -DCMAKE_BUILD_TYPE=Release
      ${toolchain}
    COMMAND ${CMAKE_COMMAND} --build ${build} --target skewcorrection
    USES_TERMINAL)
  list(APPEND native_targets native_${processor})
endforeach()

configure_file(pom.xml.in ${PROJECT_BINARY_DIR}/pom.xml @ONLY)
add_custom_target(maven
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/make_maven ${PROJECT_VERSION} ${CMAKE_CURRENT_BINARY_DIR} ${natives}
    ${PROJECT_BINARY_DIR}/maven
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/check_maven ${PROJECT_VERSION} ${PROJECT_BINARY_DIR}/maven
    ${PROJECT_BINARY_DIR}/maven-test
  DEPENDS skewcorrection_java javadoc ${native_targets} VERBATIM)
