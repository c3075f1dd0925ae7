#!/usr/bin/env bash
# Finds or makes the 32-bit Wine that scripts/wine32.sh runs programs with: scripts/setup-wine32.sh
# Says nothing when there is one. When there is none, makes one, as root:
#   1. Debian's 32-bit packages, unpacked into a folder of their own (/var/cache/tdefault-wine32,
#      TDEFAULT_WINE32_CACHE moves it), used as the root of the programs that run there. The machine's own
#      packages stay as they are; deleting the folder undoes it.
#   2. Where that cannot be done, the package wine32:i386 beside the machine's own packages, if it goes in
#      without a change to any of them.
# When neither works, prints one line with the reason and fails; the machine is as it was.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
. "$root/scripts/wine32-location.sh"

reasons=()
reason() { reasons+=("$1"); }

# The last line of a log that is not empty, for a reason.
last_line() { sed '/^[[:space:]]*$/d' "$1" 2>/dev/null | tail -n 1 | cut -c1-160; }

# Why lists of packages could not be fetched, by the log of apt-get update; empty when all could.
unfetched() {
  local cause
  cause=$(sed -n 's/^[EW]: Failed to fetch [^ ]* *//p' "$1" | head -n 1 | cut -c1-120)
  [ -z "$cause" ] || echo " (not all lists of packages could be fetched: $cause)"
}

starts() { # starts FOLDER-OR-EMPTY: whether its loader runs on this machine
  local program=(/usr/lib/wine/wine)
  [ -z "$1" ] || program=("$root/scripts/enter-wine32.sh" "$1" "${program[@]}")
  (cd / && unset WINEPREFIX && timeout 60 "${program[@]}" --version) >"$log" 2>&1 && grep -q '^wine-' "$log"
}

# apt with lists, downloads and a list of installed packages of its own: none is installed. The sources
# are the machine's, its hooks are left out.
write_apt_settings() {
  cat >"$part/apt.conf" <<END
Dir::State "$part/apt";
Dir::State::status "$part/apt/status";
Dir::Cache "$part/apt";
APT::Architecture "i386";
#clear APT::Architectures;
APT::Architectures { "i386"; };
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
Acquire::Languages "none";
Acquire::Retries "3";
END
}
apt_apart() { apt-get -q -c "$part/apt.conf" "$@" >"$log" 2>&1; }

# The package libwine completes its files when it is installed, which unpacking does not do.
finish_libwine() {
  dpkg-deb --control "$part"/apt/archives/libwine_*_i386.deb "$part/root/control" >"$log" 2>&1 || return 1
  [ ! -e "$part/root/control/postinst" ] ||
    "$root/scripts/enter-wine32.sh" "$part/root" /bin/dash /control/postinst configure >"$log" 2>&1
}

# Whether a folder's Wine runs a program: one that sets up a prefix and answers.
runs_program() {
  mkdir -p "$part/prefix"
  (
    cd / && unset DISPLAY
    export WINEPREFIX=$part/prefix WINEARCH=win32 WINESERVER=/usr/lib/wine/wineserver32
    export WINEDLLOVERRIDES="mscoree,mshtml=" WINEDEBUG=err-all,fixme-all
    wine() { timeout 120 "$root/scripts/enter-wine32.sh" "$1" /usr/lib/wine/wine "${@:2}" </dev/null; }
    wine "$1" wineboot -i && wine "$1" cmd /c exit 7
    status=$?
    wine "$1" wineboot -k >/dev/null 2>&1
    [ $status = 7 ]
  ) >"$log" 2>&1
}

