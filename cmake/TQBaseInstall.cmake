include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The header file set carries the public headers and the generated
# TQBaseExport.h. The exported target names the include directory as well,
# for consumers whose CMake predates file sets (3.23).
install(TARGETS TQBase EXPORT TQBaseTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(TQBASE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/TQBase)
install(EXPORT TQBaseTargets NAMESPACE TQBase:: DESTINATION ${TQBASE_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TQBaseConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TQBaseConfig.cmake INSTALL_DESTINATION ${TQBASE_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TQBaseConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TQBaseConfig.cmake
  ${PROJECT_BINARY_DIR}/TQBaseConfigVersion.cmake DESTINATION ${TQBASE_CMAKE_DIR})
include(${CMAKE_CURRENT_LIST_DIR}/TQBasePkgConfig.cmake)
