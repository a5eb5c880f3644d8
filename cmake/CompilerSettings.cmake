# What every target of ours is compiled with.
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(PELLAVOX_SANITIZE "" CACHE STRING "Sanitizers to build with, for example address,undefined")

add_library(pellavox_compiler_settings INTERFACE)
target_compile_features(pellavox_compiler_settings INTERFACE cxx_std_20 c_std_11)
target_include_directories(pellavox_compiler_settings INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(pellavox_compiler_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
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
