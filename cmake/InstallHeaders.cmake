# Run by `cmake --install`. The public headers are the ones that voran.h reaches; the others are the library's own affair.
cmake_minimum_required(VERSION 3.25)

set(open voran/voran.h)
set(reached "")
while(open)
  list(POP_FRONT open header)
  # The headers made for each build are installed from there.
  if(header IN_LIST reached OR NOT EXISTS "${VORAN_SOURCE_DIR}/${header}")
    continue()
  endif()
  list(APPEND reached "${header}")
  cmake_path(GET header PARENT_PATH folder)
  file(INSTALL "${VORAN_SOURCE_DIR}/${header}" DESTINATION "${VORAN_INCLUDE_DIR}/${folder}")
  file(STRINGS "${VORAN_SOURCE_DIR}/${header}" includes REGEX "^#include \"voran/")
  list(TRANSFORM includes REPLACE "^#include \"([^\"]+)\".*" "\\1")
  list(APPEND open ${includes})
endwhile()
