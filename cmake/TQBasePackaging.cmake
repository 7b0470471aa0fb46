# Packages made by `cpack` from a Release build (the `package` preset): a .deb
# and a .tar.gz with everything the install holds, that is the shared library
# with its SONAME and development links, the headers, the CMake package, the
# pkg-config file and the tqbase program. Top level only, so that a parent
# project keeps its own packaging.
if(NOT PROJECT_IS_TOP_LEVEL OR NOT TQBASE_INSTALL)
  return()
endif()

set(CPACK_PACKAGE_NAME tqbase)
set(CPACK_PACKAGE_VENDOR TQBase)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "C++17 foundation library (byte arrays, Base64, MD5, GBK/UTF-8) and the tqbase command")
set(CPACK_PACKAGE_CONTACT "TQBase maintainers <tqbase@example.invalid>")
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
# Dependencies from the binaries (libc, libstdc++), a shlibs file for
# packages built against this one, and the ldconfig trigger.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

include(CPack)
