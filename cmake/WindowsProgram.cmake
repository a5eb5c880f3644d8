# What a Windows program needs beyond its code: link settings, resources, and its DLLs,
# which are in the program's folder here as in the packages.
if(NOT WIN32)
  function(pellavox_windows_resources)
  endfunction()
  return()
endif()

# Address space randomisation over all 64 bits, no executable data pages. No build time
# in the file, so that builds are reproducible.
target_link_options(pellavox_compiler_settings INTERFACE
  LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat LINKER:--no-insert-timestamp)
target_compile_options(pellavox_compiler_settings INTERFACE
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}/= -ffile-prefix-map=${CMAKE_BINARY_DIR}/=)

find_package(Qt5 5.15 REQUIRED COMPONENTS Core Gui Widgets Test)
set(qt_folder ${PELLAVOX_WINDOWS_QT})
set(PELLAVOX_RUNTIME_DLLS)
foreach(module IN ITEMS Core Gui Widgets)
  list(APPEND PELLAVOX_RUNTIME_DLLS ${qt_folder}/bin/Qt5${module}.dll)
endforeach()
foreach(dll IN ITEMS libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  # Debian ships them with debug information, ten times their size.
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/runtime)
  execute_process(COMMAND ${CMAKE_STRIP} --strip-debug -o ${CMAKE_BINARY_DIR}/runtime/${dll} ${path}
    COMMAND_ERROR_IS_FATAL ANY)
  list(APPEND PELLAVOX_RUNTIME_DLLS ${CMAKE_BINARY_DIR}/runtime/${dll})
endforeach()
set(PELLAVOX_PLATFORM_PLUGIN ${qt_folder}/plugins/platforms/qwindows.dll)
set(PELLAVOX_STYLE_PLUGIN ${qt_folder}/plugins/styles/qwindowsvistastyle.dll)

file(COPY ${PELLAVOX_RUNTIME_DLLS} ${qt_folder}/bin/Qt5Test.dll DESTINATION ${CMAKE_BINARY_DIR}/bin)
file(COPY ${PELLAVOX_PLATFORM_PLUGIN} ${qt_folder}/plugins/platforms/qoffscreen.dll
  DESTINATION ${CMAKE_BINARY_DIR}/bin/platforms)
file(COPY ${PELLAVOX_STYLE_PLUGIN} DESTINATION ${CMAKE_BINARY_DIR}/bin/styles)

# The icon, in the sizes that Windows uses at 100 to 200 % scaling.
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
find_program(ICOTOOL icotool REQUIRED)
set(icon_drawing ${CMAKE_SOURCE_DIR}/packaging/icons/pellavox.svg)
set(PELLAVOX_ICON ${CMAKE_BINARY_DIR}/icon/pellavox.ico)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/icon)
set(icon_commands)
set(icon_pictures)
foreach(size IN ITEMS 16 20 24 32 40 48 64 256)
  set(picture ${CMAKE_BINARY_DIR}/icon/${size}.png)
  list(APPEND icon_commands COMMAND ${RSVG_CONVERT} -w ${size} -h ${size} -o ${picture} ${icon_drawing})
  if(size EQUAL 256)
    list(APPEND icon_pictures --raw=${picture})
  else()
    list(APPEND icon_pictures ${picture})
  endif()
endforeach()
add_custom_command(
  OUTPUT ${PELLAVOX_ICON}
  ${icon_commands}
  COMMAND ${ICOTOOL} --create --output ${PELLAVOX_ICON} ${icon_pictures}
  DEPENDS ${icon_drawing}
  VERBATIM)
add_custom_target(pellavox_icon ALL DEPENDS ${PELLAVOX_ICON})

enable_language(RC)

# Gives a program its icon, manifest and version: pellavox_windows_resources(target)
function(pellavox_windows_resources target)
  set(manifest ${CMAKE_SOURCE_DIR}/packaging/windows/pellavox.manifest)
  set(PELLAVOX_MANIFEST ${manifest})
  configure_file(${CMAKE_SOURCE_DIR}/packaging/windows/pellavox.rc.in ${CMAKE_BINARY_DIR}/pellavox.rc @ONLY)
  target_sources(${target} PRIVATE ${CMAKE_BINARY_DIR}/pellavox.rc)
  set_source_files_properties(${CMAKE_BINARY_DIR}/pellavox.rc TARGET_DIRECTORY ${target}
    PROPERTIES OBJECT_DEPENDS "${PELLAVOX_ICON};${manifest}")
  add_dependencies(${target} pellavox_icon)
endfunction()
