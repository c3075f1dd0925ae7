#!/usr/bin/env bash
# Ends what scripts/wine.sh left running for the next program: the Wine session of the project's
# prefix and the display. Does nothing when neither runs. Takes no arguments.
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=${TDEFAULT_WINEPREFIX:-$root/build/wineprefix}
if [ -e "$WINEPREFIX/ready" ]; then wineserver -k 2>/dev/null; fi
if [ -s "$root/build/wine.session" ]; then
  # The idle program's process group has the number of its leader, whose name tells it is still ours.
  leader=$(cat "$root/build/wine.session")
  if ps -o args= -p "$leader" | grep -qF 'sleep 20000'; then kill -- "-$leader"; fi
  rm -f "$root/build/wine.session"
fi
if [ -s "$root/build/display" ]; then
  number=$(tr -d : <"$root/build/display")
  server=$(cat "/tmp/.X$number-lock" 2>/dev/null)
  if [ -n "$server" ] && ps -o args= -p $server | grep -qF "Xvfb :$number"; then kill $server; fi
  rm -f "$root/build/display"
fi
exit 0
