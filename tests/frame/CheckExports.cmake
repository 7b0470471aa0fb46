# Compares the TQBase:: symbols that the shared library exports with the
# expected list, so that a hidden internal leaking out, or a public function
# losing its export, fails the suite. Run with -DUPDATE=ON to rewrite it.
#   LIBRARY: the shared library; NM: an nm that reads it; EXPECTED: the list
execute_process(COMMAND "${NM}" -DC --defined-only "${LIBRARY}"
                OUTPUT_VARIABLE listing RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
string(REPLACE "\n" ";" lines "${listing}")
set(symbols)
foreach(line IN LISTS lines)
  if(line MATCHES "TQBase::" AND line MATCHES "^[0-9a-f]+ [A-Za-z] (.*)$")
    list(APPEND symbols "${CMAKE_MATCH_1}")
  endif()
endforeach()
# va_list is spelled by each CPU's ABI (x86-64: __va_list_tag*, AArch64:
# std::__va_list); the list keeps one spelling for all.
list(TRANSFORM symbols REPLACE "__va_list_tag\\*|std::__va_list" "va_list")
list(REMOVE_DUPLICATES symbols)
list(SORT symbols)
list(JOIN symbols "\n" actual)
set(actual "${actual}\n")
if(UPDATE)
  file(WRITE "${EXPECTED}" "${actual}")
  return()
endif()
file(READ "${EXPECTED}" expected)
if(NOT actual STREQUAL expected)
  file(WRITE "${CMAKE_CURRENT_BINARY_DIR}/exports.actual" "${actual}")
  execute_process(COMMAND diff -u "${EXPECTED}" "${CMAKE_CURRENT_BINARY_DIR}/exports.actual")
  message(FATAL_ERROR "exported symbols differ from ${EXPECTED}")
endif()
