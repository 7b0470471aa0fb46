file(REMOVE_RECURSE "${BINARY_DIR}")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${BINARY_DIR}" -G "${GENERATOR}"
          "-DTQBASE_SOURCE_DIR=${TQBASE_SOURCE_DIR}" -DCMAKE_BUILD_TYPE=Release
  RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "configuring the consumer failed")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY_DIR}" RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "building the consumer failed")
endif()
execute_process(COMMAND "${BINARY_DIR}/consumer" RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "the consumer exited with ${rc}")
endif()
