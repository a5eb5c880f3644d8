# The target pellavox_sqlite: Debian's SQLite, or for Windows the one built by
# packaging/windows/build-sqlite from Debian's source package.
add_library(pellavox_sqlite INTERFACE)
if(NOT CMAKE_CROSSCOMPILING)
  find_package(SQLite3 3.37 REQUIRED)
  target_link_libraries(pellavox_sqlite INTERFACE SQLite::SQLite3)
  return()
endif()

execute_process(COMMAND ${CMAKE_SOURCE_DIR}/packaging/windows/build-sqlite --where
  OUTPUT_VARIABLE sqlite OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
if(NOT EXISTS ${sqlite}/lib/libsqlite3.a)
  message(FATAL_ERROR "There is no SQLite for Windows in ${sqlite}: packaging/windows/build-sqlite makes it.")
endif()
set(PELLAVOX_SQLITE_COPYRIGHT ${sqlite}/copyright)
file(STRINGS ${sqlite}/version PELLAVOX_SQLITE_VERSION LIMIT_COUNT 1)
# Linked statically: a DLL would be one more file that can be replaced.
target_include_directories(pellavox_sqlite SYSTEM INTERFACE ${sqlite}/include)
target_link_libraries(pellavox_sqlite INTERFACE ${sqlite}/lib/libsqlite3.a)
