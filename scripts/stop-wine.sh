#!/usr/bin/env bash
# Ends what scripts/wine.sh and scripts/wine32.sh left running for the next program: the Wine sessions
# of the project's prefixes and their displays. Does nothing when none runs. Takes no arguments.
set -u
root=$(cd "$(dirname "$0")/.." && pwd)

# stop_session PREFIX FILE: the file holds the number of the idle program's process group, which is
# that of its leader, whose name tells it is still ours.
stop_session() {
  local leader
  if [ -e "$1/ready" ]; then WINEPREFIX=$1 wineserver -k 2>/dev/null; fi
  [ -s "$2" ] || return 0
  leader=$(cat "$2")
  if ps -o args= -p "$leader" | grep -qF 'sleep 20000'; then kill -- "-$leader"; fi
  rm -f "$2"
}

stop_session "${TDEFAULT_WINEPREFIX:-$root/build/wineprefix}" "$root/build/wine.session"
stop_session "${TDEFAULT_WINEPREFIX32:-$root/build/wineprefix32}" "$root/build/wine32.session"
for display in "$root/build/display" "$root/build/display32"; do
  [ -s "$display" ] || continue
  number=$(tr -d : <"$display")
  server=$(cat "/tmp/.X$number-lock" 2>/dev/null)
  if [ -n "$server" ] && ps -o args= -p $server | grep -qF "Xvfb :$number"; then kill $server; fi
  rm -f "$display"
done
exit 0
