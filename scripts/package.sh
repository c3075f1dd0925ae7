#!/usr/bin/env bash
# Builds the packages into build/packages: for each architecture an installer (.msi) and an archive for
# use without registration (.zip), and SHA256SUMS over all of them:
#   scripts/package.sh [x64|x86|all]     default all
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
case ${1:-all} in
  x64 | x86) architectures=("$1") ;;
  all) architectures=(x64 x86) ;;
  --help)
    echo "usage: scripts/package.sh [x64|x86|all]"
    exit 0
    ;;
  *)
    echo "usage: scripts/package.sh [x64|x86|all]" >&2
    exit 2
    ;;
esac

output=build/packages
mkdir -p "$output"
for architecture in "${architectures[@]}"; do
  preset=win64
  if [ "$architecture" = x86 ]; then preset=win32; fi
  log=build/packages.$preset.log
  if ! scripts/build.sh "$preset" product >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "package: the build of $preset failed; its whole output is in $log" >&2
    exit 1
  fi
  # Those of earlier versions.
  rm -f "$output"/tdefault-*-"$architecture".{msi,zip}
  /usr/bin/python3 packaging/make_packages.py "$architecture" "build/$preset" "$output" >/dev/null
done
cd "$output"
sha256sum tdefault-*.msi tdefault-*.zip >SHA256SUMS
echo "package: in $output:"
cat SHA256SUMS
