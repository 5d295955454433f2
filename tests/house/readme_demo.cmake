# The README shows what scripts/demo prints. Arguments: PROGRAM, SOURCE_DIR, WORK (a folder to write results to).
cmake_minimum_required(VERSION 3.25)

file(READ "${SOURCE_DIR}/README.md" readme)
string(REGEX MATCH "\\$ voran ([^\n]*)" line "${readme}")
separate_arguments(arguments UNIX_COMMAND "${CMAKE_MATCH_1}")
list(TRANSFORM arguments REPLACE "^build/demo$" "${WORK}")
execute_process(COMMAND "${PROGRAM}" ${arguments} --quiet WORKING_DIRECTORY "${SOURCE_DIR}"
  OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)

string(FIND "${readme}" "${output}" where)
if(output STREQUAL "" OR where EQUAL -1)
  message(FATAL_ERROR "README.md does not hold what `voran ${arguments}` prints:\n${output}")
endif()
