#!/usr/bin/env bash
# Runs a 32-bit Windows program of this project as scripts/wine.sh runs a 64-bit one, in a 32-bit
# prefix: scripts/wine32.sh PROGRAM [ARGUMENT...]. scripts/setup-wine32.sh sets up the Wine it needs.
set -u
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
wine_bits=32
. "$root/scripts/wine-environment.sh" || exit 125
exec "${wine_program[@]}" "$@"
