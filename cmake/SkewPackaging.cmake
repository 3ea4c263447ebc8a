# Install rules, the CMake and pkg-config packages, and Debian packages by component:
#   lib    libskewcorrection1       the library
#   dev    libskewcorrection-dev    headers, linker name, CMake and pkg-config files
#   cli    skewcorrection-tools     the command-line tool, with its man page and completion
#   java   libskewcorrection-java   the jar, and the library where the JVM looks for it
#   python python3-skewcorrection   the Python package, which loads the installed library
include(CMakePackageConfigHelpers)

set(cmake_home ${CMAKE_INSTALL_LIBDIR}/cmake/skewcorrection)
install(TARGETS skewcorrection EXPORT skewcorrectionTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT lib NAMELINK_COMPONENT dev)
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
set(CPACK_PACKAGE_CONTACT "The skewcorrection developers <skewcorrection@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})  # the tool finds the library there
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)
set(CPACK_COMPONENTS_ALL lib dev)

set(this_library "libskewcorrection${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_LIB_PACKAGE_NAME libskewcorrection${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIB_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIB_DESCRIPTION "Measures the skew of a page image and turns it level")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libskewcorrection-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS ${this_library})
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DEV_DESCRIPTION "Headers and build files of the skew correction library")
if(SKEW_BUILD_CLI)
  list(APPEND CPACK_COMPONENTS_ALL cli)
  set(CPACK_DEBIAN_CLI_PACKAGE_NAME skewcorrection-tools)
  set(CPACK_DEBIAN_CLI_PACKAGE_SECTION graphics)
  set(CPACK_DEBIAN_CLI_PACKAGE_DEPENDS ${this_library})
  set(CPACK_COMPONENT_CLI_DESCRIPTION "Command-line tool that measures and levels scanned and photographed pages")
endif()
if(SKEW_BUILD_JAVA)
  list(APPEND CPACK_COMPONENTS_ALL java)
  set(CPACK_DEBIAN_JAVA_PACKAGE_NAME libskewcorrection-java)
  set(CPACK_DEBIAN_JAVA_PACKAGE_SECTION java)
  set(CPACK_DEBIAN_JAVA_PACKAGE_DEPENDS ${this_library})
  set(CPACK_DEBIAN_JAVA_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_COMPONENT_JAVA_DESCRIPTION "Java classes of the skew correction library")
endif()
if(SKEW_BUILD_PYTHON)
  list(APPEND CPACK_COMPONENTS_ALL python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-skewcorrection)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${this_library}, python3:any, python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION "Python package of the skew correction library")
endif()
include(CPack)
