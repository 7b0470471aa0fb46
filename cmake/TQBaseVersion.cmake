# TQBase/Version.h: the project version as macros. Generated into the build
# tree beside TQBaseExport.h, whose include directory the library already
# publishes, and installed with the other headers.
set(TQBASE_VERSION_HEADER ${PROJECT_BINARY_DIR}/include/TQBase/Version.h)
configure_file(${CMAKE_CURRENT_LIST_DIR}/TQBaseVersion.h.in
  ${TQBASE_VERSION_HEADER} @ONLY)
if(TQBASE_INSTALL)
  install(FILES ${TQBASE_VERSION_HEADER}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/TQBase)
endif()
