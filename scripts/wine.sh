#!/usr/bin/env bash
# Runs a Windows program of this project under Wine, in the project's own prefix and on a display
# of its own: scripts/wine.sh PROGRAM [ARGUMENT...]. CMake uses it as the emulator of the tests.
set -u
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
. "$root/scripts/wine-environment.sh"
exec wine "$@" 2> >(grep -v -e 'wine32 is missing' -e 'multiarch needs' -e 'apt-get install wine32' \
  -e 'dpkg --add-architecture' -e '^$' >&2)
