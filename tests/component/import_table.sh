#!/usr/bin/env bash
# import_table.sh OBJDUMP FILE: fails when a built file needs a DLL that does not come with Windows.
set -euo pipefail
objdump=$1 file=$2
if [ ! -e "$file" ]; then
  echo "import_table.sh: $file is not built; build that preset first" >&2
  exit 1
fi
system='advapi32 comctl32 gdi32 kernel32 mpr msvcrt ole32 oleaut32 secur32 shell32 shlwapi user32 version'
imported=$("$objdump" -p "$file" | sed -n 's/^\tDLL Name: \(.*\)\.dll$/\L\1/Ip')
[ -n "$imported" ]
status=0
for name in $imported; do
  case " $system " in
    *" $name "*) ;;
    *)
      echo "$file imports $name.dll, which is not part of Windows" >&2
      status=1
      ;;
  esac
done
exit $status
