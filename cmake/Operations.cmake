# read_operations(RESULT FILE): the names of the 44 operations, from
# device/operations.inc. Also used by the scripts that check built binaries.
function(read_operations result file)
  file(STRINGS ${file} entries REGEX "^OPERATION[(][A-Za-z_0-9]+,")
  list(TRANSFORM entries REPLACE "^OPERATION[(]([A-Za-z_0-9]+),.*" "\\1" OUTPUT_VARIABLE operations)
  list(LENGTH operations count)
  if(NOT count EQUAL 44)
    message(FATAL_ERROR "${file} names ${count} operations instead of 44")
  endif()
  set(${result} ${operations} PARENT_SCOPE)
endfunction()
