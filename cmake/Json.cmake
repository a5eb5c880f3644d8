# nlohmann_json::nlohmann_json, which is headers only.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(nlohmann_json 3.10 REQUIRED)
  return()
endif()

# This machine's copy serves every target system, but must not bring the rest of
# /usr/include with it: a link to its folder alone.
find_path(NLOHMANN_JSON_FOLDER nlohmann/json.hpp REQUIRED NO_CMAKE_FIND_ROOT_PATH PATHS /usr/include)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/host_headers)
file(CREATE_LINK ${NLOHMANN_JSON_FOLDER}/nlohmann ${CMAKE_BINARY_DIR}/host_headers/nlohmann SYMBOLIC)
add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED)
target_include_directories(nlohmann_json::nlohmann_json SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/host_headers)
