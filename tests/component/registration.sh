#!/usr/bin/env bash
# registration.sh register|unregister EMULATOR STATE_FOLDER DLL...: the fixture of the component
# tests. Registers the DLLs and remembers the registry as it was before; unregisters them, twice and
# in a damaged state too, and compares.
set -euo pipefail
action=$1 emulator=$2 state=$3
shift 3

# The classes of the machine and of the user, without the lines that any program changes.
export_classes() {
  local name=$1 root
  for root in HKLM HKCU; do
    rm -f "$state/export.reg"
    timeout 120 "$emulator" reg export "$root\\Software\\Classes" "Z:${state//\//\\}\\export.reg" /y \
      >/dev/null 2>&1 || true
    [ ! -e "$state/export.reg" ] || cat "$state/export.reg"
  done >"$state/$name"
}

mkdir -p "$state"
case $action in
  register)
    for dll in "$@"; do timeout 120 "$emulator" regsvr32 /u /s "$dll" || true; done
    export_classes before
    for dll in "$@"; do timeout 120 "$emulator" regsvr32 /s "$dll"; done
    ;;
  unregister)
    # An entry that somebody removed by hand is no failure.
    timeout 120 "$emulator" reg delete 'HKCR\TovoDefaults.Options\CLSID' /f >/dev/null
    for dll in "$@"; do timeout 120 "$emulator" regsvr32 /u /s "$dll"; done
    for dll in "$@"; do timeout 120 "$emulator" regsvr32 /u /s "$dll"; done
    export_classes after
    [ -s "$state/before" ]
    cmp "$state/before" "$state/after"
    ;;
esac