make_folder() {
  part=$wine32_cache.part
  if ! unshare --mount --propagation private true >"$log" 2>&1; then
    reason "no folder of 32-bit packages, because this machine lets nobody mount: $(last_line "$log")"
    return 1
  fi
  if [ -e "$wine32_cache" ] && [ ! -e "$wine32_cache/complete" ]; then
    reason "no folder of 32-bit packages, because $wine32_cache is somebody else's"
    return 1
  fi
  rm -rf "$part" "$wine32_cache"
  mkdir -p "$part/apt/lists/partial" "$part/apt/archives/partial" "$part/root" || return 1
  : >"$part/apt/status"
  write_apt_settings
  # An index that cannot be read does no harm when the others have what is needed.
  apt_apart update
  local lists
  lists=$(unfetched "$log")
  if ! apt_apart install -y --no-install-recommends --download-only wine32 libc-bin dash coreutils; then
    reason "no folder of 32-bit packages, because apt-get failed: $(last_line "$log")$lists"
    return 1
  fi
  local package
  for package in "$part"/apt/archives/*.deb; do
    if ! dpkg-deb --extract "$package" "$part/root" >"$log" 2>&1; then
      reason "no folder of 32-bit packages, because ${package##*/} could not be unpacked: $(last_line "$log")"
      return 1
    fi
  done
  if ! finish_libwine || ! starts "$part/root" || ! runs_program "$part/root"; then
    reason "no folder of 32-bit packages, because their Wine does not start: $(last_line "$log")"
    return 1
  fi
  rm -rf "$part/root/control"
  # Complete from the moment that it has its name.
  touch "$part/root/complete" && mv "$part/root" "$wine32_cache" && rm -rf "$part"
}

# The packages that installing wine32:i386 adds; fails when it would change any that is installed.
plan_package() {
  if ! apt-get -s install --no-install-recommends wine32:i386 >"$log" 2>&1; then
    reason "no package wine32:i386: $(last_line "$log")$lists"
    return 1
  fi
  if grep -qE '^(Remv |Inst [^ ]+ \[)' "$log"; then
    reason "no package wine32:i386, because it would change $(grep -E '^(Remv |Inst [^ ]+ \[)' "$log" |
      awk '{ print $2 }' | head -n 3 | xargs), which is installed"
    return 1
  fi
  mapfile -t added < <(sed -n 's/^Inst \([^ ]*\) (.*/\1/p' "$log")
  [ ${#added[@]} -gt 0 ]
}

install_package() {
  local added=() had_architecture='' lists
  if dpkg --print-foreign-architectures | grep -qx i386; then had_architecture=1; fi
  if dpkg-query -W -f '${db:Status-Status}' wine32:i386 2>/dev/null | grep -q '^installed'; then
    reason "the package wine32:i386 does not start: $(last_line "$log")"
    return 1
  fi
  export DEBIAN_FRONTEND=noninteractive
  undo_package() {
    [ ${#added[@]} = 0 ] || apt-get purge -y "${added[@]}" >/dev/null 2>&1
    if [ -z "$had_architecture" ]; then
      dpkg --remove-architecture i386 2>/dev/null
      apt-get update >/dev/null 2>&1
    fi
  }
  trap 'undo_package; exit 1' INT TERM HUP
  [ -n "$had_architecture" ] || dpkg --add-architecture i386
  apt-get -q update >"$log" 2>&1
  lists=$(unfetched "$log")
  if plan_package; then
    if apt-get -q install -y --no-install-recommends wine32:i386 >"$log" 2>&1 && starts ''; then
      trap - INT TERM HUP
      return 0
    fi
    reason "the package wine32:i386 could not be installed: $(last_line "$log")"
  fi
  undo_package
  trap - INT TERM HUP
  return 1
}

log=$(mktemp)
trap 'rm -f "$log"' EXIT
if [ -n "$wine32_loader" ] && starts "$wine32_folder"; then exit 0; fi

if [ "$(dpkg --print-architecture)" != amd64 ]; then
  reason "this script knows Debian's 64-bit machines only"
elif [ "$(id -u)" != 0 ]; then
  reason "one can be made as root only; run 'sudo $0' once"
else
  mkdir -p "$(dirname "$wine32_cache")"
  exec 8>"$wine32_cache.lock"
  flock 8 # of several callers one makes it, the others find it made
  . "$root/scripts/wine32-location.sh"
  if [ -n "$wine32_loader" ] && starts "$wine32_folder"; then exit 0; fi
  echo "setup-wine32: making a 32-bit Wine"
  if make_folder || install_package; then exit 0; fi
  rm -rf "$wine32_cache.part"
fi
echo "no 32-bit Wine: $(printf '%s; ' "${reasons[@]}" | sed 's/; $//')"
exit 1
