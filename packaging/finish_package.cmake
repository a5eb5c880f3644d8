# Run by CPack and by packaging/linux/build-deb once a package's files are in place: adds
# the bill of materials and gives every file the commit's time, so that the same commit
# gives the same package.
set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
if(CPACK_PACKAGING_INSTALL_PREFIX AND NOT CPACK_PACKAGING_INSTALL_PREFIX STREQUAL "/")
  string(APPEND root ${CPACK_PACKAGING_INSTALL_PREFIX})
endif()

# component(...): adds an entry with the component's files and their hashes.
set(components)
function(component name version licence purl)
  set(files)
  foreach(pattern IN LISTS ARGN)
    file(GLOB matches RELATIVE ${root} ${root}/${pattern})
    list(APPEND files ${matches})
  endforeach()
  if(NOT files)
    return()
  endif()
  list(SORT files)
  set(entries)
  foreach(file IN LISTS files)
    file(SHA256 ${root}/${file} hash)
    list(APPEND entries
      "        {\"type\": \"file\", \"name\": \"${file}\", \"hashes\": [{\"alg\": \"SHA-256\", \"content\": \"${hash}\"}]}")
  endforeach()
  list(JOIN entries ",\n" entries)
  set(entry "    {\n      \"type\": \"library\",\n      \"bom-ref\": \"${name}\",\n      \"name\": \"${name}\",\n")
  string(APPEND entry "      \"version\": \"${version}\",\n      \"licenses\": [{\"expression\": \"${licence}\"}],\n")
  if(purl)
    string(APPEND entry "      \"purl\": \"${purl}\",\n")
  endif()
  string(APPEND entry "      \"components\": [\n${entries}\n      ]\n    }")
  set(components ${components} "${entry}" PARENT_SCOPE)
endfunction()

# Libraries with the device library's name in folders of their own.
set(recording_libraries recorder/RTICE_SDK_x64.dll replay/RTICE_SDK_x64.dll
  lib/pellavox*/recorder/libRTICE_SDK_x64.so lib/pellavox*/replay/libRTICE_SDK_x64.so)
set(command_line pellavox-cli.exe lib/pellavox*/pellavox-cli)
set(simulated_device RTICE_SDK_x64.dll lib/pellavox*/libRTICE_SDK_x64.so)

component(Pellavox ${CPACK_PACKAGE_VERSION} MIT "" Pellavox.exe lib/pellavox*/Pellavox)
component(pellavox-cli ${CPACK_PACKAGE_VERSION} MIT "" ${command_line})
component(recorder-and-replay ${CPACK_PACKAGE_VERSION} MIT "" ${recording_libraries})
component(simulated-device ${CPACK_PACKAGE_VERSION} MIT "" ${simulated_device})
component(qtbase "${CPACK_PELLAVOX_QT_VERSION}" "LGPL-3.0-only OR GPL-2.0-or-later"
  "pkg:generic/qtbase@${CPACK_PELLAVOX_QT_VERSION}" Qt5*.dll platforms/*.dll styles/*.dll)
component(gcc-runtime "${CPACK_PELLAVOX_GCC_VERSION}" "GPL-3.0-or-later WITH GCC-exception-3.1"
  "pkg:deb/debian/gcc-mingw-w64-x86-64-posix-runtime@${CPACK_PELLAVOX_GCC_VERSION}" libgcc*.dll libstdc*.dll)
component(winpthreads "${CPACK_PELLAVOX_MINGW_VERSION}" "MIT AND BSD-3-Clause"
  "pkg:deb/debian/mingw-w64-x86-64-dev@${CPACK_PELLAVOX_MINGW_VERSION}" libwinpthread-1.dll)
component(sqlite "${CPACK_PELLAVOX_SQLITE_VERSION}" blessing
  "pkg:deb/debian/sqlite3@${CPACK_PELLAVOX_SQLITE_VERSION}?arch=source" pellavox-cli.exe)
# Header-only libraries, compiled into these files.
component(expected "${CPACK_PELLAVOX_EXPECTED_VERSION}" CC0-1.0
  "pkg:deb/debian/libexpected-dev@${CPACK_PELLAVOX_EXPECTED_VERSION}"
  Pellavox.exe lib/pellavox*/Pellavox ${command_line} ${recording_libraries})
component(CLI11 "${CPACK_PELLAVOX_CLI11_VERSION}" BSD-3-Clause
  "pkg:deb/debian/libcli11-dev@${CPACK_PELLAVOX_CLI11_VERSION}" ${command_line})
component(nlohmann-json "${CPACK_PELLAVOX_JSON_VERSION}" MIT
  "pkg:deb/debian/nlohmann-json3-dev@${CPACK_PELLAVOX_JSON_VERSION}"
  ${simulated_device} ${command_line} ${recording_libraries})
list(JOIN components ",\n" components)

# Time and serial number depend only on the commit and the content.
string(TIMESTAMP time "%Y-%m-%dT%H:%M:%SZ" UTC)
string(UUID number NAMESPACE 6ba7b811-9dad-11d1-80b4-00c04fd430c8 NAME "${CPACK_PACKAGE_FILE_NAME}${time}${components}" TYPE SHA1)
file(WRITE ${root}/${CPACK_PELLAVOX_DOCUMENT_FOLDER}/bom.cdx.json "{
  \"bomFormat\": \"CycloneDX\",
  \"specVersion\": \"1.5\",
  \"serialNumber\": \"urn:uuid:${number}\",
  \"version\": 1,
  \"metadata\": {
    \"timestamp\": \"${time}\",
    \"component\": {
      \"type\": \"application\",
      \"name\": \"Pellavox\",
      \"version\": \"${CPACK_PACKAGE_VERSION}\",
      \"description\": \"${CPACK_PELLAVOX_FLAVOUR} flavour\"
    }
  },
  \"components\": [
${components}
  ]
}
")

if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(
    COMMAND find ${CPACK_TEMPORARY_INSTALL_DIRECTORY} -exec touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} +
    COMMAND_ERROR_IS_FATAL ANY)
endif()
