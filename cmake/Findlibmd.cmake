# libmd::libmd, the digest that names cached trees. Installed with the package: who links the library statically needs it.

find_path(libmd_INCLUDE_DIR md5.h)
find_library(libmd_LIBRARY md)
mark_as_advanced(libmd_INCLUDE_DIR libmd_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(libmd REQUIRED_VARS libmd_LIBRARY libmd_INCLUDE_DIR)

if(libmd_FOUND AND NOT TARGET libmd::libmd)
  add_library(libmd::libmd UNKNOWN IMPORTED)
  set_target_properties(libmd::libmd PROPERTIES
    IMPORTED_LOCATION "${libmd_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${libmd_INCLUDE_DIR}")
endif()
