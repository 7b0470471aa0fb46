# tqbase.pc, for builds that use pkg-config, installed beside the CMake
# package. Its paths are relative to the file itself, like the CMake
# package's, so that a tree installed or unpacked elsewhere still works.
# Consumers compile as C++17 or later; the file does not force a -std.
set(TQBASE_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH TQBASE_PC_TO_PREFIX /prefix/${TQBASE_PC_DIR} /prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/tqbase.pc.in
  ${PROJECT_BINARY_DIR}/tqbase.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tqbase.pc DESTINATION ${TQBASE_PC_DIR})
