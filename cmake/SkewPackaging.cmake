# Install rules, the CMake and pkg-config packages, and Debian packages by component:
#   lib    libskewcorrection1       the library
#   dev    libskewcorrection-dev    headers, linker name, CMake and pkg-config files
#   cli    skewcorrection-tools     the command-line tool, with its man page and completion
#   java   libskewcorrection-java   the jar, and the library where the JVM looks for it
#   python python3-skewcorrection   the Python package, which loads the installed library
include(CMakePackageConfigHelpers)

set(cmake_home ${CMAKE_INSTALL_LIBDIR}/cmake/skewcorrection)
set(targets skewcorrection)
if(BUILD_SHARED_LIBS AND NOT SKEW_ANDROID)
  list(APPEND targets skewcorrection_static)
endif()
install(TARGETS ${targets} EXPORT skewcorrectionTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT lib NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT lib)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/skewcorrection DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(EXPORT skewcorrectionTargets NAMESPACE skewcorrection:: DESTINATION ${cmake_home} COMPONENT dev)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/skewcorrectionConfig.cmake.in
  ${PROJECT_BINARY_DIR}/skewcorrectionConfig.cmake INSTALL_DESTINATION ${cmake_home})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/skewcorrectionConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/skewcorrectionConfig.cmake ${PROJECT_BINARY_DIR}/skewcorrectionConfigVersion.cmake
  DESTINATION ${cmake_home} COMPONENT dev)

# The prefix is found from where the file lies, so an installed tree may be moved.
set(pkgconfig_home ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH SKEW_PREFIX_FROM_PKGCONFIG /${pkgconfig_home} /)
string(REGEX REPLACE "/$" "" SKEW_PREFIX_FROM_PKGCONFIG ${SKEW_PREFIX_FROM_PKGCONFIG})
configure_file(${CMAKE_CURRENT_LIST_DIR}/skewcorrection.pc.in ${PROJECT_BINARY_DIR}/skewcorrection.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/skewcorrection.pc DESTINATION ${pkgconfig_home} COMPONENT dev)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME skewcorrection)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The skewcorrection developers <skewcorrection@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each has its own: a line, then more of it
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})  # the tool finds the library there
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")  # a later library of the same major version serves too
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_COMPONENTS_ALL lib dev)

set(this_library "libskewcorrection${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})")

# What else Debian wants: the changelog in every package, and the loader's cache renewed for the library.
function(skew_debian_changelog component package)
  install(FILES ${PROJECT_BINARY_DIR}/debian/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endfunction()
file(WRITE ${PROJECT_BINARY_DIR}/debian/changelog "skewcorrection (${PROJECT_VERSION}) unstable; urgency=medium

  * First release.

 -- ${CPACK_PACKAGE_CONTACT}  Mon, 23 Nov 2026 12:00:00 +0000
")
file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
execute_process(COMMAND gzip -9nf changelog WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/debian COMMAND_ERROR_IS_FATAL ANY)
skew_debian_changelog(lib libskewcorrection${PROJECT_VERSION_MAJOR})
skew_debian_changelog(dev libskewcorrection-dev)
set(CPACK_DEBIAN_LIB_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers)
set(CPACK_DEBIAN_LIB_PACKAGE_NAME libskewcorrection${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIB_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIB_DESCRIPTION "library that measures the skew of page images
Measures how far the text lines of a scanned or photographed page are
tilted, says whether the answer can be trusted, and turns the page level.")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libskewcorrection-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libskewcorrection${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DEV_DESCRIPTION "headers and build files of the skew correction library
What is needed to build programs with the library that measures the skew of
page images and turns them level: headers, the static library, files for
CMake and pkg-config.")
if(SKEW_BUILD_CLI)
  list(APPEND CPACK_COMPONENTS_ALL cli)
  skew_debian_changelog(cli skewcorrection-tools)
  set(CPACK_DEBIAN_CLI_PACKAGE_NAME skewcorrection-tools)
  set(CPACK_DEBIAN_CLI_PACKAGE_SECTION graphics)
  set(CPACK_DEBIAN_CLI_PACKAGE_DEPENDS ${this_library})
  set(CPACK_COMPONENT_CLI_DESCRIPTION "tool that levels scanned and photographed pages
skewcorrect measures how far the text lines of page images and PDF files are
tilted and writes them level, with what describes them kept.")
endif()
if(SKEW_BUILD_JAVA)
  list(APPEND CPACK_COMPONENTS_ALL java)
  skew_debian_changelog(java libskewcorrection-java)
  set(CPACK_DEBIAN_JAVA_PACKAGE_NAME libskewcorrection-java)
  set(CPACK_DEBIAN_JAVA_PACKAGE_SECTION java)
  set(CPACK_DEBIAN_JAVA_PACKAGE_DEPENDS ${this_library})
  set(CPACK_DEBIAN_JAVA_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_COMPONENT_JAVA_DESCRIPTION "Java classes of the skew correction library
Measures the skew of page images and turns them level, from Java: classes,
and the native library where the Java machine looks for it.")
endif()
if(SKEW_BUILD_PYTHON)
  list(APPEND CPACK_COMPONENTS_ALL python)
  skew_debian_changelog(python python3-skewcorrection)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-skewcorrection)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${this_library}, python3:any, python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION "Python package of the skew correction library
Measures the skew of page images and turns them level, on NumPy arrays and
what shares their interface.")
endif()
include(CPack)
