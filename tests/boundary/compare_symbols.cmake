# What the library exports is what the header declares, and nothing else.
# cmake -DLIBRARY=... -DHEADER=... -DNM=... -P compare_symbols.cmake
execute_process(COMMAND ${NM} -D --defined-only --format=just-symbols ${LIBRARY}
  OUTPUT_VARIABLE exported COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "\n$" "" exported "${exported}")
string(REPLACE "\n" ";" exported "${exported}")
list(SORT exported)

file(STRINGS ${HEADER} lines REGEX "^VELDANE_API [^(]*\\(")
set(declared)
foreach(line IN LISTS lines)
  string(REGEX MATCH "([A-Za-z0-9_]+)\\(" call "${line}")
  list(APPEND declared ${CMAKE_MATCH_1})
endforeach()
# A C++ function is told by its mangled name.
file(STRINGS ${HEADER} lines REGEX "symbol _Z")
foreach(line IN LISTS lines)
  string(REGEX MATCH "_Z[A-Za-z0-9_]+" symbol "${line}")
  list(APPEND declared ${symbol})
endforeach()
list(SORT declared)

if(NOT declared OR NOT exported STREQUAL declared)
  message(FATAL_ERROR "exported: ${exported}\ndeclared: ${declared}")
endif()
