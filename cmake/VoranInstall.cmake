# What `cmake --install` puts down: the library, its public headers, and the two ways to find them
# (find_package(voran) and pkg-config).

include(CMakePackageConfigHelpers)

set(voran_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/voran")

install(TARGETS voran EXPORT voranTargets)
install(EXPORT voranTargets NAMESPACE voran:: DESTINATION "${voran_package_dir}")

install(CODE "set(VORAN_SOURCE_DIR \"${PROJECT_SOURCE_DIR}\")
set(VORAN_INCLUDE_DIR \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_INCLUDEDIR}\")")
install(SCRIPT cmake/InstallHeaders.cmake)
install(FILES "${PROJECT_BINARY_DIR}/include/voran/export.h" "${PROJECT_BINARY_DIR}/include/voran/version.h"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/voran")

# Whoever links the shared library needs Boost's headers alone; a static one brings its own needs along.
if(NOT BUILD_SHARED_LIBS)
  set(VORAN_CONFIG_BOOST_COMPONENTS "COMPONENTS locale thread")
  set(VORAN_CONFIG_STATIC_DEPENDENCIES "list(APPEND CMAKE_MODULE_PATH \"\${CMAKE_CURRENT_LIST_DIR}\")
find_dependency(OpenMP COMPONENTS CXX)\nfind_dependency(hwy)\nfind_dependency(xxhash)\nfind_dependency(libmd)")
  install(FILES cmake/Findxxhash.cmake cmake/Findlibmd.cmake DESTINATION "${voran_package_dir}")
  set(VORAN_PC_STATIC_CFLAGS " -DVORAN_STATIC_DEFINE")
  set(VORAN_PC_STATIC_LIBS " -lboost_locale -lboost_thread -lhwy -lxxhash -lmd ${OpenMP_CXX_FLAGS}")
endif()

configure_package_config_file(cmake/voranConfig.cmake.in "${PROJECT_BINARY_DIR}/voranConfig.cmake"
  INSTALL_DESTINATION "${voran_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/voranConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/voranConfig.cmake" "${PROJECT_BINARY_DIR}/voranConfigVersion.cmake"
  DESTINATION "${voran_package_dir}")

# The prefix is told from where voran.pc lies, so that an installed tree can be moved.
file(RELATIVE_PATH VORAN_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" VORAN_PC_PREFIX "${VORAN_PC_PREFIX}")
configure_file(cmake/voran.pc.in "${PROJECT_BINARY_DIR}/voran.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/voran.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
