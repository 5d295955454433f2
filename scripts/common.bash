# What the scripts share; sourced, not run. Leaves the caller in the repository's root.

cd "$(dirname "${BASH_SOURCE[0]}")/.."

# say WORDS...: tells the person at the terminal what is being done.
say() { printf '== %s\n' "$*" >&2; }

# fail WORDS...: ends the script with a sentence that says why.
fail() {
  printf '%s: %s\n' "${0##*/}" "$*" >&2
  exit 1
}

# The compiler cache, where there is one; CMake reads this when it first sets up a build folder.
if command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER-ccache}
  export CCACHE_BASEDIR=${CCACHE_BASEDIR-$PWD} CCACHE_NOHASHDIR=1
fi

jobs=$(nproc)

# build PRESET [TARGET...]: sets up build/PRESET where needed, and builds it.
build() {
  local preset=$1 target
  shift
  if [[ ! build/$preset/build.ninja -nt CMakePresets.json ]]; then
    say "Setting up build/$preset"
    cmake --preset "$preset" >"/tmp/voran-configure.$$" 2>&1 || {
      cat "/tmp/voran-configure.$$" >&2
      fail "could not set up build/$preset"
    }
    rm -f "/tmp/voran-configure.$$"
  fi
  say "Building ${*:-everything} in build/$preset"
  cmake --build --preset "$preset" --parallel "$jobs" ${1:+--target "$@"} >&2 || fail "the build in build/$preset failed"
}
