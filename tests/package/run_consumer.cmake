# Builds and runs the consumer against the library, in the way that HOW names:
#   find_package, pkg_config: against the copy installed in PREFIX;
#   add_subdirectory: with SOURCE_DIR as a folder of its own; compiled only, a file of the library too, or it would all be
#   compiled again.
# Further arguments: CONSUMER (its sources), WORK (a folder to build in), GENERATOR, CXX, FLAGS, VERSION (what it has to print).

cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\nfailed (${status}):\n${output}")
  endif()
endfunction()

function(expect_output program)
  execute_process(COMMAND "${program}" RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
  set(expected "${VERSION}: 1 component, 2 loadings\n")
  if(NOT status EQUAL 0 OR NOT output STREQUAL expected)
    message(FATAL_ERROR "The consumer ended with ${status} and printed\n${output}${errors}instead of\n${expected}")
  endif()
endfunction()

# The bad line, and nothing else, stops the compiler.
function(expect_bad_code_refused)
  execute_process(COMMAND "${CMAKE_COMMAND}" --build "${WORK}" --target consumer_bad
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(status EQUAL 0 OR NOT output MATCHES "invalid conversion|cannot initialize")
    message(FATAL_ERROR "Code that must not compile did, or failed for another reason:\n${output}")
  endif()
endfunction()

if(HOW STREQUAL "pkg_config")
  file(GLOB_RECURSE pc "${PREFIX}/*/voran.pc")
  cmake_path(GET pc PARENT_PATH pc_dir)
  set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
  execute_process(COMMAND pkg-config --cflags --libs voran OUTPUT_VARIABLE flags COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND pkg-config --variable=libdir voran OUTPUT_VARIABLE libdir
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  separate_arguments(FLAGS UNIX_COMMAND "${FLAGS}")
  run("${CXX}" -std=c++20 ${FLAGS} "${CONSUMER}/main.cpp" -o "${WORK}/consumer" ${flags} "-Wl,-rpath,${libdir}")
elseif(HOW STREQUAL "find_package")
  run("${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${CONSUMER}" -B "${WORK}" "-DCMAKE_PREFIX_PATH=${PREFIX}"
    "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_CXX_FLAGS=${FLAGS}")
  run("${CMAKE_COMMAND}" --build "${WORK}")
  expect_bad_code_refused()
else()
  run("${CMAKE_COMMAND}" -G "${GENERATOR}" -S "${CONSUMER}" -B "${WORK}" "-DVORAN_AS_FOLDER=${SOURCE_DIR}"
    "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_CXX_FLAGS=${FLAGS}")
  run("${CMAKE_COMMAND}" --build "${WORK}" --target consumer_objects)
  if(GENERATOR STREQUAL "Ninja")  # with others a file has no target
    run("${CMAKE_COMMAND}" --build "${WORK}" --target voran/voran/CMakeFiles/voran.dir/version.cpp.o)
  endif()
  return()
endif()
expect_output("${WORK}/consumer")
