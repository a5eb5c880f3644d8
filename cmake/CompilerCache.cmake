# Uses ccache if it is installed: many checkouts and presets of this project share most
# compilations.
find_program(PELLAVOX_CCACHE ccache)
if(PELLAVOX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Stores paths relative to the checkout, so that other checkouts share the results.
  set(launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${PELLAVOX_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
endif()
