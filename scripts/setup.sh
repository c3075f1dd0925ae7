#!/usr/bin/env bash
# Installs what building and testing needs from Debian's packages: scripts/setup.sh [native]
#   native  only what the portable code needs: no cross compilers, no Wine
# Does nothing, quietly, when all is there. Needs root only when something is missing.
set -euo pipefail

packages=(
  g++ cmake ninja-build ccache                                    # native builds
  lld                                                             # links test programs faster
  clang clang-format clang-tidy libclang-rt-14-dev                # style gate and fuzzing
  doctest-dev libcli11-dev nlohmann-json3-dev                     # tests, host program
  python3 python3-dbf python3-dbfread libdbd-xbase-perl           # sample data, independent readers
  git diffutils util-linux procps                                 # scripts
)
if [ "${1:-}" != native ]; then
  packages+=(
    g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix           # the product's compilers
    mingw-w64-tools libwine-dev                                   # type library: widl and its base IDL
    wine wine64 xvfb                                              # where Windows programs run
    wixl msitools                                                 # installers
  )
fi

missing=()
for package in "${packages[@]}"; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
  [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "setup: installing ${missing[*]}"
if [ "$(id -u)" != 0 ]; then
  echo "setup: not root; run 'sudo $0' once, or install the packages above yourself" >&2
  exit 1
fi
log=$(mktemp)
export DEBIAN_FRONTEND=noninteractive
if ! { apt-get update && apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
  tail -n 20 "$log" >&2
  echo "setup: apt-get failed; its whole output is in $log" >&2
  exit 1
fi
rm -f "$log"
