# Configures, builds and runs a small outside project the way a user would
# consume TQBase (find_package on an install, or add_subdirectory).
#   SOURCE_DIR, BINARY_DIR, GENERATOR, PROGRAM: the project and what to run
#   CACHE_ARGS: extra -D arguments, separated by "|"
file(REMOVE_RECURSE "${BINARY_DIR}")
string(REPLACE "|" ";" cache_args "${CACHE_ARGS}")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${BINARY_DIR}" -G "${GENERATOR}"
          -DCMAKE_BUILD_TYPE=Release ${cache_args}
  RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "configuring ${SOURCE_DIR} failed")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY_DIR}" RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "building ${SOURCE_DIR} failed")
endif()
execute_process(COMMAND "${BINARY_DIR}/${PROGRAM}" RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "${PROGRAM} exited with ${rc}")
endif()
