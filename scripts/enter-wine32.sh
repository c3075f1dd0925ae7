#!/usr/bin/env bash
# Runs a program of a folder of 32-bit files as if that folder were the root of the machine:
#   scripts/enter-wine32.sh FOLDER PROGRAM [ARGUMENT...]
# All folders but those of the system's programs are where they are outside, so that paths, displays and
# Wine's servers are shared. The mounts are in a name space of the program's own: nobody else sees them
# and nothing is left of them when the program has ended, however it ends. Needs root.
set -u
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

if [ "${1:-}" != --inside ]; then
  exec unshare --mount --propagation private -- "${BASH_SOURCE[0]}" --inside "$PWD" "$@"
fi

working_folder=$2 folder=$3
shift 3

# Shows a folder of the machine at the same place inside, unless it is there already.
share() {
  if [ -d "$1" ] && ! [ "$1" -ef "$folder$1" ]; then
    [ -d "$folder$1" ] || mkdir -p "$folder$1" || exit 125
    mount --rbind "$1" "$folder$1" || exit 125
  fi
}

for each in /*; do
  case $each in
    /bin | /lib | /lib32 | /lib64 | /libx32 | /sbin | /usr | /var) ;;
    *) [ -L "$each" ] || share "$each" ;;
  esac
done
# What lies in one of the system's.
for each in "$root" "${TMPDIR:-/tmp}" "${WINEPREFIX:-/tmp}"; do share "$each"; done
[ -d "$folder$working_folder" ] || working_folder=/
exec unshare --root="$folder" --wd="$working_folder" -- "$@"
