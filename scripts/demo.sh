#!/usr/bin/env bash
# Shows the main job end to end under Wine, on a throw-away copy of the sample shop: a host lists
# options, changes some, saves, and the files show what changed: scripts/demo.sh [--built]
#   --built  with the library that is built already, in a Wine session that is left running
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
export LC_ALL=C.UTF-8
case ${1:-} in
  '' | --built) built=${1:-} ;;
  *)
    echo "usage: scripts/demo.sh [--built]"
    [ "$1" = --help ] && exit 0 || exit 2
    ;;
esac

shop=$root/build/demo
library="Z:${root//\//\\}\\build\\win64\\tdefault.dll"
program="Z:${root//\//\\}\\build\\win64\\tovocfg.exe"
local_ini='C:\SHOP\WORKSTATION\TOVO.INI'

heading() { printf '\n== %s\n' "$1"; }

# Shows a command as a user would type it, then runs it.
tovocfg() {
  local word line='> tovocfg'
  for word in "$@"; do
    case $word in *' '*) line+=" \"$word\"" ;; *) line+=" $word" ;; esac
  done
  echo "$line"
  scripts/wine.sh "$program" --ini "$local_ini" "$@" | tr -d '\r'
}

# The lines that differ, first the old ones: blank lines and spacing aside, which the system's own
# profile writes normalise.
changed_lines() {
  diff -U0 <(comparable "$1") <(comparable "$2") | grep -E '^[-+]([^-+]|$)' || true
}

comparable() {
  iconv -f CP1252 -t UTF-8 "$1" | tr -d '\r' | sed -e 's/^[ \t]*//' -e 's/[ \t]*$//' \
    -e 's/^\([^=]*[^= \t]\)[ \t]*=[ \t]*/\1=/' -e '/^$/d'
}

fail() {
  echo "demo: $1" >&2
  exit 1
}

leave() {
  scripts/wine.sh regsvr32 /u /s "$library" >/dev/null 2>&1 || true
  [ -n "$built" ] || scripts/stop-wine.sh
}

heading "Build the library and its host (64-bit)"
mkdir -p build
if [ -z "$built" ] && ! scripts/build.sh win64 product >build/demo.log 2>&1; then
  tail -n 40 build/demo.log >&2
  fail "the build failed; its whole output is in build/demo.log"
fi
ls build/win64/tdefault.dll build/win64/tovocfg.exe

heading "Set up a shop and register the library"
rm -rf "$shop"
mkdir -p "$shop"
cp -r samples/shop/data "$shop/DATA"
cp -r samples/shop/workstation "$shop/WORKSTATION"
scripts/wine.sh cmd /c exit # makes the prefix on first use
drive_c=${TDEFAULT_WINEPREFIX:-$root/build/wineprefix}/drive_c
ln -sfn "$shop" "$drive_c/SHOP"
trap leave EXIT
scripts/wine.sh regsvr32 /s "$library" || fail "regsvr32 could not register the library"
tovocfg where

heading "List one section"
tovocfg list --section Tax

heading "A value that does not fit is refused, and nothing is saved"
status=0
tovocfg set Tax Rate1 99 || status=$?
[ "$status" = 3 ] || fail "the exit code of a refused value should be 3 but is $status"

heading "Change four options with one save"
tovocfg set Windows ColourScheme 'High contrast' Windows ZoomPercent 125 \
  Invoices DueDays 14 WorkOrders Terms3 "Vehicles are parked at the owner's risk."

heading "Another host, in VBScript, reads them back"
echo "> cscript //nologo samples/scripts/options.vbs list"
listing=$(scripts/wine.sh cscript //nologo 'Z:'"${root//\//\\}"'\samples\scripts\options.vbs' \
  "/ini:$local_ini" list | tr -d '\r')
read_back=$(grep -E '\] (ColourScheme|ZoomPercent|DueDays|Terms3) = ' <<<"$listing" || true)
echo "$read_back"
[ "$(wc -l <<<"$read_back")" = 4 ] || fail "the script did not list the four options"

heading "What changed in the files"
echo "(- before, + after. Every option is written, so one without a key becomes \"Not found\".)"
for base in WORKSTATION/TOVO DATA/TOVOGBL; do
  [ -e "$shop/$base.old" ] || fail "$base.old is missing"
  echo "--- ${base#*/}.old  +++ ${base#*/}.INI"
  changed_lines "$shop/$base.old" "$shop/$base.INI"
done
cmp -s "$shop/WORKSTATION/TOVO.old" samples/shop/workstation/TOVO.INI &&
  cmp -s "$shop/DATA/TOVOGBL.old" samples/shop/data/TOVOGBL.INI ||
  fail "the previous files are not what was there before the save"
for line in 'WORKSTATION/TOVO.INI ColourScheme=1' 'WORKSTATION/TOVO.INI ZoomPercent=125' \
  'DATA/TOVOGBL.INI DueDays=14' "DATA/TOVOGBL.INI Terms3=Vehicles are parked at the owner's risk."; do
  grep -qF "${line#* }" "$shop/${line%% *}" || fail "${line%% *} does not hold ${line#* }"
done

echo
echo "demo: 4 options changed and saved; previous files kept as TOVO.old and TOVOGBL.old"
