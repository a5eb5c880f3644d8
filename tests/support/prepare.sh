# shellcheck shell=bash
# Sourced by the commands that run long versions of single tests.

# prepare PRESET TARGET: builds the target, installing the packages needed, and sets up
# the environment that CTest gives the tests.
prepare() {
  local jobs=(build)
  [[ $1 == asan || $1 == tsan ]] && jobs+=(sanitizers)
  packaging/linux/setup "${jobs[@]}"
  packaging/linux/build "$1" "$2"
  export QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME=$PWD/build/$1/tests/config/$2
  export ASAN_OPTIONS=intercept_tls_get_addr=0  # as in tests/CMakeLists.txt
  export LSAN_OPTIONS=suppressions=$PWD/tests/sanitizers/lsan.supp:print_suppressions=0
  export TSAN_OPTIONS=suppressions=$PWD/tests/sanitizers/tsan.supp
}
