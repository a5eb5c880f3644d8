# Fails unless the Windows program is what Windows and its users are promised: a
# 64-bit program with a window only, hardened, that takes the operations of the
# definition file from RTICE_SDK_x64.dll and exports nothing.
file(STRINGS ${definition} operations REGEX "^[A-Za-z_0-9]+$")
list(REMOVE_ITEM operations EXPORTS)
list(LENGTH operations count)
if(NOT count EQUAL 44)
  message(FATAL_ERROR "${definition} names ${count} operations instead of 44")
endif()

execute_process(COMMAND ${objdump} -p ${program} OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${objdump} -h ${program} OUTPUT_VARIABLE sections COMMAND_ERROR_IS_FATAL ANY)
foreach(required IN ITEMS "file format pei-x86-64" "Windows GUI" "HIGH_ENTROPY_VA" "DYNAMIC_BASE" "NX_COMPAT")
  if(NOT headers MATCHES "${required}")
    message(FATAL_ERROR "${program} is not marked: ${required}")
  endif()
endforeach()
# Without relocations the program cannot be moved in memory, whatever its marks.
if(NOT sections MATCHES "[.]reloc" OR headers MATCHES "relocations stripped")
  message(FATAL_ERROR "${program} has no relocations")
endif()
if(NOT headers MATCHES "Entry 0 0+ 0+ Export Directory")
  message(FATAL_ERROR "${program} exports something")
endif()

string(REGEX MATCH "DLL Name: RTICE_SDK_x64.dll\n[^\n]*\n((\t[^\n]*\n)+)" found "${headers}")
string(REGEX MATCHALL "[A-Za-z_0-9]+\n" imports "${CMAKE_MATCH_1}")
list(TRANSFORM imports STRIP)
list(SORT imports)
list(SORT operations)
if(NOT imports STREQUAL operations)
  message(FATAL_ERROR "taken from RTICE_SDK_x64.dll: ${imports}")
endif()
