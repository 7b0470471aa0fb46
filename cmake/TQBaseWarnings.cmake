# Warning and sanitizer flags shared by the library, its tests and benchmarks.
function(tqbase_set_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wformat=2 -Wcast-qual -Wundef)
  if(TQBASE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

function(tqbase_set_sanitizers target)
  if(TQBASE_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${TQBASE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${TQBASE_SANITIZE})
  endif()
endfunction()
