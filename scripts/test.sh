#!/usr/bin/env bash
# Sets up, builds and runs every test: scripts/test.sh [quick]
#   quick  the tests of each portable layer and the style rules only, without sanitizers and clang-tidy
# The last line counts the tests: "N passed, N failed".
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
tier=${1:-full}
case $tier in
  quick | full) ;;
  --help)
    echo "usage: scripts/test.sh [quick]"
    exit 0
    ;;
  *)
    echo "usage: scripts/test.sh [quick]" >&2
    exit 2
    ;;
esac

passed=0
failed=0
skipped=0
failures=()

# Runs a preset's tests and adds its counts: run_tests NAME CTEST-ARGUMENT...
run_tests() {
  local name=$1 log=$root/build/$1.test.log
  shift
  echo "== tests: $name"
  ctest --test-dir "build/$name" --output-on-failure --no-tests=error -j "$(nproc)" "$@" >"$log" 2>&1
  local status=$?
  local ok bad skip
  ok=$(grep -cE '^ *[0-9]+/[0-9]+ Test .* Passed ' "$log")
  bad=$(grep -cE '^ *[0-9]+/[0-9]+ Test .*\*\*\*(Failed|Timeout|Exception|Not Run)' "$log")
  skip=$(grep -cE '^ *[0-9]+/[0-9]+ Test .*\*\*\*Skipped' "$log")
  if [ $status != 0 ] && [ "$bad" = 0 ]; then bad=1; fi
  if [ $status != 0 ]; then
    sed -n '/\*\*\*\|^The following tests FAILED/,$p' "$log" | head -n 400
    failures+=("$name: $log")
  fi
  echo "$name: $ok passed, $bad failed, $skip skipped"
  passed=$((passed + ok)) failed=$((failed + bad)) skipped=$((skipped + skip))
}

# Builds a preset; a failure counts as one failed test and its tests are not run.
build() {
  echo "== build: $*"
  if scripts/build.sh "$@" >"build/$1.build.log" 2>&1; then return 0; fi
  tail -n 60 "build/$1.build.log"
  failures+=("build $1: $root/build/$1.build.log")
  failed=$((failed + 1))
  return 1
}

# Makes the prefix and begins the session with one program alone: of two that do so at the same time
# one may not start.
start_wine() {
  local attempt
  for attempt in 1 2 3; do
    if timeout 300 scripts/wine.sh cmd /c exit >/dev/null 2>&1 </dev/null; then return 0; fi
    sleep "$attempt"
  done
  failures+=("Wine does not start: scripts/wine.sh cmd /c exit")
  failed=$((failed + 1))
  return 1
}

mkdir -p build
setup=()
if [ "$tier" = quick ]; then setup=(native); fi
if ! scripts/setup.sh ${setup[@]+"${setup[@]}"}; then
  echo "0 passed, 1 failed"
  exit 1
fi
if [ "$tier" = quick ]; then
  build quick && run_tests quick -L quick
else
  trap scripts/stop-wine.sh EXIT
  # 32-bit programs do not run here; the library and the host program are built, and the tests of
  # the 64-bit tree read the library's type library and import table.
  build native && run_tests native
  build win32 product
  build win64 && start_wine && run_tests win64
fi

for each in ${failures[@]+"${failures[@]}"}; do echo "failed: $each"; done
if [ $skipped -gt 0 ]; then
  echo "$passed passed, $failed failed, $skipped skipped"
else
  echo "$passed passed, $failed failed"
fi
[ $failed = 0 ]
