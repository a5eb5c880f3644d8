# The differences between flavours; CPack reads this for each Windows package.
#   cpack -D CPACK_PELLAVOX_FLAVOUR=device|training
if(NOT CPACK_PELLAVOX_FLAVOUR)
  set(CPACK_PELLAVOX_FLAVOUR training)
endif()
if(NOT CPACK_PELLAVOX_FLAVOUR MATCHES "^(device|training)$")
  message(FATAL_ERROR "CPACK_PELLAVOX_FLAVOUR must be device or training")
endif()

# Both components go into one package, as if installed together.
set(CPACK_INSTALL_CMAKE_PROJECTS)
foreach(component IN ITEMS program ${CPACK_PELLAVOX_FLAVOUR})
  list(APPEND CPACK_INSTALL_CMAKE_PROJECTS ${CPACK_PELLAVOX_BUILD_DIRECTORY} Pellavox ${component} /)
endforeach()
set(CPACK_MONOLITHIC_INSTALL ON)

# Both flavours can be installed side by side.
set(title Pellavox)
if(CPACK_PELLAVOX_FLAVOUR STREQUAL training)
  set(title "Pellavox Training")
endif()

set(CPACK_PACKAGE_FILE_NAME pellavox-${CPACK_PACKAGE_VERSION}-windows-x64-${CPACK_PELLAVOX_FLAVOUR})

if(CPACK_GENERATOR STREQUAL NSIS)
  string(APPEND CPACK_PACKAGE_FILE_NAME -setup)
  set(CPACK_PACKAGE_INSTALL_DIRECTORY ${title})
  set(CPACK_PACKAGE_INSTALL_REGISTRY_KEY ${title})
  set(CPACK_NSIS_PACKAGE_NAME ${title})
  set(CPACK_NSIS_DISPLAY_NAME "${title} ${CPACK_PACKAGE_VERSION}")
  set(CPACK_NSIS_INSTALL_ROOT "$PROGRAMFILES64")
  # A 64-bit installer: the usual 32-bit one needs 32-bit support in Windows. File dates
  # would differ between builds.
  set(CPACK_NSIS_DEFINES "Target amd64-unicode\nSetDateSave off\n!include FileFunc.nsh")
  # A page asks whether to put the command line on PATH; for silent installations there
  # is /PATH. CPack's own commands would add the folder "bin", which does not exist;
  # these add the programs' folder with CPack's functions.
  set(CPACK_NSIS_MODIFY_PATH ON)
  set(CPACK_NSIS_EXTRA_PREINSTALL_COMMANDS "
  \${GetParameters} $0
  ClearErrors
  \${GetOptions} $0 \"/PATH\" $1
  IfErrors pathNotAskedFor
    WriteINIStr \"$PLUGINSDIR\\NSIS.InstallOptions.ini\" \"Field 2\" \"State\" \"0\"
    WriteINIStr \"$PLUGINSDIR\\NSIS.InstallOptions.ini\" \"Field 3\" \"State\" \"1\"
  pathNotAskedFor:")
  set(CPACK_NSIS_EXTRA_INSTALL_COMMANDS "
  StrCmp $DO_NOT_ADD_TO_PATH \"1\" notOnPath
    Push $INSTDIR
    Call AddToPath
  notOnPath:")
  set(CPACK_NSIS_EXTRA_UNINSTALL_COMMANDS "
  StrCmp $DO_NOT_ADD_TO_PATH \"1\" notFromPath
    Push $INSTDIR
    Call un.RemoveFromPath
  notFromPath:")
  set(CPACK_NSIS_MUI_ICON ${CPACK_PELLAVOX_ICON})
  set(CPACK_NSIS_MUI_UNIICON ${CPACK_PELLAVOX_ICON})
  set(CPACK_NSIS_INSTALLED_ICON_NAME Pellavox.exe)
  set(CPACK_NSIS_EXECUTABLES_DIRECTORY .)
  set(CPACK_NSIS_MENU_LINKS documents/operator-guide.html "Operator guide")
  set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)
  set(CPACK_NSIS_MANIFEST_DPI_AWARE ON)
  set(CPACK_NSIS_CREATE_ICONS_EXTRA "CreateShortCut '$SMPROGRAMS\\$STARTMENU_FOLDER\\${title}.lnk' '$INSTDIR\\Pellavox.exe'")
  set(CPACK_NSIS_DELETE_ICONS_EXTRA "Delete '$SMPROGRAMS\\$MUI_TEMP\\${title}.lnk'")
endif()
