# Fails unless a Linux program or shared library is hardened as
# cmake/CompilerSettings.cmake promises:
#   cmake -D file=... [-D control_flow=ON] [-D fortified=ON] -P check_elf.cmake
# `fortified`: calls functions that check the size of their destination. Not every
# file has such calls.
function(read_with output)
  execute_process(COMMAND ${ARGN} ${file} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  set(${output} "${text}" PARENT_SCOPE)
endfunction()
read_with(header readelf -hW)
read_with(segments readelf -lW)
read_with(dynamic readelf -dW)
read_with(symbols readelf --dyn-syms -W)

set(faults)
macro(require_match text pattern fault)
  if(NOT "${${text}}" MATCHES "${pattern}")
    list(APPEND faults "${fault}")
  endif()
endmacro()

require_match(header "Type: +DYN " "cannot be placed anywhere in memory")
if(NOT file MATCHES "[.]so$")
  require_match(dynamic "FLAGS_1[^\n]* PIE" "is not marked as position-independent executable")
endif()
require_match(dynamic "\\(FLAGS\\)[^\n]*BIND_NOW" "looks its symbols up late")
require_match(segments "\n +GNU_RELRO " "has no read-only relocations")
require_match(segments "\n +GNU_STACK [^\n]* RW " "has an executable stack")
if("${segments}" MATCHES "\n +LOAD [^\n]* RWE ")
  list(APPEND faults "has memory that is writable and executable")
endif()
if("${dynamic}" MATCHES "TEXTREL")
  list(APPEND faults "has relocations in its code")
endif()
require_match(symbols " UND __stack_chk_fail@" "has no stack protector")
if(fortified)
  require_match(symbols " UND __[a-z]+_chk@" "does not check what it copies")
endif()
if(control_flow)
  # A file is marked (IBT, SHSTK) only if the C runtime is marked as well; Debian 12's
  # is not. Check the code instead: every function whose address is taken begins with
  # the instruction.
  read_with(code objdump -d -j .text --no-show-raw-insn)
  string(REGEX MATCHALL "\n +[0-9a-f]+:\tendbr64" landings "${code}")
  list(LENGTH landings count)
  if(count LESS 100)
    list(APPEND faults "has only ${count} landing places for indirect calls")
  endif()
endif()

if(faults)
  list(JOIN faults "; " faults)
  message(FATAL_ERROR "${file}: ${faults}")
endif()
