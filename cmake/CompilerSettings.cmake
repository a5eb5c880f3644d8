# Compiler settings of all our targets.
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Build folders configured before this option existed keep warnings as errors.
if(DEFINED CACHE{PELLAVOX_SANITIZE} AND NOT DEFINED CACHE{PELLAVOX_WARNINGS_AS_ERRORS})
  set(PELLAVOX_WARNINGS_AS_ERRORS ON CACHE BOOL "Warnings end the build; on in the presets that test")
endif()
set(PELLAVOX_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined")

# Off for users who only build the program: a newer compiler may warn of more.
option(PELLAVOX_WARNINGS_AS_ERRORS "Warnings end the build; on in the presets that test" OFF)

add_library(pellavox_compiler_settings INTERFACE)
target_compile_features(pellavox_compiler_settings INTERFACE cxx_std_20 c_std_11)
target_include_directories(pellavox_compiler_settings INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(pellavox_compiler_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${PELLAVOX_WARNINGS_AS_ERRORS}>:-Werror>)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # GCC 12 sees overlapping copies in std::string's own code when it optimises
  # (GCC bug 105329).
  target_compile_options(pellavox_compiler_settings INTERFACE -Wno-restrict)
endif()
target_compile_definitions(pellavox_compiler_settings INTERFACE QT_NO_FOREACH)

if(PELLAVOX_SANITIZE)
  target_compile_options(pellavox_compiler_settings INTERFACE
    -fsanitize=${PELLAVOX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(pellavox_compiler_settings INTERFACE -fsanitize=${PELLAVOX_SANITIZE})
endif()

# A bug in handling data from a device or a file should end the program, not let it run
# foreign code. Position-independent programs:
include(CheckPIESupported)
check_pie_supported()
set(PELLAVOX_CONTROL_FLOW_PROTECTION OFF)
set(PELLAVOX_FORTIFIED OFF)
if(CMAKE_SYSTEM_NAME STREQUAL Linux)
  # Resolves library functions at the start, which also refuses a library that lacks
  # one, and makes their addresses read-only. No executable stack.
  target_link_options(pellavox_compiler_settings INTERFACE
    LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()
# The sanitizers detect more than these options do.
if(NOT PELLAVOX_SANITIZE)
  # Detects overwritten return addresses.
  target_compile_options(pellavox_compiler_settings INTERFACE -fstack-protector-strong)

  # Checks copies against the size of their destination, as far as the optimiser knows
  # it; level 3 includes sizes computed at run time.
  string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
  if("${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${build_type}}" MATCHES "-O[123s]")
    set(level 2)
    if(NOT WIN32 AND (CMAKE_CXX_COMPILER_ID STREQUAL Clang OR
       (CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12)))
      set(level 3)
    endif()
    set(PELLAVOX_FORTIFIED ON)
    target_compile_options(pellavox_compiler_settings INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${level})
  endif()

  if(WIN32)
    # The run-time part of both, linked statically: a DLL would be one more file that
    # can be replaced.
    target_link_libraries(pellavox_compiler_settings INTERFACE -l:libssp.a)
  else()
    include(CheckCXXCompilerFlag)
    # Restricts indirect calls and jumps to function starts, where processor and system
    # support it.
    check_cxx_compiler_flag(-fcf-protection=full PELLAVOX_HAS_CF_PROTECTION)
    if(PELLAVOX_HAS_CF_PROTECTION)
      set(PELLAVOX_CONTROL_FLOW_PROTECTION ON)
      target_compile_options(pellavox_compiler_settings INTERFACE -fcf-protection=full)
    endif()
    # Keeps large stack frames from skipping the guard page. (MinGW touches each page
    # anyway.)
    check_cxx_compiler_flag(-fstack-clash-protection PELLAVOX_HAS_STACK_CLASH_PROTECTION)
    if(PELLAVOX_HAS_STACK_CLASH_PROTECTION)
      target_compile_options(pellavox_compiler_settings INTERFACE -fstack-clash-protection)
    endif()
  endif()
endif()
