#!/usr/bin/env bash
# Sets up, builds and runs the tests: scripts/test.sh [quick|win32|long]
#   quick  the tests of each portable layer and the style rules only, without sanitizers and clang-tidy
#   win32  the tests of the 32-bit library and programs only
#   long   what the run without an argument leaves to a longer one: the packages, installed and used; the
#          examples of the documentation; the self-check for Windows; clang-tidy; the portable tests once
#          more, under Wine with the product's compiler; each portable source compiled alone, which finds
#          a missing include; the benchmarks, built
# The tests of 32 bits need a 32-bit Wine (scripts/setup-wine32.sh); where there can be none they are
# skipped, with the reason, or fail with TDEFAULT_REQUIRE_WIN32=1.
# The last line counts the tests, of a test program its cases: "N passed, N failed", and ", N skipped"
# when some were.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
tier=${1:-full}
case $tier in
  quick | win32 | long | full) ;;
  --help)
    echo "usage: scripts/test.sh [quick|win32|long]"
    exit 0
    ;;
  *)
    echo "usage: scripts/test.sh [quick|win32|long]" >&2
    exit 2
    ;;
esac

passed=0
failed=0
skipped=0
summary=()
notes=()
failures=()

# The labels of the tests that meet the built library and programs as a host does. Each case of theirs
# runs in 64 and in 32 bits.
host_labels='^(component|host|typelib|window|stress)$'

# The label of what takes too long for the run without an argument.
long_labels='^long$'

# Adds counts: count NAME PASSED FAILED SKIPPED
count() {
  summary+=("$1: $2 passed, $3 failed, $4 skipped")
  passed=$((passed + $2)) failed=$((failed + $3)) skipped=$((skipped + $4))
}

# Adds a failure that is not a test's own: fail TEXT
fail() {
  failures+=("$1")
  failed=$((failed + 1))
}

# How many more cases passed and failed than tests, by the summaries of the test programs in a log.
count_cases() {
  awk '/^\[doctest\] test cases:/ {
    passed = $6; failed = $9
    if (failed > 0) { ok += passed; bad += failed - 1 } else if (passed > 0) ok += passed - 1
  } END { print ok + 0, bad + 0 }' "$1"
}

# Runs the tests of trees and adds their counts: run_tests "NAME..." CTEST-ARGUMENT...
# Several trees at the same time: those under Wine spend a third of their time waiting.
run_tests() {
  local names=$1 name
  local -A running=()
  shift
  for name in $names; do
    echo "== tests: $name"
    ctest --test-dir "build/$name" --output-on-failure --no-tests=error -j "$(nproc)" "$@" \
      >"build/$name.test.log" 2>&1 &
    running[$name]=$!
  done
  for name in $names; do
    wait "${running[$name]}"
    count_tests "$name" $?
  done
}

# Adds the counts of a tree's tests that have ended: count_tests NAME STATUS
count_tests() {
  local name=$1 status=$2 log=$root/build/$1.test.log
  local ok bad skip more_ok more_bad
  ok=$(grep -cE '^ *[0-9]+/[0-9]+ Test .* Passed ' "$log")
  bad=$(grep -cE '^ *[0-9]+/[0-9]+ Test .*\*\*\*(Failed|Timeout|Exception|Not Run)' "$log")
  skip=$(grep -cE '^ *[0-9]+/[0-9]+ Test .*\*\*\*Skipped' "$log")
  if [ $status != 0 ] && [ "$bad" = 0 ]; then bad=1; fi
  if [ $status != 0 ]; then
    sed -n '/\*\*\*\|^The following tests FAILED/,$p' "$log" | head -n 400
    failures+=("$name: $log")
  fi
  read -r more_ok more_bad < <(count_cases "build/$name/Testing/Temporary/LastTest.log")
  ok=$((ok + more_ok)) bad=$((bad + more_bad))
  echo "$name: $ok passed, $bad failed, $skip skipped"
  count "$name" "$ok" "$bad" "$skip"
}

# Builds a preset; a failure counts as one failed test and its tests are not run.
build() {
  echo "== build: $*"
  if scripts/build.sh "$@" >"build/$1.build.log" 2>&1; then return 0; fi
  tail -n 60 "build/$1.build.log"
  fail "build $1: $root/build/$1.build.log"
  return 1
}

# Makes the prefix and begins the session with one program alone: of two that do so at the same time
# one may not start.
start_wine() {
  local program=$1 attempt
  for attempt in 1 2 3; do
    if timeout 300 "scripts/$program" cmd /c exit >/dev/null 2>&1 </dev/null; then return 0; fi
    sleep "$attempt"
  done
  fail "Wine does not start: scripts/$program cmd /c exit"
  return 1
}

