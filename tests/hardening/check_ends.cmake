# Fails unless a fault ends the program at once, for the given reason:
#   cmake -D command=... -D fault=... -D reason=... -P check_ends.cmake
execute_process(COMMAND ${command} ${fault} 40
  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(result EQUAL 0 OR output MATCHES "went on" OR NOT errors MATCHES "${reason}")
  message(FATAL_ERROR "overrun ${fault}: ended with ${result}, said: ${output}${errors}")
endif()
message(STATUS "ended with: ${result}")
