# Where ccache is installed, compilations that were made before are taken from
# its store: many checkouts and presets of this project share most of them.
find_program(PELLAVOX_CCACHE ccache)
if(PELLAVOX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Paths below the checkout are stored relative to it, so that another checkout
  # of the same commit finds them.
  set(launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${PELLAVOX_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
endif()
