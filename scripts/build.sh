#!/usr/bin/env bash
# Sets up and builds one preset or all of them:
#   scripts/build.sh [native|native-release|quick|fuzz|win64|win64-long|win32|all] [TARGET...]
# Without an argument: win64, the product for 64-bit hosts (build/win64/tdefault.dll). Building the tests of
# win32 takes a 32-bit Wine, which scripts/setup-wine32.sh sets up; where there can be none, only what
# a shop installs is built.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
if [ "${1:-}" = --help ]; then
  echo "usage: scripts/build.sh [native|native-release|quick|fuzz|win64|win64-long|win32|all] [TARGET...]"
  exit 0
fi
case ${1:-win64} in
  native | native-release | quick) scripts/setup.sh native ;;
  *) scripts/setup.sh ;;
esac

# Lets a second clone on the same machine profit from the first one's compilations.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros

build() {
  local preset=$1
  shift
  if ! cmake --preset "$preset" >"build/$preset.configure.log" 2>&1; then
    cat "build/$preset.configure.log" >&2
    return 1
  fi
  if [ "$preset $*" = 'win32 ' ] && ! scripts/setup-wine32.sh; then set -- product; fi
  cmake --build --preset "$preset" ${1:+--target "$@"}
}

mkdir -p build
preset=${1:-win64}
shift || true
if [ "$preset" = all ]; then
  for each in native win64 win32; do build "$each"; done
else
  build "$preset" "$@"
fi
