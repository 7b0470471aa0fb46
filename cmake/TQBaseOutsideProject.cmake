# Adds a test that configures, builds and runs a small outside project the way
# a user would consume TQBase, with this build's generator, compiler and
# toolchain (the program runs under the emulator of a cross build).
#   tqbase_add_outside_project_test(<test name> <source dir> <program> [-D...])
function(tqbase_add_outside_project_test name source_dir program)
  set(binary_dir ${CMAKE_CURRENT_BINARY_DIR}/${name})
  set(options -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER})
  if(CMAKE_TOOLCHAIN_FILE)
    list(APPEND options -DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE})
  endif()
  add_test(NAME ${name}
    COMMAND ${CMAKE_CTEST_COMMAND} --build-and-test ${source_dir} ${binary_dir}
      --build-generator ${CMAKE_GENERATOR}
      --build-options ${options} ${ARGN}
      --test-command ${CMAKE_CROSSCOMPILING_EMULATOR} ${binary_dir}/${program})
endfunction()
