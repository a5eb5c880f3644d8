# Header-only libraries: header_library(TARGET PACKAGE FOLDER [VERSION])
function(header_library target package folder)
  if(NOT CMAKE_CROSSCOMPILING)
    find_package(${package} ${ARGN} REQUIRED)
    # Makes the target visible in all folders.
    set_target_properties(${target} PROPERTIES IMPORTED_GLOBAL ON)
    return()
  endif()

  # The headers in /usr/include serve all target systems, but the other headers there do
  # not, so link to this folder only.
  find_path(${package}_parent ${folder} REQUIRED NO_CMAKE_FIND_ROOT_PATH PATHS /usr/include)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/host_headers)
  file(CREATE_LINK ${${package}_parent}/${folder} ${CMAKE_BINARY_DIR}/host_headers/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/host_headers)
endfunction()

header_library(nlohmann_json::nlohmann_json nlohmann_json nlohmann 3.10)
header_library(tl::expected tl-expected tl)
header_library(CLI11::CLI11 CLI11 CLI 2.1)
