# Links the program with the device library by name only, against a stub made from
# device/operations.inc. This needs neither the closed library nor the simulated
# device, and no symbol outside that list can be used by mistake.
include(Operations)
set(operations_file ${CMAKE_SOURCE_DIR}/device/operations.inc)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${operations_file})
read_operations(operations ${operations_file})

if(WIN32)
  set(import_library ${CMAKE_BINARY_DIR}/device_library_link/libRTICE_SDK_x64.dll.a)
  set(definition_file ${CMAKE_BINARY_DIR}/device_library_link/RTICE_SDK_x64.def)
  list(JOIN operations "\n" names)
  file(CONFIGURE OUTPUT ${definition_file} CONTENT "LIBRARY RTICE_SDK_x64\nEXPORTS\n${names}\n" @ONLY)
  add_custom_command(
    OUTPUT ${import_library}
    COMMAND ${CMAKE_DLLTOOL} --input-def ${definition_file} --dllname RTICE_SDK_x64.dll
      --output-lib ${import_library}
    DEPENDS ${definition_file}
    VERBATIM)
  add_custom_target(device_library_import DEPENDS ${import_library})
  add_library(device_library_link SHARED IMPORTED GLOBAL)
  set_target_properties(device_library_link PROPERTIES IMPORTED_IMPLIB ${import_library})
  add_dependencies(device_library_link device_library_import)
  return()
endif()

set(source "/* The names of the device library's operations, to link with; never run. */\n")
foreach(operation IN LISTS operations)
  string(APPEND source "void ${operation}(void) {}\n")
endforeach()
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/device_library_link/operations.c CONTENT "${source}" @ONLY)

add_library(device_library_link SHARED ${CMAKE_BINARY_DIR}/device_library_link/operations.c)
set_target_properties(device_library_link PROPERTIES
  OUTPUT_NAME RTICE_SDK_x64
  LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/device_library_link)
