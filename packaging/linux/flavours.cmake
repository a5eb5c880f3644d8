# Contents of the Debian packages: components "device" and "training", each complete and
# with its own names, so that both can be installed side by side.

# install_command_line_texts(name component): installs them where the shells and man look
function(install_command_line_texts name component)
  command_line_texts(${name}-cli)
  set(made ${command_line_texts}/${name}-cli/${name}-cli)
  install(FILES ${made}.1 DESTINATION share/man/man1 COMPONENT ${component})
  install(FILES ${made}.bash DESTINATION share/bash-completion/completions RENAME ${name}-cli COMPONENT ${component})
  install(FILES ${made}.zsh DESTINATION share/zsh/vendor-completions RENAME _${name}-cli COMPONENT ${component})
  install(FILES ${made}.fish DESTINATION share/fish/vendor_completions.d COMPONENT ${component})
  install(DIRECTORY ${CMAKE_SOURCE_DIR}/cli/schemas DESTINATION share/${name} COMPONENT ${component})
endfunction()

# flavour(component name title comment purpose)
function(flavour component name title comment purpose)
  set(made ${CMAKE_CURRENT_BINARY_DIR}/deb/${name})
  set(suffix)
  set(files ".I /usr/lib/pellavox/libRTICE_SDK_x64.so\nis the device library that came with your devices. It is not part of the package:\n\
put it there, or name its folder in LD_LIBRARY_PATH, whose folders are searched\n\
first. An empty element in it means the current directory.")
  if(component STREQUAL training)
    set(suffix ", training flavour")
    set(files ".I /usr/share/${name}/scenarios\nholds other devices, signals and faults. The environment variable\n\
.B RTICE_SIMULATOR_SCENARIO\nnames the one to use.\n.PP\n\
.I /usr/share/${name}/samples\nholds firmware and key files to load. They are for the simulated device only.")
  endif()

  configure_file(linux/pellavox.desktop.in ${made}/com.orvenhal.${name}.desktop @ONLY)
  configure_file(linux/pellavox.metainfo.xml.in ${made}/com.orvenhal.${name}.metainfo.xml @ONLY)
  configure_file(linux/pellavox.1.in ${made}/${name}.1 @ONLY)

  set(program_folder lib/${name})
  set(document_folder share/doc/${name})
  install(TARGETS Pellavox pellavox-cli RUNTIME DESTINATION ${program_folder} COMPONENT ${component})
  install(TARGETS pellavox_recording_library LIBRARY DESTINATION ${program_folder}/recorder COMPONENT ${component})
  install(TARGETS pellavox_replaying_library LIBRARY DESTINATION ${program_folder}/replay COMPONENT ${component})
  # The programs find the device library in their own folder even when started through
  # these links.
  file(CREATE_LINK ../${program_folder}/Pellavox ${made}/bin SYMBOLIC)
  file(CREATE_LINK ../${program_folder}/pellavox-cli ${made}/bin-cli SYMBOLIC)
  install(FILES ${made}/bin DESTINATION bin RENAME ${name} COMPONENT ${component})
  install(FILES ${made}/bin-cli DESTINATION bin RENAME ${name}-cli COMPONENT ${component})
  install_command_line_texts(${name} ${component})
  install(FILES ${made}/com.orvenhal.${name}.desktop DESTINATION share/applications COMPONENT ${component})
  install(FILES ${made}/com.orvenhal.${name}.metainfo.xml DESTINATION share/metainfo COMPONENT ${component})
  install(FILES ${made}/${name}.1 DESTINATION share/man/man1 COMPONENT ${component})
  install(FILES icons/pellavox.svg DESTINATION share/icons/hicolor/scalable/apps
    RENAME com.orvenhal.${name}.svg COMPONENT ${component})
  foreach(size IN ITEMS 16 24 32 48 64 128 256)
    install(FILES ${CMAKE_SOURCE_DIR}/app/icons/${size}.png DESTINATION share/icons/hicolor/${size}x${size}/apps
      RENAME com.orvenhal.${name}.png COMPONENT ${component})
  endforeach()
  install(FILES linux/copyright linux/changelog DESTINATION ${document_folder} COMPONENT ${component})
  foreach(document IN LISTS documents)
    install(FILES ${CMAKE_SOURCE_DIR}/docs/${document}.md DESTINATION ${document_folder} COMPONENT ${component})
  endforeach()
  install(DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/html_${component}/ DESTINATION ${document_folder}/html
    COMPONENT ${component})

  if(component STREQUAL device)
    install(FILES linux/README.Debian DESTINATION ${document_folder} COMPONENT ${component})
    install(FILES linux/60-pellavox.rules DESTINATION ${document_folder}/examples COMPONENT ${component})
    return()
  endif()
  foreach(document IN LISTS training_documents)
    install(FILES ${CMAKE_SOURCE_DIR}/docs/${document}.md DESTINATION ${document_folder} COMPONENT ${component})
  endforeach()
  install(TARGETS RTICE_SDK_x64 LIBRARY DESTINATION ${program_folder} COMPONENT ${component})
  install(DIRECTORY ${CMAKE_SOURCE_DIR}/simulator/scenarios DESTINATION share/${name} COMPONENT ${component})
  if(TARGET samples)
    install(DIRECTORY ${samples} DESTINATION share/${name} COMPONENT ${component})
  endif()
endfunction()

flavour(device pellavox "Pellavox"
  "Look at and provision USB HDMI capture devices"
  "This package is for real devices; their device library must be added.")
flavour(training pellavox-training "Pellavox (training)"
  "Look at and provision USB HDMI capture devices; this one is simulated"
  "This package is for learning and trying: the device in it is simulated.")
