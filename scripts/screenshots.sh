#!/usr/bin/env bash
# Takes the pictures of the data-folder search that docs/ shows, under Wine, into docs/images:
# scripts/screenshots.sh [FOLDER]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
if [ "${1:-}" = --help ]; then
  echo "usage: scripts/screenshots.sh [FOLDER]"
  exit 0
fi
folder=${1:-docs/images}
scripts/setup.sh
for tool in import convert; do
  command -v "$tool" >/dev/null || {
    echo "screenshots: '$tool' is missing; install the package imagemagick" >&2
    exit 1
  }
done
scripts/build.sh win64 show_search_window >/dev/null
. scripts/wine-environment.sh
mkdir -p "$folder"

# picture NAME SCENE [WIDTH HEIGHT]: the dialog alone; what is around it on the display is black.
picture() {
  local name=$1 program line
  shift
  coproc program { wine build/win64/tests/window/show_search_window.exe "$@" 2>/dev/null; }
  local pid=$program_PID
  read -r -t 60 line <&"${program[0]}"
  [ "${line%$'\r'}" = shown ] || {
    echo "screenshots: $name did not come up" >&2
    exit 1
  }
  sleep 0.5 # the display draws behind the answer
  import -silent -window root "$folder/$name.png"
  convert "$folder/$name.png" -trim +repage -bordercolor white -border 8 -strip -colors 256 \
    -define png:compression-level=9 "$folder/$name.png"
  echo >&"${program[1]}"
  wait "$pid" || true
  echo "$folder/$name.png"
}

scaling() { wine reg add 'HKCU\Control Panel\Desktop' /v LogPixels /t REG_DWORD /d "$1" /f >/dev/null 2>&1; }

picture search-drives drives
picture search-running searching
picture search-shortened shortened 420 320
picture search-results results
picture search-nothing nothing
picture search-narrow results 230 300
scaling 192
trap 'scaling 96' EXIT
picture search-scaled results
