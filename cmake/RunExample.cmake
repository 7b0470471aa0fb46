# Configures, builds and runs examples/ against an installed TQBase, the way an
# outside project would consume the package.
file(REMOVE_RECURSE "${BINARY_DIR}")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${BINARY_DIR}"
          -G "${GENERATOR}" "-DCMAKE_PREFIX_PATH=${PREFIX}" -DCMAKE_BUILD_TYPE=Release
  RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "configuring the example failed")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY_DIR}" RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "building the example failed")
endif()
execute_process(COMMAND "${BINARY_DIR}/tqbase_example" RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "the example exited with ${rc}")
endif()
