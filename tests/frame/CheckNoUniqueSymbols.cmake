# Fails when the shared library exports a symbol with STB_GNU_UNIQUE binding:
# the loader never unmaps such a library, so dlclose would leave it in place
# and a later dlopen would not run its load-time steps again.
#   LIBRARY: the shared library; READELF: a readelf that reads it
execute_process(COMMAND "${READELF}" --dyn-syms --wide --demangle "${LIBRARY}"
                OUTPUT_VARIABLE listing RESULT_VARIABLE rc)
if(rc OR NOT listing MATCHES "Symbol table")
  message(FATAL_ERROR "readelf failed on ${LIBRARY}")
endif()
string(REPLACE "\n" ";" lines "${listing}")
set(unique)
foreach(line IN LISTS lines)
  if(line MATCHES " UNIQUE ")
    string(APPEND unique "\n  ${line}")
  endif()
endforeach()
if(unique)
  message(FATAL_ERROR "${LIBRARY} exports STB_GNU_UNIQUE symbols:${unique}")
endif()
