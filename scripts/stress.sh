#!/usr/bin/env bash
# Lets 2 and then 4 processes change one table at the same time, under Wine, and checks that every
# change that was acknowledged is there once:
#   scripts/stress.sh [SECONDS [SEED]]      default 120 seconds each, seed 1
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
if [ "${1:-}" = --help ]; then
  echo "usage: scripts/stress.sh [SECONDS [SEED]]"
  exit 0
fi
seconds=${1:-120}
seed=${2:-1}
scripts/build.sh win64 table_stress || exit 1

status=0
for processes in 2 4; do
  echo "== $processes processes, $seconds s"
  timeout $((seconds + 400)) scripts/wine.sh build/win64/tests/stress/table_stress.exe \
    "$seconds" "$processes" "$seed" || status=1
done
exit $status
