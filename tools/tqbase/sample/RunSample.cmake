# Runs the installed tqbase on the sample as a person would in a shell, each
# command shown before its output: greeting.gbk.txt is GBK text, and
# greeting.md5 holds the digests of it and of its UTF-8 form, made with
# other tools. Fails when tqbase's conversion or digests differ from them.
#   TQBASE      the installed program
#   SAMPLE_DIR  this folder
#   WORK_DIR    a scratch folder to run in
file(REMOVE_RECURSE "${WORK_DIR}")
file(COPY "${SAMPLE_DIR}/greeting.gbk.txt" "${SAMPLE_DIR}/greeting.md5"
  DESTINATION "${WORK_DIR}")
execute_process(COMMAND "${CMAKE_COMMAND}" -E echo "In ${WORK_DIR}, with ${TQBASE}:")

# tqbase_step(<expected exit status> [> <file>] <arguments>...)
function(tqbase_step expected)
  set(args ${ARGN})
  set(redirect)
  list(GET args 0 first)
  if(first STREQUAL ">")
    list(GET args 1 output)
    list(REMOVE_AT args 0 1)
    set(redirect OUTPUT_FILE "${WORK_DIR}/${output}")
  endif()
  string(JOIN " " shown "$ tqbase" ${args})
  if(redirect)
    string(APPEND shown " > ${output}")
  endif()
  execute_process(COMMAND "${CMAKE_COMMAND}" -E echo "${shown}")
  execute_process(COMMAND "${TQBASE}" ${args} ${redirect}
    WORKING_DIRECTORY "${WORK_DIR}" RESULT_VARIABLE status)
  if(NOT status STREQUAL expected)
    message(FATAL_ERROR "'${shown}' ended with ${status}, not ${expected}")
  endif()
endfunction()

tqbase_step(0 gbk2utf8 greeting.gbk.txt)
tqbase_step(0 > greeting.utf8.txt gbk2utf8 greeting.gbk.txt)
tqbase_step(1 isutf8 greeting.gbk.txt greeting.utf8.txt)
tqbase_step(0 md5 greeting.gbk.txt greeting.utf8.txt)
tqbase_step(0 md5 --check greeting.md5)
