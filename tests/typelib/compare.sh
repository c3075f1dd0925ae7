#!/usr/bin/env bash
# compare.sh EMULATOR DUMP_PROGRAM LIBRARY EXPECTED: dumps the type library in a DLL and compares it
# with the text that was checked by hand.
set -euo pipefail
emulator=$1 program=$2 library=$3 expected=$4
if [ ! -e "$library" ]; then
  echo "compare.sh: $library is not built; build that preset first" >&2
  exit 1
fi
dump=$(mktemp)
trap 'rm -f "$dump"' EXIT
timeout 120 "$emulator" "$program" "$library" | tr -d '\r' >"$dump"
diff -u "$expected" "$dump"
