# What every target of this project is compiled with.
#
#   voran_configure_target(target)
#       language level, warnings, and the floating-point rules that make results the same everywhere.

function(voran_configure_target target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /fp:precise)
    if(VORAN_WARNINGS_AS_ERRORS)
      target_compile_options(${target} PRIVATE /WX)
    endif()
  else()
    # A product fused into a sum would round once instead of twice, on some machines only.
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow -ffp-contract=off)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
      # GCC 12 sees overlapping copies in "text" + std::string (its bug 105651).
      target_compile_options(${target} PRIVATE -Wno-restrict)
    endif()
    if(VORAN_WARNINGS_AS_ERRORS)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(NOT APPLE)
      # No start is slowed down by a library of which only headers are used.
      target_link_options(${target} PRIVATE LINKER:--as-needed)
    endif()
  endif()
  if(VORAN_TIDY)
    find_program(VORAN_CLANG_TIDY clang-tidy REQUIRED)
    set_target_properties(${target} PROPERTIES CXX_CLANG_TIDY "${VORAN_CLANG_TIDY};--quiet")
  endif()
  if(VORAN_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${VORAN_SANITIZE} -fno-omit-frame-pointer
      -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${VORAN_SANITIZE})
    if(VORAN_SANITIZE MATCHES "fuzzer")
      # What only stands in a fuzzer's way, such as checksums, is left out.
      target_compile_definitions(${target} PRIVATE FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION)
    endif()
    if(VORAN_SANITIZE MATCHES "thread" AND OpenMP_omp_LIBRARY)
      # The runtime looks there for libarcher, without which every parallel region is a race to the sanitizer.
      cmake_path(GET OpenMP_omp_LIBRARY PARENT_PATH omp_folder)
      set_property(TARGET ${target} APPEND PROPERTY BUILD_RPATH "${omp_folder}")
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # What the sanitizer adds makes g++ see uninitialised variables where there are none.
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
  endif()
endfunction()
