# The `docs` target: the API reference, made by Doxygen from the public
# headers into <build>/docs/html (families under group__<name>.html). Top
# level only, so that a parent project keeps the target name. Without
# Doxygen the target only says what is missing. Doxygen's warnings fail it.
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()

find_package(Doxygen QUIET)
if(DOXYGEN_FOUND)
  set(TQBASE_DOCS_DIR ${PROJECT_BINARY_DIR}/docs)
  configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in
    ${TQBASE_DOCS_DIR}/Doxyfile @ONLY)
  add_custom_target(docs
    COMMAND Doxygen::doxygen ${TQBASE_DOCS_DIR}/Doxyfile
    WORKING_DIRECTORY ${TQBASE_DOCS_DIR}
    COMMENT "Generating the API reference in ${TQBASE_DOCS_DIR}/html"
    VERBATIM)
else()
  message(STATUS "TQBase: Doxygen not found, the docs target will only say so")
  add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E echo
      "Doxygen not found: install doxygen to generate the API reference"
    VERBATIM)
endif()
