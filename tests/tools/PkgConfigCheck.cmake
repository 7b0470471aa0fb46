# Installs the build into a scratch prefix, then compiles and runs a program
# with nothing but what `pkg-config --cflags --libs tqbase` says.
#   BUILD_DIR, PREFIX, LIBDIR: the build, where to install it, its libdir
#   CXX, SOURCE, VERSION: the compiler, the program, the expected version
#   PKG_CONFIG: the pkg-config program
file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${PREFIX}"
  OUTPUT_QUIET RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "installing ${BUILD_DIR} into ${PREFIX} failed")
endif()

set(ENV{PKG_CONFIG_PATH} "${PREFIX}/${LIBDIR}/pkgconfig")
execute_process(COMMAND "${PKG_CONFIG}" --modversion tqbase
  OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
if(rc OR NOT found STREQUAL VERSION)
  message(FATAL_ERROR "pkg-config found tqbase '${found}', expected ${VERSION}")
endif()
execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs tqbase
  OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
separate_arguments(flags UNIX_COMMAND "${flags}")

set(program "${PREFIX}/pkg-config-consumer")
execute_process(
  COMMAND "${CXX}" -std=c++17 "${SOURCE}" ${flags}
          "-Wl,-rpath,${PREFIX}/${LIBDIR}" -o "${program}"
  RESULT_VARIABLE rc)
if(rc)
  message(FATAL_ERROR "compiling with: ${flags} failed")
endif()
execute_process(COMMAND "${program}" OUTPUT_VARIABLE out RESULT_VARIABLE rc)
message(STATUS "${out}")
if(rc OR NOT out MATCHES "^TQBase ${VERSION}: ")
  message(FATAL_ERROR "the pkg-config consumer failed (${rc})")
endif()
