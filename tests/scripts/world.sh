# shellcheck shell=bash
# Sourced by the script tests: makes a scratch folder with a copy of the scripts and
# with stand-ins for the tools that would install or build.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
world=$(mktemp -d)
trap 'rm -rf "$world"' EXIT
mkdir -p "$world/tools" "$world/home" "$world/run"
export PATH=$world/tools:/usr/bin:/bin HOME=$world/home CALLS=$world/calls WORLD=$world XDG_RUNTIME_DIR=$world/run
unset DISPLAY WAYLAND_DISPLAY CC CXX RTICE_SIMULATOR_SCENARIO LD_LIBRARY_PATH SOURCE_DATE_EPOCH PELLAVOX_WINDOWS_QT
unset XDG_CACHE_HOME GIT_DIR GIT_WORK_TREE
: >"$CALLS"

checkout=$world/checkout
mkdir -p "$checkout/tests"
cp -r "$root"/{run,test,CMakeLists.txt,CMakePresets.json,packaging} "$checkout/"
mkdir -p "$checkout/simulator"
cp -r "$root/simulator/scenarios" "$checkout/simulator/"
cd "$checkout" || exit 1

# tool NAME: a stand-in with the script on stdin; $CALLS has a line for each call.
tool() {
  { printf '#!/bin/bash\necho "%s $*" >>"$CALLS"\n' "$1" && cat; } >"$world/tools/$1"
  chmod +x "$world/tools/$1"
}

# Everything counts as installed; nothing may be installed.
tool dpkg-query <<<'echo "install ok installed"'
tool apt-get <<<'exit 100'
tool sudo <<<'exec "$@"'
tool ctest </dev/null
# The virtual display just runs the command.
tool xvfb-run <<<'while [[ $1 == -* ]]; do [[ $1 == -s ]] && shift; shift; done; exec "$@"'
tool c++ <<<'echo "${COMPILER_VERSION:-12 2 0}"'
tool other-c++ <<<'echo "14 0 6"'

# Configures and builds as far as the scripts can tell. BUILT_PROGRAMS is the folder of
# the programs that it pretends to build.
tool cmake <<'END'
if [[ $1 == --version ]]; then
  echo "cmake version ${CMAKE_IS:-3.25.1}"
elif [[ $1 == --preset ]]; then
  echo "Preset CMake variables:"
  echo "-- Detecting CXX compiler ABI info"
  [[ -z ${CONFIGURING_FAILS:-} ]] || { echo "CMake Error: no such thing"; exit 1; }
  compiler=$(command -v "${CXX:-c++}")
  mkdir -p "build/$2/CMakeFiles/3.25.1"
  [[ -e build/$2/CMakeCache.txt ]] || printf 'CMAKE_HOME_DIRECTORY:INTERNAL=%s\n' "$PWD" >"build/$2/CMakeCache.txt"
  printf 'set(CMAKE_CXX_COMPILER "%s")\nset(CMAKE_CXX_COMPILER_ID "GNU")\nset(CMAKE_CXX_COMPILER_VERSION "%s")\n' \
    "$compiler" "$("$compiler" -E | tr ' ' .)" >"build/$2/CMakeFiles/3.25.1/CMakeCXXCompiler.cmake"
  touch "build/$2/build.ninja"
else
  [[ -z ${BUILDING_FAILS:-} ]] || { printf '[1/2] good\nFAILED: bad.o\nbad.cpp:1: error: bad\n'; exit 1; }
  [[ -z ${BUILT_PROGRAMS:-} ]] || { ln -sfn "$BUILT_PROGRAMS" "build/$3/bin"; exit; }
  mkdir -p "build/$3/bin"
  for program in Pellavox pellavox-walkthrough pellavox-samples; do
    printf '#!/bin/bash\necho "%s $* in $(basename "$PWD") platform=${QT_QPA_PLATFORM:-} scenario=${RTICE_SIMULATOR_SCENARIO:-} runtime=$XDG_RUNTIME_DIR" >>"$CALLS"\n' \
      "$program" >"build/$3/bin/$program"
    chmod +x "build/$3/bin/$program"
  done
  printf 'mkdir -p "$1"; echo "sample.img   a sample"\n' >>"build/$3/bin/pellavox-samples"
fi
END

# says COMMAND...: runs it; its output and exit code are in $output and $status.
says() {
  status=0
  output=$("$@" 2>&1 </dev/null) || status=$?
}

fail() {
  printf 'FAILED: %s\n-- exit code %s, output:\n%s\n-- calls:\n%s\n' "$1" "$status" "$output" "$(<"$CALLS")" >&2
  exit 1
}

expectStatus() { [[ $status -eq $1 ]] || fail "exit code $1 expected"; }
expectSaid() { [[ $output == *"$1"* ]] || fail "expected in the output: $1"; }
expectNotSaid() { [[ $output != *"$1"* ]] || fail "not expected in the output: $1"; }
expectOneLine() { [[ $(wc -l <<<"$output") -eq 1 ]] || fail "one line expected"; }
expectCalled() { grep -qE -- "$1" "$CALLS" || fail "expected call: $1"; }
expectNotCalled() { ! grep -qE -- "$1" "$CALLS" || fail "unexpected call: $1"; }
forgetCalls() { : >"$CALLS"; }
