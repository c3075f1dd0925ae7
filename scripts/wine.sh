#!/usr/bin/env bash
# Runs a Windows program of this project under Wine, in the project's own prefix and on a display
# of its own: scripts/wine.sh PROGRAM [ARGUMENT...]. CMake uses it as the emulator of the tests.
set -u
if [ "${1:-}" = --help ]; then
  echo "usage: scripts/wine.sh PROGRAM [ARGUMENT...]"
  exit 0
fi
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
wine_bits=64
. "$root/scripts/wine-environment.sh" || exit 125
exec "${wine_program[@]}" "$@"