# The names of the host-level tests of a preset, sorted.
host_cases() {
  ctest --test-dir "build/$1" -N -L "$host_labels" -LE "$long_labels" 2>/dev/null |
    sed -n 's/^ *Test *#[0-9]*: //p' | sort >"build/$1.host-cases"
}

# Whether 64 and 32 bits have the same host-level tests; one that the other lacks is a failure.
compare_host_cases() {
  host_cases win64
  host_cases win32
  local each only_64 only_32
  mapfile -t only_64 < <(comm -23 build/win64.host-cases build/win32.host-cases)
  mapfile -t only_32 < <(comm -13 build/win64.host-cases build/win32.host-cases)
  notes+=("host-level tests: $(wc -l <build/win64.host-cases) in 64 bits, $(wc -l <build/win32.host-cases) in 32 bits")
  for each in ${only_64[@]+"${only_64[@]}"}; do fail "no test in 32 bits: $each"; done
  for each in ${only_32[@]+"${only_32[@]}"}; do fail "no test in 64 bits: $each"; done
}

# What is skipped without a 32-bit Wine: skip_win32 REASON
skip_win32() {
  local number=1
  if [ -e build/win64/CTestTestfile.cmake ]; then
    host_cases win64
    number=$(wc -l <build/win64.host-cases)
  fi
  if [ "${TDEFAULT_REQUIRE_WIN32:-}" = 1 ]; then
    fail "win32: no test ran: $1"
    return 0
  fi
  count win32 0 0 "$number"
  notes+=("win32: skipped, the library and tovocfg are built only: $1")
}

# Builds the tests of 32 bits and begins their session, or says why there can be none.
prepare_win32() {
  local reason
  # Whoever waited for the other's set-up finds it done.
  if ! reason=$(scripts/setup-wine32.sh); then
    skip_win32 "$(tail -n 1 <<<"$reason")"
    return 1
  fi
  build win32 && start_wine wine32.sh
}

# Builds both trees of Windows and runs tests of both: run_windows PRESET-OF-WIN64 CTEST-ARGUMENT...
run_windows() {
  local preset=$1 trees=()
  shift
  # The tests of the 64-bit tree look into the files of both.
  build win32 product
  if build "$preset" && start_wine wine.sh; then trees+=(win64); fi
  if prepare_win32; then trees+=(win32); fi
  run_tests "${trees[*]}" "$@"
}

run_all() {
  # What native builds do not need is installed and begun meanwhile: making Wine's prefixes is mostly waiting.
  (scripts/setup.sh && start_wine wine.sh && scripts/setup-wine32.sh && start_wine wine32.sh) \
    >build/setup.log 2>&1 &
  local setup=$!
  build native && run_tests native -LE "$long_labels"
  wait "$setup"
  grep '^setup' build/setup.log
  run_windows win64 -LE "$long_labels"
  if [ -e build/win32.test.log ]; then compare_host_cases; fi
}

run_long() {
  if build native-release read_table change_table tdefault_catalogue tdefault_reports tovocfg_check; then
    notes+=("every portable source compiles alone")
  fi
  # clang-tidy reads the tree's compile commands, and nothing that was compiled.
  build native tdefault_base && run_tests native -L "$long_labels"
  run_windows win64-long -L "^portable$|$long_labels"
}

mkdir -p build
rm -f build/win32.test.log
setup=(native)
if [ "$tier" = win32 ]; then setup=(); fi
if ! scripts/setup.sh ${setup[@]+"${setup[@]}"}; then
  echo "0 passed, 1 failed"
  exit 1
fi
case $tier in
  quick) build quick && run_tests quick -L quick ;;
  win32)
    trap scripts/stop-wine.sh EXIT
    build win32 product && prepare_win32 && run_tests win32
    ;;
  long)
    trap scripts/stop-wine.sh EXIT
    scripts/setup.sh && run_long
    ;;
  full)
    trap scripts/stop-wine.sh EXIT
    run_all
    ;;
esac

echo
for each in ${summary[@]+"${summary[@]}"} ${notes[@]+"${notes[@]}"}; do echo "$each"; done
for each in ${failures[@]+"${failures[@]}"}; do echo "failed: $each"; done
if [ $skipped -gt 0 ]; then
  echo "$passed passed, $failed failed, $skipped skipped"
else
  echo "$passed passed, $failed failed"
fi
[ $failed = 0 ]
