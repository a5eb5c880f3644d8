# Builds Windows x64 programs on Debian with MinGW-w64 and POSIX threads (std::thread);
# they run under Wine. PELLAVOX_WINDOWS_QT names the folder of a matching Qt 5.15, for
# example from packaging/windows/build-qt.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)


# CMake reads this file again in its small projects that test the compiler.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PELLAVOX_WINDOWS_QT)
if(NOT EXISTS "${PELLAVOX_WINDOWS_QT}/lib/cmake/Qt5Core/Qt5CoreConfig.cmake")
  message(FATAL_ERROR "PELLAVOX_WINDOWS_QT must name the folder of a Qt 5.15 for MinGW-w64, not "
    "\"${PELLAVOX_WINDOWS_QT}\". packaging/windows/build-qt builds one.")
endif()

# Libraries, headers and packages come only from there, as this machine's are for Linux;
# programs (moc, uic, Python) come only from this machine.
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${PELLAVOX_WINDOWS_QT})
set(CMAKE_PREFIX_PATH ${PELLAVOX_WINDOWS_QT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../packaging/windows/wine)
