#!/usr/bin/env bash
# exports.sh OBJDUMP DLL: fails unless the library exports its four entry points, undecorated, and
# nothing else.
set -euo pipefail
objdump=$1 file=$2
if [ ! -e "$file" ]; then
  echo "exports.sh: $file is not built; build that preset first" >&2
  exit 1
fi
expected='DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer'
exported=$("$objdump" -p "$file" | sed -n '/Ordinal\/Name Pointer/,/^$/s/^\t\[ *[0-9]*\].* \([^ ]*\)$/\1/p' | sort | xargs)
if [ "$exported" != "$expected" ]; then
  echo "$file exports '$exported' instead of '$expected'" >&2
  exit 1
fi
