# Cross build for 64-bit ARM Linux with Debian's cross toolchain; the tests
# run under qemu-user with the target's C library as the root for loading.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# Libraries, headers and packages come from the target root only, so that no
# host library (OpenSSL, ICU, GoogleTest) is picked up by mistake; programs
# (nm, readelf) come from the host.
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)

# The cross C library comes without its character-set converters. Where the
# target's converter modules have been unpacked (.ci/run does it), the
# emulated programs find them there; the host's environment stays as it is.
if(TQBASE_TARGET_GCONV_PATH AND IS_DIRECTORY "${TQBASE_TARGET_GCONV_PATH}")
  list(APPEND CMAKE_CROSSCOMPILING_EMULATOR -E GCONV_PATH=${TQBASE_TARGET_GCONV_PATH})
endif()
