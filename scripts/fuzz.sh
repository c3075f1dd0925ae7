#!/usr/bin/env bash
# Runs every fuzz target for a while, under AddressSanitizer and UndefinedBehaviorSanitizer:
#   scripts/fuzz.sh [SECONDS]      for each target, default 300
# A finding leaves its input in build/fuzz/findings and fails the script.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
if [ "${1:-}" = --help ]; then
  echo "usage: scripts/fuzz.sh [SECONDS]"
  exit 0
fi
seconds=${1:-300}
scripts/build.sh fuzz fuzz_targets

status=0
for target in build/fuzz/tests/fuzz/*_fuzz; do
  name=$(basename "$target" _fuzz)
  mkdir -p "build/fuzz/corpus/$name" build/fuzz/findings
  echo "== $name: $seconds s"
  # New inputs go into the build tree; the seeds of the repository are only read.
  if ! "$target" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="build/fuzz/findings/$name-" "build/fuzz/corpus/$name" \
    "tests/fuzz/corpus/$name" >"build/fuzz/$name.log" 2>&1; then
    tail -n 40 "build/fuzz/$name.log"
    status=1
  fi
  grep -E 'stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb)' "build/fuzz/$name.log" || true
done
if [ $status = 0 ]; then echo "fuzz: no finding"; else echo "fuzz: findings in build/fuzz/findings"; fi
exit $status
