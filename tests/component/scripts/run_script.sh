#!/usr/bin/env bash
# run_script.sh EMULATOR SCRIPT EXPECTATIONS SAMPLE_SHOP PROGRAM CLOSE_BOXES: runs a VBScript or JScript test under
# cscript on a throw-away copy of the shop. The script host answers 0 whatever happens to a script,
# so a test has passed only when its last line is DONE with the number of its expectations and no
# line starts with FAIL.
#
# The script gets one argument, a folder with data, workstation, and duplicate: a copy of data whose
# table has the first ID twice, and modules: a copy whose first options name additional processing
# modules. PROGRAM is in the folder as well. Whatever kit program a script has registered is none any
# more behind it.
#
# A script that has lines "' BOX TITLE | TEXT | BUTTONS" runs with a user who closes message boxes: those
# that came must be these.
set -euo pipefail
emulator=$1 script=$2 expectations=$3 shop=$4 program=$5 close_boxes=$6
folder=$(cd "$(dirname "$script")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cp -r "$shop/data" "$shop/workstation" "$program" "$work"
cp -r "$shop/data" "$work/duplicate"
cp -r "$shop/data" "$work/modules"
python3 - "$work/duplicate/defaults.dbf" "$work/modules/defaults.dbf" <<'PYTHON'
import struct, sys

MODULES = ("Module:Succeed", "Module:Fail", "Module:", "Module:Raise", "NoSuchClass:Run", "Module:CallBack")

with open(sys.argv[1], "r+b") as table:
    header = table.read(12)
    first, length = struct.unpack("<HH", header[8:12])
    table.seek(first + 1)
    identifier = table.read(36)
    table.seek(first + length + 1)
    table.write(identifier)
with open(sys.argv[2], "r+b") as table:
    header = table.read(12)
    first, length = struct.unpack("<HH", header[8:12])
    for row, module in enumerate(MODULES):
        # The modules stand in the last column.
        table.seek(first + (row + 1) * length - 60)
        table.write(f"TovoDefaultsTest.{module}".encode().ljust(60))
PYTHON

kind=${script##*.}
cat "$folder/expect.$kind" "$script" >"$work/test.$kind"
boxes=$(tr -d '\r' <"$script" | sed -n "s/^' BOX /BOX /p")
output=$(timeout 120 "$emulator" ${boxes:+"$close_boxes"} cscript //nologo \
  "Z:${work//\//\\}\\test.$kind" "Z:${work//\//\\}" | tr -d '\r')
echo "$output"
if [ "${script##*/}" = kits.vbs ]; then
  timeout 120 "$emulator" reg delete \
    'HKCU\Software\VB and VBA Program Settings\Tovo\Modules\KitProgram' /f >/dev/null
fi
[ "$(grep '^BOX ' <<<"$output" || true)" = "$boxes" ] || { echo "FAIL other message boxes"; exit 1; }
[ "$(grep -v '^BOX ' <<<"$output" | tail -n 1)" = "DONE $expectations" ] && ! grep -q '^FAIL' <<<"$output"
