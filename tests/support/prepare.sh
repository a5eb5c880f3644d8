# shellcheck shell=bash
# Read by the commands beside the tests that run one of them at length.

# prepare PRESET TARGET: builds it, installing what that takes, and sets up what
# its program needs from its surroundings, as CTest does for the tests.
prepare() {
  local jobs=(build)
  [[ $1 == asan || $1 == tsan ]] && jobs+=(sanitizers)
  packaging/linux/setup "${jobs[@]}"
  packaging/linux/build "$1" "$2"
  export QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME=$PWD/build/$1/tests/config/$2
  export LSAN_OPTIONS=suppressions=$PWD/tests/sanitizers/lsan.supp:print_suppressions=0
  export TSAN_OPTIONS=suppressions=$PWD/tests/sanitizers/tsan.supp
}
