# The library's objects once more, as an archive: for tests and benchmarks of what the shared library does not export.
add_library(voran_internal STATIC $<TARGET_OBJECTS:voran>)
set_target_properties(voran_internal PROPERTIES LINKER_LANGUAGE CXX)
target_include_directories(voran_internal INTERFACE $<TARGET_PROPERTY:voran,INTERFACE_INCLUDE_DIRECTORIES>)
target_link_libraries(voran_internal INTERFACE
  Boost::headers Boost::locale Boost::thread OpenMP::OpenMP_CXX hwy::hwy xxhash::xxhash libmd::libmd)
